// The "Run ..." dialog: the program a "Run application" action starts and its
// optional parameters. It edits a block it does not own and writes into it
// only when the user presses OK; what the user typed is stored as it stands,
// because quotes, %currentdir% and environment variables are resolved by the
// watcher when it runs the action.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/Handles.h"
#include "acl/Hyperlink.h"
#include "actions/RunAction.h"
#include "app/DialogBase.h"

#include <windows.h>

#include <optional>

namespace krn {

class RunDialog : public DialogBase, public acl::ColorSchemes<RunDialog> {
public:
    // `module`: see RunAction.
    explicit RunDialog(HINSTANCE module) : module_(module) {}

    // The block the dialog edits, or null for a dialog that shows nothing and
    // stores nothing. Not owned: it must outlive the modal run.
    void SetParams(RunParams* params) { params_ = params; }
    // Shows the dialog modally, owned by `owner`: 0 when the user pressed OK
    // and the texts were stored, ERROR_CANCELLED when the user cancelled, -1
    // when the dialog could not be created.
    INT_PTR Run(HWND owner);

    // The icon of the chosen program as last shown, null when there is none.
    HICON icon() const { return icon_.get(); }

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    BOOL OnInitDialog();
    bool OnCommand(UINT id, UINT code);
    void InitHelpLink();
    void RefreshIcon(const wchar_t* path);
    void Browse();
    void ShowHelp();
    void Accept();

    const HINSTANCE module_;
    RunParams* params_ = nullptr;
    acl::unique_hicon icon_;
    // Declared before the link, which reads them until it is detached.
    acl::Hyperlink_Settings linkSettings_;
    acl::Hyperlink helpLink_;
};

} // namespace krn
