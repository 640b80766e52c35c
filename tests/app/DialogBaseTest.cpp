// Binding dialog objects to their windows, modal and modeless, from the very
// first message on; the two ways a dialog procedure returns a result; and the
// loop an object leaves behind when it never destroyed its window itself.
#include "app/AppModule.h"
#include "app/DialogBase.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <vector>

namespace {

constexpr UINT kTemplate = 130;
constexpr UINT kAnswer = WM_APP + 1;

// Records its messages and answers kAnswer through DWLP_MSGRESULT and
// WM_CTLCOLORDLG directly; at WM_INITDIALOG it may end, or join a loop as its
// filter. Its window is left for the base to destroy.
class RecordingDialog : public krn::DialogBase, public krn::MessageFilter {
public:
    std::vector<UINT> messages;
    HWND windowAtInit = nullptr;
    bool endAtInit = false;
    krn::MessageLoop* loopToJoin = nullptr;
    int filtered = 0;

    bool PreTranslateMessage(MSG*) override { ++filtered; return false; }

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM, LPARAM) override
    {
        messages.push_back(message);
        switch (message) {
        case WM_INITDIALOG:
            windowAtInit = window();
            if (endAtInit)
                EndDialog(window(), 42);
            JoinMessageLoop(loopToJoin, this, nullptr);
            return TRUE;
        case kAnswer:
            return 0x12345;
        case WM_CTLCOLORDLG:
            return reinterpret_cast<LRESULT>(GetStockObject(BLACK_BRUSH));
        }
        return std::nullopt;
    }
};

// Modeless or modal, an object is bound before its window's first message and
// up to the last; a creation that fails leaves no binding for the next one.
TEST(DialogBase, ObjectGetsEveryMessageFromTheFirstToTheLastModelessOrModal)
{
    RecordingDialog missing;
    EXPECT_EQ(missing.CreateModeless(9999, nullptr), nullptr);
    EXPECT_EQ(missing.RunModal(9999, nullptr), -1);
    EXPECT_EQ(krn::Module().TakeBinding(), nullptr);

    HWND window = nullptr;
    {
        RecordingDialog modeless;
        window = modeless.CreateModeless(kTemplate, nullptr);
        ASSERT_TRUE(window);
        EXPECT_EQ(modeless.windowAtInit, window);
        EXPECT_EQ(modeless.messages.at(0), static_cast<UINT>(WM_SETFONT)) << "the font comes before WM_INITDIALOG";
        EXPECT_EQ(SendMessageW(window, kAnswer, 0, 0), 0x12345);
        EXPECT_EQ(SendMessageW(window, WM_CTLCOLORDLG, 0, reinterpret_cast<LPARAM>(window)),
                  reinterpret_cast<LRESULT>(GetStockObject(BLACK_BRUSH)));
    }
    EXPECT_FALSE(IsWindow(window)) << "the object takes its window with it";

    RecordingDialog modal;
    modal.endAtInit = true;
    EXPECT_EQ(modal.RunModal(kTemplate, nullptr), 42);
    EXPECT_EQ(modal.window(), nullptr);
    EXPECT_EQ(modal.messages.front(), static_cast<UINT>(WM_SETFONT));
    EXPECT_EQ(modal.messages.back(), static_cast<UINT>(WM_NCDESTROY));
}

TEST(DialogBase, ObjectThatNeverDestroysItsWindowLeavesNoFilterInTheLoop)
{
    krn::MessageLoop loop;
    const auto runOnce = [&](int quitCode) {  // a message for the filters, then the end
        PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
        PostQuitMessage(quitCode);
        return loop.Run();
    };
    alignas(RecordingDialog) unsigned char storage[sizeof(RecordingDialog)];
    auto* dialog = new (storage) RecordingDialog;
    dialog->loopToJoin = &loop;
    const HWND window = dialog->CreateModeless(kTemplate, nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(runOnce(7), 7);
    EXPECT_GE(dialog->filtered, 1) << "the filter sees the loop's messages";
    dialog->~RecordingDialog();
    // A filter left behind would now be called through a zeroed object.
    std::memset(storage, 0, sizeof storage);
    EXPECT_FALSE(IsWindow(window));
    EXPECT_EQ(runOnce(9), 9);
}

} // namespace
