// Binding dialog objects to their windows, modal and modeless, from the very
// first message on, and the two ways a dialog procedure returns a result.
#include "app/AppModule.h"
#include "app/DialogBase.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace krn::test;
using krn::DialogBase;

constexpr UINT kTemplate = 130;
constexpr UINT kAnswer = WM_APP + 1;
constexpr UINT kEndWith = WM_APP + 2;

class RecordingDialog : public DialogBase {
public:
    std::vector<UINT> messages;
    HWND windowAtInit = nullptr;
    bool endAtInit = false;
    HBRUSH brush = reinterpret_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM) override
    {
        messages.push_back(message);
        switch (message) {
        case WM_INITDIALOG:
            windowAtInit = window();
            if (endAtInit)
                PostMessageW(window(), kEndWith, 42, 0);
            return FALSE;  // returned as it is: no default focus
        case kAnswer:
            return 0x12345;
        case kEndWith:
            EndDialog(window(), static_cast<INT_PTR>(wParam));
            return 0;
        case WM_CTLCOLORDLG:
            return reinterpret_cast<LRESULT>(brush);
        }
        return std::nullopt;
    }
};

size_t IndexOf(const std::vector<UINT>& messages, UINT message)
{
    for (size_t i = 0; i < messages.size(); ++i)
        if (messages[i] == message)
            return i;
    return messages.size();
}

TEST(DialogBase, ModelessObjectGetsEveryMessageFromTheFirst)
{
    RecordingDialog dialog;
    HWND window = dialog.CreateModeless(kTemplate, nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(dialog.window(), window);
    EXPECT_EQ(dialog.windowAtInit, window);
    ASSERT_FALSE(dialog.messages.empty());
    EXPECT_EQ(dialog.messages.front(), static_cast<UINT>(WM_SETFONT)) << "the font arrives before WM_INITDIALOG";
    EXPECT_LT(IndexOf(dialog.messages, WM_SETFONT), IndexOf(dialog.messages, WM_INITDIALOG));
    DestroyWindow(window);
    EXPECT_EQ(dialog.window(), nullptr);
    EXPECT_EQ(dialog.messages.back(), static_cast<UINT>(WM_NCDESTROY));
}

TEST(DialogBase, ResultsGoThroughMsgResultOrDirectly)
{
    RecordingDialog dialog;
    HWND window = dialog.CreateModeless(kTemplate, nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(SendMessageW(window, kAnswer, 0, 0), 0x12345) << "through DWLP_MSGRESULT";
    EXPECT_EQ(SendMessageW(window, WM_CTLCOLORDLG, 0, reinterpret_cast<LPARAM>(window)),
              reinterpret_cast<LRESULT>(dialog.brush))
        << "returned directly";
}

TEST(DialogBase, ModalObjectIsBoundAndEndsWithItsResult)
{
    RecordingDialog dialog;
    dialog.endAtInit = true;
    EXPECT_EQ(dialog.RunModal(kTemplate, nullptr), 42);
    EXPECT_TRUE(dialog.windowAtInit);
    EXPECT_EQ(dialog.window(), nullptr);
    EXPECT_EQ(dialog.messages.front(), static_cast<UINT>(WM_SETFONT));
    EXPECT_NE(IndexOf(dialog.messages, kEndWith), dialog.messages.size());
}

TEST(DialogBase, FailedCreationLeavesNoBindingBehind)
{
    RecordingDialog missing;
    EXPECT_EQ(missing.CreateModeless(9999, nullptr), nullptr);
    EXPECT_EQ(missing.RunModal(9999, nullptr), -1);
    EXPECT_TRUE(missing.messages.empty());
    EXPECT_EQ(krn::Module().TakeBinding(), nullptr);

    RecordingDialog next;
    HWND window = next.CreateModeless(kTemplate, nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(next.window(), window) << "the next dialog got its own window";
    EXPECT_TRUE(missing.messages.empty());
}

TEST(DialogBase, DestroyingTheObjectDestroysItsWindow)
{
    HWND window = nullptr;
    {
        RecordingDialog dialog;
        window = dialog.CreateModeless(kTemplate, nullptr);
        ASSERT_TRUE(window);
    }
    EXPECT_FALSE(IsWindow(window));
}

TEST(DialogBase, ThreadsBindTheirOwnDialogs)
{
    constexpr int kPerThread = 15;
    struct Result {
        int bound = 0;
    };
    auto work = [](Result* result) {
        for (int i = 0; i < kPerThread; ++i) {
            RecordingDialog dialog;
            HWND window = dialog.CreateModeless(kTemplate, nullptr);
            if (window && dialog.window() == window && dialog.windowAtInit == window &&
                GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId())
                ++result->bound;
        }
    };
    Result a, b;
    std::thread first(work, &a), second(work, &b);
    first.join();
    second.join();
    EXPECT_EQ(a.bound, kPerThread);
    EXPECT_EQ(b.bound, kPerThread);
}

TEST(DialogBase, NestedModalDialogsEachKeepTheirObject)
{
    struct Outer : RecordingDialog {
        INT_PTR inner = 0;
        std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override
        {
            if (message == WM_INITDIALOG) {
                RecordingDialog nested;
                nested.endAtInit = true;
                inner = nested.RunModal(kTemplate, window());
                PostMessageW(window(), kEndWith, 7, 0);
            }
            return RecordingDialog::OnMessage(message, wParam, lParam);
        }
    } outer;
    EXPECT_EQ(outer.RunModal(kTemplate, nullptr), 7);
    EXPECT_EQ(outer.inner, 42);
}

} // namespace
