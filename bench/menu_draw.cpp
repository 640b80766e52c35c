// Cost of measuring and painting one owner-drawn menu item: the menu font is
// made for every call and grey or shadowed images are drawn pixel by pixel.
#include "acl/Menu.h"
#include "resource.h"

#include <chrono>
#include <cstdio>

namespace {

double MicrosecondsPerCall(int calls, const auto& call)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        call();
    const std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

} // namespace

int wmain()
{
    ACL_Menu menu;
    if (menu.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, nullptr) != 0)
        return 1;
    MENUITEMINFOW info{sizeof(info), MIIM_DATA};
    GetMenuItemInfoW(menu.menu(), ID_FILE_IMPORT, FALSE, &info);

    BITMAPINFO bi{};
    bi.bmiHeader = {sizeof(BITMAPINFOHEADER), 200, -20, 1, 32, BI_RGB};
    void* bits = nullptr;
    const acl::unique_hbitmap dib(CreateDIBSection(nullptr, &bi, DIB_RGB_COLORS, &bits, nullptr, 0));
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    acl::SelectGuard select(dc.get(), dib.get());

    const int calls = 2000;
    MEASUREITEMSTRUCT mis{ODT_MENU};
    mis.itemData = info.dwItemData;
    std::printf("MeasureItem            %8.1f us\n", MicrosecondsPerCall(calls, [&] { menu.MeasureItem(mis); }));
    const struct {
        const char* name;
        UINT state;
    } cases[] = {{"DrawItem normal", 0}, {"DrawItem highlighted", ODS_SELECTED}, {"DrawItem disabled", ODS_GRAYED}};
    for (const auto& c : cases) {
        DRAWITEMSTRUCT dis{ODT_MENU, 0, 0, ODA_DRAWENTIRE, c.state, nullptr, dc.get(), {0, 0, 200, 20}};
        dis.itemData = info.dwItemData;
        std::printf("%-22s %8.1f us\n", c.name, MicrosecondsPerCall(calls, [&] { menu.DrawItem(dis); }));
    }
    return 0;
}
