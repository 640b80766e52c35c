// Binding dialog objects to their windows, modal and modeless, from the very
// first message on, and the two ways a dialog procedure returns a result.
#include "app/AppModule.h"
#include "app/DialogBase.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr UINT kTemplate = 130;
constexpr UINT kAnswer = WM_APP + 1;

class RecordingDialog : public krn::DialogBase {
public:
    std::vector<UINT> messages;
    HWND windowAtInit = nullptr;
    bool endAtInit = false;
    HBRUSH brush = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM, LPARAM) override
    {
        messages.push_back(message);
        switch (message) {
        case WM_INITDIALOG:
            windowAtInit = window();
            if (endAtInit)
                EndDialog(window(), 42);
            return TRUE;
        case kAnswer:
            return 0x12345;
        case WM_CTLCOLORDLG:
            return reinterpret_cast<LRESULT>(brush);
        }
        return std::nullopt;
    }
};

TEST(DialogBase, ModelessObjectGetsEveryMessageFromTheFirstToTheLast)
{
    HWND window = nullptr;
    {
        RecordingDialog dialog;
        window = dialog.CreateModeless(kTemplate, nullptr);
        ASSERT_TRUE(window);
        EXPECT_EQ(dialog.windowAtInit, window);
        ASSERT_FALSE(dialog.messages.empty());
        EXPECT_EQ(dialog.messages.front(), static_cast<UINT>(WM_SETFONT)) << "the font comes before WM_INITDIALOG";
        // Results: through DWLP_MSGRESULT, or returned directly.
        EXPECT_EQ(SendMessageW(window, kAnswer, 0, 0), 0x12345);
        EXPECT_EQ(SendMessageW(window, WM_CTLCOLORDLG, 0, reinterpret_cast<LPARAM>(window)),
                  reinterpret_cast<LRESULT>(dialog.brush));
    }
    EXPECT_FALSE(IsWindow(window)) << "the object takes its window with it";
}

TEST(DialogBase, ModalObjectIsBoundAndAFailedCreationLeavesNoBindingBehind)
{
    RecordingDialog missing;
    EXPECT_EQ(missing.CreateModeless(9999, nullptr), nullptr);
    EXPECT_EQ(missing.RunModal(9999, nullptr), -1);
    EXPECT_EQ(krn::Module().TakeBinding(), nullptr);

    RecordingDialog dialog;
    dialog.endAtInit = true;
    EXPECT_EQ(dialog.RunModal(kTemplate, nullptr), 42);
    EXPECT_TRUE(dialog.windowAtInit);
    EXPECT_EQ(dialog.window(), nullptr);
    EXPECT_EQ(dialog.messages.front(), static_cast<UINT>(WM_SETFONT));
    EXPECT_EQ(dialog.messages.back(), static_cast<UINT>(WM_NCDESTROY));
    EXPECT_TRUE(missing.messages.empty());
}

} // namespace
