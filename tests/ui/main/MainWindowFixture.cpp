#include "MainWindowFixture.h"

#include "acl/Handles.h"

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

void ExpectBox(const MessageBoxInfo& box, const wchar_t* text, const std::vector<int>& buttons, LPCWSTR icon)
{
    EXPECT_EQ(box.text, text);
    EXPECT_EQ(box.buttons, buttons) << "buttons of " << testing::PrintToString(box.text);
    EXPECT_EQ(box.icon, icon) << "icon of " << testing::PrintToString(box.text);
}

std::vector<MessageBoxInfo> Answering(const std::vector<int>& answers, const std::function<void()>& act)
{
    std::vector<MessageBoxInfo> seen(answers.size());
    DialogDriver driver;
    for (size_t i = 0; i < answers.size(); ++i)
        driver.AnswerMessageBox(kCaption, answers[i], &seen[i]);
    act();
    EXPECT_EQ(driver.Report(), "");
    return seen;
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

RECT MainWindowTest::ChildRect(int id) const
{
    RECT r{};
    GetWindowRect(item(id), &r);
    MapWindowPoints(nullptr, window(), reinterpret_cast<POINT*>(&r), 2);
    return r;
}

} // namespace krn::test
