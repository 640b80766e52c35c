// The menu's images: the command images cut from one strip, single images
// from bitmap resources, and the check bitmap.
#include "acl/Menu.h"

using acl::SelectGuard;
using acl::unique_hbitmap;
using acl::unique_hdc;
using acl::unique_hmenu;
using acl::WindowDc;

namespace {

// The colour of a bitmap's top-left pixel, the transparent colour of images.
bool TopLeftPixel(HBITMAP bitmap, COLORREF* color)
{
    const unique_hdc dc(CreateCompatibleDC(nullptr));
    if (!dc)
        return false;
    SelectGuard select(dc.get(), bitmap);
    *color = GetPixel(dc.get(), 0, 0);
    return *color != CLR_INVALID;
}

} // namespace

DWORD ACL_Menu::LoadImages(UINT imagesMenuId, UINT imagesBitmapId)
{
    const unique_hmenu imageMenu(LoadMenuW(instance_, MAKEINTRESOURCEW(imagesMenuId)));
    if (!imageMenu)
        return GetLastError();
    const int count = GetMenuItemCount(imageMenu.get());
    const unique_hbitmap strip(LoadBitmapW(instance_, MAKEINTRESOURCEW(imagesBitmapId)));
    if (!strip)
        return GetLastError();
    BITMAP info{};
    if (!GetObjectW(strip.get(), sizeof(info), &info))
        return GetLastError();
    // The image menu has to name at least one command.
    if (count <= 0)
        return ERROR_INVALID_DATA;
    const int sliceWidth = info.bmWidth / count;
    if (imageWidth_ == kFromStrip || imageHeight_ == kFromStrip) {
        if (imageWidth_ == kFromStrip)
            imageWidth_ = static_cast<uint32_t>(sliceWidth);
        if (imageHeight_ == kFromStrip)
            imageHeight_ = static_cast<uint32_t>(info.bmHeight);
        RecomputeCells();
    }

    const WindowDc ownerDc(owner_);
    const unique_hdc source(CreateCompatibleDC(ownerDc.get()));
    const unique_hdc target(CreateCompatibleDC(ownerDc.get()));
    if (!ownerDc || !source || !target)
        return GetLastError();
    SelectGuard selectStrip(source.get(), strip.get());
    for (int i = 0; i < count; ++i) {
        unique_hbitmap bitmap(CreateCompatibleBitmap(ownerDc.get(), static_cast<int>(imageWidth_),
                                                     static_cast<int>(imageHeight_)));
        if (!bitmap)
            return GetLastError();
        auto image = std::make_unique<ACL_MenuImage>();
        {
            SelectGuard selectSlice(target.get(), bitmap.get());
            BitBlt(target.get(), 0, 0, sliceWidth, info.bmHeight, source.get(), i * sliceWidth, 0, SRCCOPY);
            image->transparentColor = GetPixel(target.get(), 0, 0);
        }
        image->commandId = GetMenuItemID(imageMenu.get(), i);
        image->bitmap = std::move(bitmap);
        images_.push_back(std::move(image));
    }
    return ERROR_SUCCESS;
}

ACL_MenuImage* ACL_Menu::FindImage(uint32_t commandId) const
{
    for (const auto& image : images_)
        if (image->commandId == commandId)
            return image.get();
    return nullptr;
}

DWORD ACL_Menu::SetCheckBitmap(HBITMAP bitmap, uint32_t shared)
{
    // The flag decides for the bitmap held from now on, a kept one included.
    checkBitmap_.reset(bitmap != kKeepCheckBitmap ? bitmap : checkBitmap_.get(), shared == 0);
    if (bitmap != kKeepCheckBitmap && bitmap && !TopLeftPixel(bitmap, &checkTransparentColor_))
        return GetLastError();
    return ERROR_SUCCESS;
}

DWORD ACL_Menu::SetItemImage(uint32_t commandId, UINT bitmapId)
{
    unique_hbitmap bitmap(LoadBitmapW(instance_, MAKEINTRESOURCEW(bitmapId)));
    COLORREF transparent = 0;
    if (!bitmap || !TopLeftPixel(bitmap.get(), &transparent))
        return GetLastError();
    AssignImage(commandId, std::move(bitmap), transparent);
    return ERROR_SUCCESS;
}

void ACL_Menu::AssignImage(uint32_t commandId, unique_hbitmap bitmap, COLORREF transparent)
{
    ACL_MenuImage* image = FindImage(commandId);
    if (!image) {
        images_.push_back(std::make_unique<ACL_MenuImage>());
        image = images_.back().get();
        image->commandId = commandId;
    }
    image->bitmap = std::move(bitmap);
    image->transparentColor = transparent;

    HMENU owner = nullptr;
    UINT position = 0;
    if (menu_ && LocateCommand(menu_.get(), commandId, &owner, &position)) {
        ACL_MenuItem* record = RecordOf(owner, position, MF_BYPOSITION);
        if (!record) {
            record = AddRecord(owner, position);
            MakeOwnerDrawn(owner, position, record);
        }
        record->image = image;
    }
}

DWORD ACL_Menu::CopyItemImage(uint32_t toCommandId, uint32_t fromCommandId)
{
    ACL_MenuItem* to = RecordOf(menu_.get(), toCommandId, MF_BYCOMMAND);
    const ACL_MenuItem* from = RecordOf(menu_.get(), fromCommandId, MF_BYCOMMAND);
    if (!to || !from)
        return ERROR_NOT_FOUND;
    to->image = from->image;
    return ERROR_SUCCESS;
}
