#include "MainWindowFixture.h"

#include "resource.h"

#include <commctrl.h>

#include <filesystem>
#include <map>

namespace krn::test {
namespace {

// The pixels of a bitmap, to recognise which resource an item shows.
std::vector<uint32_t> BitmapBits(HBITMAP bitmap)
{
    BITMAP info{};
    if (!bitmap || !GetObjectW(bitmap, sizeof info, &info))
        return {};
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = info.bmWidth;
    format.bmiHeader.biHeight = -info.bmHeight;
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    std::vector<uint32_t> bits(static_cast<size_t>(info.bmWidth) * info.bmHeight + 2);
    const HDC dc = GetDC(nullptr);
    GetDIBits(dc, bitmap, 0, info.bmHeight, bits.data(), &format, DIB_RGB_COLORS);
    ReleaseDC(nullptr, dc);
    bits.back() = static_cast<uint32_t>(info.bmWidth);
    return bits;
}

std::wstring BitmapName(HBITMAP bitmap)
{
    static const UINT ids[] = {IDB_FOLDER,         IDB_LOCAL_FOLDER,    IDB_DRIVE_ROOT,   IDB_NETWORK_FOLDER,
                               IDB_REMOVABLE_DRIVE, IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN};
    const std::vector<uint32_t> bits = BitmapBits(bitmap);
    for (const UINT id : ids) {
        const HBITMAP resource = LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id));
        const bool same = !bits.empty() && BitmapBits(resource) == bits;
        DeleteObject(resource);
        if (same)
            return L"#" + std::to_wstring(id);
    }
    return L"#?";
}

} // namespace

std::string FolderXml(const std::string& path, const std::string& limits, const std::string& actions)
{
    return "<Folder Path=\"" + path + "\">" + limits + "<Actions>" + actions + "</Actions></Folder>";
}

std::string LimitXml(const char* name, const std::string& value, const char* units)
{
    return std::string("<") + name + " Value=\"" + value + "\" Units=\"" + units + "\" Msg=\"\"/>";
}

MainWindowTest::MainWindowTest()
{
    Module().AddMessageLoop(&loop);
}

MainWindowTest::~MainWindowTest()
{
    dialog_.reset();
    Module().RemoveMessageLoop();
    // Messages posted by a window that is gone (its WM_QUIT included) must
    // not reach the next test.
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
}

std::wstring MainWindowTest::ConfigPath() const
{
    return scratch.appData() + L"\\Norlath\\Kestrune\\config.xml";
}

void MainWindowTest::WriteConfig(const std::string& folders) const
{
    WriteConfigBytes("<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion "
                     "Version=\"1.3\"/></Settings><Folders>" +
                     folders + "</Folders></Configuration>");
}

void MainWindowTest::WriteConfigBytes(const std::string& bytes) const
{
    std::filesystem::create_directories(std::filesystem::path(ConfigPath()).parent_path());
    WriteFileBytes(ConfigPath(), bytes);
}

HWND MainWindowTest::Open()
{
    dialog_ = std::make_unique<MainDialog>();
    return dialog_->Create(nullptr);
}

std::wstring MainWindowTest::Cell(int row, int column) const
{
    const acl::ListView_Row* r = folders().view().RowAt(static_cast<size_t>(row));
    const acl::ListView_Cell* cell = r ? r->CellAt(static_cast<size_t>(column)) : nullptr;
    std::wstring text;
    for (size_t i = 0; cell && i < cell->ItemCount(); ++i) {
        const acl::ListView_Item* item = cell->ItemAt(i);
        if (!text.empty())
            text += L"|";
        if (item->kind == acl::ListView_Item::kText)
            text += static_cast<const acl::ListView_Text*>(item)->Text();
        else if (item->kind == acl::ListView_Item::kBitmap)
            text += BitmapName(static_cast<const acl::ListView_Bitmap*>(item)->Bitmap());
    }
    return text;
}

std::vector<std::wstring> MainWindowTest::FolderNames() const
{
    std::vector<std::wstring> names;
    for (int row = 0; row < folders().RowCount(); ++row)
        names.push_back(Cell(row, kColumnFolder));
    return names;
}

void MainWindowTest::ClickColumn(int column) const
{
    NMLISTVIEW click{};
    click.hdr.hwndFrom = item(IDC_FOLDER_LIST);
    click.hdr.idFrom = IDC_FOLDER_LIST;
    click.hdr.code = LVN_COLUMNCLICK;
    click.iItem = -1;
    click.iSubItem = column;
    SendMessageW(window(), WM_NOTIFY, IDC_FOLDER_LIST, reinterpret_cast<LPARAM>(&click));
}

void MainWindowTest::Command(int id) const
{
    SendMessageW(window(), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(item(id)));
}

} // namespace krn::test
