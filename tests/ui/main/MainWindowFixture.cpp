#include "MainWindowFixture.h"

#include "acl/Handles.h"
#include "resource.h"

#include <commctrl.h>

#include <filesystem>

namespace krn::test {
namespace {

// A bitmap's size and bits. The rows' pictures and the resources compared
// with them are all loaded with LoadBitmap, so their bits share one format.
std::string Bits(HBITMAP bitmap)
{
    BITMAP info{};
    if (!bitmap || !GetObjectW(bitmap, sizeof info, &info))
        return "";
    std::string bits(static_cast<size_t>(info.bmWidthBytes) * info.bmHeight, '\0');
    GetBitmapBits(bitmap, static_cast<LONG>(bits.size()), bits.data());
    return std::to_string(info.bmWidth) + "x" + std::to_string(info.bmHeight) + bits;
}

std::wstring BitmapName(HBITMAP bitmap)
{
    for (const UINT id : {IDB_FOLDER, IDB_LOCAL_FOLDER, IDB_DRIVE_ROOT, IDB_NETWORK_FOLDER, IDB_REMOVABLE_DRIVE,
                          IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN}) {
        const acl::unique_hbitmap resource(LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id)));
        if (bitmap && Bits(resource.get()) == Bits(bitmap))
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

void ExpectBox(const MessageBoxInfo& box, const wchar_t* text, const std::vector<int>& buttons, LPCWSTR icon)
{
    EXPECT_EQ(box.text, text);
    EXPECT_EQ(box.buttons, buttons) << "buttons of " << testing::PrintToString(box.text);
    EXPECT_EQ(box.icon, icon) << "icon of " << testing::PrintToString(box.text);
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
        text += i ? L"|" : L"";
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
    NMLISTVIEW click{{item(IDC_FOLDER_LIST), IDC_FOLDER_LIST, LVN_COLUMNCLICK}, -1, column};
    SendMessageW(window(), WM_NOTIFY, IDC_FOLDER_LIST, reinterpret_cast<LPARAM>(&click));
}

void MainWindowTest::DoubleClick(int row) const
{
    NMITEMACTIVATE click{{item(IDC_FOLDER_LIST), IDC_FOLDER_LIST, NM_DBLCLK}, row};
    SendMessageW(window(), WM_NOTIFY, IDC_FOLDER_LIST, reinterpret_cast<LPARAM>(&click));
}

void MainWindowTest::Drop(const std::vector<std::wstring>& names) const
{
    SendMessageW(window(), WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop(names)), 0);
}

void MainWindowTest::Command(int id) const
{
    SendMessageW(window(), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(item(id)));
}

void MainWindowTest::DeleteRow(int row) const
{
    SelectRow(item(IDC_FOLDER_LIST), row);
    Command(IDC_DELETE);
}

RECT MainWindowTest::ChildRect(int id) const
{
    RECT r{};
    GetWindowRect(item(id), &r);
    MapWindowPoints(nullptr, window(), reinterpret_cast<POINT*>(&r), 2);
    return r;
}

std::vector<MessageBoxInfo> MainWindowTest::Answering(const std::vector<int>& answers, const std::function<void()>& act)
{
    std::vector<MessageBoxInfo> seen(answers.size());
    DialogDriver driver;
    for (size_t i = 0; i < answers.size(); ++i)
        driver.AnswerMessageBox(kCaption, answers[i], &seen[i]);
    act();
    EXPECT_EQ(driver.Report(), "");
    return seen;
}

} // namespace krn::test
