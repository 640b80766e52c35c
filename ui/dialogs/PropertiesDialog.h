// "Properties": the modal dialog of the program-wide settings that belong to
// the watcher: whether it starts with Windows, whether its alerts are
// disabled on start-up, and the log file its "Add to log" action writes. They
// live in the registry, which OK writes directly; the configuration file is
// not touched.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/Handles.h"
#include "app/DialogBase.h"

#include <windows.h>

#include <optional>

namespace krn {

class PropertiesDialog : public DialogBase, public acl::ColorSchemes<PropertiesDialog> {
public:
    static constexpr UINT kTemplateId = 203;

    // 1 after OK, whether or not anything changed; 0 after Cancel, Esc or the
    // close box; -1 when the dialog could not be created.
    INT_PTR Run(HWND owner);

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    BOOL OnInitDialog();
    void SetUpLook();
    void LoadSettings();
    std::optional<LRESULT> OnEraseBackground(HDC dc);
    void OnCommand(UINT id, UINT code);

    void SaveAndClose();
    void SaveStartWithWindows();
    void ChooseLogFile();
    void ViewLog();

    // Made with the large one for the header; no control of this dialog is
    // bold, but the pair is made together and goes with the dialog.
    acl::unique_hfont boldFont_;
};

} // namespace krn
