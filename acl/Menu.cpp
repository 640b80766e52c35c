// The menu's structure: attaching, converting items to owner-drawn ones with
// a record each, refreshing, adding and deleting items. Colours are in
// MenuThemes.cpp, images in MenuImages.cpp, measuring and drawing in
// MenuDraw.cpp.
#include "acl/Menu.h"

#include <string>

namespace {

std::wstring MenuText(HMENU menu, UINT position)
{
    const int length = GetMenuStringW(menu, position, nullptr, 0, MF_BYPOSITION);
    if (length <= 0)
        return {};
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    text.resize(static_cast<size_t>(GetMenuStringW(menu, position, text.data(), length + 1, MF_BYPOSITION)));
    return text;
}

} // namespace

ACL_Menu::ACL_Menu()
{
    SetTheme(15);
}

// The members release the menu, the records, the images and an owned check bitmap.
ACL_Menu::~ACL_Menu() = default;

DWORD ACL_Menu::Attach(HINSTANCE instance, UINT menuId, UINT imagesMenuId, UINT imagesBitmapId, HWND owner)
{
    if (menu_)
        return ERROR_ALREADY_EXISTS;
    instance_ = instance;
    owner_ = owner;
    convertTopLevel_ = 1;
    menu_.reset(LoadMenuW(instance, MAKEINTRESOURCEW(menuId)));
    if (!menu_)
        return GetLastError();
    LoadImages(imagesMenuId, imagesBitmapId);
    return ConvertAttached();
}

DWORD ACL_Menu::AttachMenu(HINSTANCE instance, HMENU menu, UINT imagesMenuId, UINT imagesBitmapId, HWND owner,
                           uint32_t convertTopLevel)
{
    if (menu_)
        return ERROR_ALREADY_EXISTS;
    if (!menu)
        return ERROR_INVALID_HANDLE;
    instance_ = instance;
    owner_ = owner;
    convertTopLevel_ = convertTopLevel;
    menu_.reset(menu);
    if (imagesMenuId != 0)
        LoadImages(imagesMenuId, imagesBitmapId);
    return ConvertAttached();
}

DWORD ACL_Menu::ConvertAttached()
{
    const HMENU menu = menu_.get();
    if (convertTopLevel_) {
        Convert(menu);
        return ERROR_SUCCESS;
    }
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position)
        if (HMENU dropDown = GetSubMenu(menu, position))
            Convert(dropDown);
    return ERROR_SUCCESS;
}

ACL_MenuItem* ACL_Menu::FindRecord(const void* data) const
{
    for (const auto& item : items_)
        if (item.get() == data)
            return item.get();
    return nullptr;
}

ACL_MenuItem* ACL_Menu::RecordOf(HMENU menu, UINT item, UINT byFlags) const
{
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_DATA;
    if (!GetMenuItemInfoW(menu, item, (byFlags & MF_BYPOSITION) != 0, &info))
        return nullptr;
    return FindRecord(reinterpret_cast<const void*>(info.dwItemData));
}

ACL_MenuItem* ACL_Menu::AddRecord(HMENU menu, UINT position)
{
    auto record = std::make_unique<ACL_MenuItem>();
    record->image = FindImage(GetMenuItemID(menu, static_cast<int>(position)));
    record->state = GetMenuState(menu, position, MF_BYPOSITION);
    record->topLevel = menu == menu_.get() ? 1 : 0;
    record->text = MenuText(menu, position);
    record->length = static_cast<uint32_t>(record->text.size());
    items_.push_back(std::move(record));
    return items_.back().get();
}

void ACL_Menu::MakeOwnerDrawn(HMENU menu, UINT position, ACL_MenuItem* record) const
{
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_TYPE;
    GetMenuItemInfoW(menu, position, TRUE, &info);
    info.fType |= MFT_OWNERDRAW;
    info.fMask = MIIM_TYPE | MIIM_DATA;
    info.dwTypeData = nullptr;
    info.cch = 0;
    info.dwItemData = reinterpret_cast<ULONG_PTR>(record);
    SetMenuItemInfoW(menu, position, TRUE, &info);
}

