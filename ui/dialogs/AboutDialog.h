// The About box: the product's title and version, and links to the maker's
// home, support and contact pages, all on the About colour.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/Hyperlink.h"
#include "app/DialogBase.h"

#include <windows.h>

#include <optional>

namespace krn {

class AboutDialog : public DialogBase, public acl::ColorSchemes<AboutDialog> {
public:
    static constexpr UINT kTemplateId = 209;

    // 0 however it ends (OK, Esc or the close box); -1 when the dialog could
    // not be created.
    INT_PTR Run(HWND owner);

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    BOOL OnInitDialog();
    void SetUpLook();
    void SetUpLinks();
    void DetachLinks();

    // Declared before the links, which read them until they are detached. The
    // record owns the hand cursor it is given.
    acl::Hyperlink_Settings linkSettings_;
    acl::Hyperlink homeLink_;
    acl::Hyperlink supportLink_;
    acl::Hyperlink contactLink_;
};

} // namespace krn