void ACL_Menu::Convert(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        // Kept before the item points at it, so that a failed push leaves nothing dangling.
        MakeOwnerDrawn(menu, static_cast<UINT>(position), AddRecord(menu, static_cast<UINT>(position)));
        if (HMENU dropDown = GetSubMenu(menu, position))
            Convert(dropDown);
    }
}

void ACL_Menu::Refresh(HMENU menu)
{
    RefreshMenu(menu ? menu : menu_.get());
}

void ACL_Menu::RefreshMenu(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        const UINT position = static_cast<UINT>(i);
        if (HMENU dropDown = GetSubMenu(menu, i)) {
            RefreshMenu(dropDown);
            continue;
        }
        if (menu == menu_.get() && !convertTopLevel_)
            continue;
        MENUITEMINFOW info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_FTYPE | MIIM_DATA;
        GetMenuItemInfoW(menu, position, TRUE, &info);
        ACL_MenuItem* record = FindRecord(reinterpret_cast<const void*>(info.dwItemData));
        if (record && record->image && (info.fType & MFT_OWNERDRAW))
            continue;
        if (!record)
            record = AddRecord(menu, position);
        record->image = FindImage(GetMenuItemID(menu, i));
        MakeOwnerDrawn(menu, position, record);
    }
}

bool ACL_Menu::LocateCommand(HMENU menu, uint32_t commandId, HMENU* owner, UINT* position) const
{
    const int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        if (HMENU dropDown = GetSubMenu(menu, i)) {
            if (LocateCommand(dropDown, commandId, owner, position))
                return true;
        } else if (GetMenuItemID(menu, i) == commandId) {
            *owner = menu;
            *position = static_cast<UINT>(i);
            return true;
        }
    }
    return false;
}

int ACL_Menu::AppendItem(UINT flags, UINT_PTR commandId, const wchar_t* text, HMENU menu)
{
    return InsertItem(0, flags, commandId, text, true, menu);
}

int ACL_Menu::InsertItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append,
                         HMENU menu)
{
    return AddItem(position, flags, commandId, text, append, menu ? menu : menu_.get());
}

int ACL_Menu::AddItem(UINT position, UINT flags, UINT_PTR commandId, const wchar_t* text, bool append, HMENU target)
{
    auto record = std::make_unique<ACL_MenuItem>();
    record->text = text ? text : L"";
    record->length = static_cast<uint32_t>(record->text.size());
    record->image = FindImage(static_cast<uint32_t>(commandId));
    record->state = flags | MF_OWNERDRAW;
    // Only a by-position add to the bar itself makes a bar item.
    record->topLevel = (target == menu_.get() && (flags & MF_BYPOSITION)) ? 1 : 0;
    const auto data = reinterpret_cast<const wchar_t*>(record.get());
    items_.push_back(std::move(record));
    const BOOL added = append ? AppendMenuW(target, flags | MF_OWNERDRAW, commandId, data)
                              : InsertMenuW(target, position, flags | MF_OWNERDRAW, commandId, data);
    if (!added) {
        items_.pop_back();
        return 0;
    }
    return 1;
}

int ACL_Menu::DeleteItem(UINT item, UINT flags, HMENU menu)
{
    const HMENU target = menu ? menu : menu_.get();
    if (flags == MF_BYPOSITION) {
        if (HMENU dropDown = GetSubMenu(target, static_cast<int>(item))) {
            const int count = GetMenuItemCount(dropDown);
            for (int position = 0; position < count; ++position)
                DeleteItem(static_cast<UINT>(position), MF_BYPOSITION, dropDown);
        }
    }
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_DATA;
    if (!GetMenuItemInfoW(target, item, (flags & MF_BYPOSITION) != 0, &info))
        return 0;
    if (!DeleteMenu(target, item, flags))
        return 0;
    if (!info.dwItemData)
        return 1;
    const auto freed = std::erase_if(
        items_, [&](const auto& record) { return reinterpret_cast<ULONG_PTR>(record.get()) == info.dwItemData; });
    return freed ? 1 : 0;
}
