// The folder list of the real main window, filled from config.xml: what each
// column shows, how each column sorts, the layout values it keeps in the
// registry, and the colours it and the window are drawn in.
#include "MainWindowFixture.h"

#include "settings/RegistryValues.h"

namespace {

using namespace krn::test;
using krn::FolderColumn;

using FolderListTest = MainWindowTest;

// Hand-edited files included: a huge limit is shown whole, and a folder with
// a thousand actions is drawn only as far as its cell reaches. Below the
// header band the window is blue-grey; the rows are 18 pixels high. (The
// band itself and the selected rows' colours are the list view's and the
// colour schemes' own tests.)
TEST_F(FolderListTest, RowsShowNamesLimitsActionsAndLocationsInFileOrderInTheirColours)
{
    std::string parent = "C:";  // more than 260 characters
    for (int i = 0; i < 30; ++i)
        parent += "\\segment" + std::to_string(i);
    const struct {
        std::string path, limits, actions;
        std::wstring folder, min, max, actionsCell, location;
    } rows[] = {
        // A drive the prefix does not have: the size engine counts real folders.
        {"Q:\\", "", "<MsgBox/>", L"Q:", L"", L"", L"#208", L"#214|[Drive root]"},
        {"\\\\server\\share\\dir", "", "<MsgBox/><AddToLog/>", L"dir", L"", L"", L"#208|#211",
         L"#215|\\\\server\\share"},
        {"D:\\Data", LimitXml("Min", "1.5", "MB") + LimitXml("Max", "2", "GB"), "<Run Path=\"a.exe\"/><MsgBox/>",
         L"Data", L"1.50 MB", L"2.00 GB", L"#212|#208", L"#210|D:"},
        // A trailing backslash is not a component of its own.
        {"C:\\Data\\Logs\\", "", "<AddToLog/>", L"Logs", L"", L"", L"#211", L"#210|C:\\Data"},
        // No backslash at all: the whole path is the name, like a drive root.
        {"Data", "", "<MsgBox/>", L"Data", L"", L"", L"#208", L"#214|[Drive root]"},
        // A negative maximum is shown, a negative minimum is not.
        {"E:\\neg", LimitXml("Min", "-5", "KB") + LimitXml("Max", "-5", "KB"), "<MsgBox/>", L"neg", L"",
         L"-5.00 KB", L"#208", L"#210|E:"},
        {parent + "\\last", "", "", L"last", L"", L"", L"", L"#210|" + std::wstring(parent.begin(), parent.end())},
    };
    std::string xml, thousand;
    for (const auto& row : rows)
        xml += FolderXml(row.path, row.limits, row.actions);
    for (int i = 0; i < 1000; ++i)
        thousand += "<MsgBox/>";
    WriteConfig(xml + FolderXml("E:\\huge", LimitXml("Max", "1e308", "B"), thousand));
    ASSERT_TRUE(Open());
    const int last = static_cast<int>(std::size(rows));
    ASSERT_EQ(folders().RowCount(), last + 1);
    for (int i = 0; i < last; ++i) {
        SCOPED_TRACE(rows[i].path);
        EXPECT_EQ(Cell(i, krn::kColumnFolder), rows[i].folder);
        EXPECT_EQ(Cell(i, krn::kColumnMin), rows[i].min);
        EXPECT_EQ(Cell(i, krn::kColumnMax), rows[i].max);
        EXPECT_EQ(Cell(i, krn::kColumnSize), L"0 B") << "no such folder: the engine gives no size";
        EXPECT_EQ(Cell(i, krn::kColumnActions), rows[i].actionsCell);
        EXPECT_EQ(Cell(i, krn::kColumnPath), rows[i].location);
    }
    const std::wstring huge = Cell(last, krn::kColumnMax);
    EXPECT_EQ(huge.size(), 309u + 5u) << "309 digits, two decimals and the unit";
    EXPECT_EQ(huge.substr(0, 17), L"10000000000000000");
    EXPECT_EQ(huge.substr(huge.size() - 5), L".00 B");
    EXPECT_EQ(folders().view().RowAt(last)->CellAt(krn::kColumnActions)->ItemCount(), 1000u);
    EXPECT_FALSE(ApplyEnabled()) << "loading is not a change";

    ShowWindow(window(), SW_SHOWNA);
    const HWND list = item(IDC_FOLDER_LIST);
    UpdateWindow(window());
    const Pixels pixels = CaptureClient(window());
    EXPECT_EQ(pixels.at(pixels.width() - 3, ChildRect(IDC_HEADER_LINE).bottom + 1), RGB(0x8A, 0xA6, 0xD6));
    RECT first{};
    ListView_GetItemRect(list, 0, &first, LVIR_BOUNDS);
    EXPECT_EQ(first.bottom - first.top, 18) << "fixed row height";
}

TEST_F(FolderListTest, EachColumnSortsStablyAndTheFileFollowsTheRows)
{
    WriteConfig(FolderXml("C:\\b\\beta", LimitXml("Min", "2", "KB"), "<MsgBox/><AddToLog/>") +
                FolderXml("\\\\srv\\alpha", LimitXml("Max", "1", "MB"), "<MsgBox/>") +
                FolderXml("C:\\a\\Gamma", LimitXml("Min", "1", "MB") + LimitXml("Max", "3", "KB"), "<MsgBox/>") +
                FolderXml("C:\\c\\gamma", LimitXml("Min", "2048", "B"), "<MsgBox/><AddToLog/><Run Path=\"x\"/>"));
    // A stored Path width stands for the sort state: 150 names no column, so
    // the first click on any column sorts ascending.
    WriteRegDword(krn::registry::kSettingsKey, L"ColWidth_Path", 150);
    ASSERT_TRUE(Open());
    const std::pair<FolderColumn, std::vector<std::wstring>> clicks[] = {
        // Letter case aside, Gamma and gamma are equal and keep their order.
        {krn::kColumnFolder, {L"alpha", L"beta", L"Gamma", L"gamma"}},
        {krn::kColumnFolder, {L"Gamma", L"gamma", L"beta", L"alpha"}},
        // In bytes: none counts as 0; 2048 B and 2 KB are equal and keep their order.
        {krn::kColumnMin, {L"alpha", L"gamma", L"beta", L"Gamma"}},
        {krn::kColumnMax, {L"gamma", L"beta", L"Gamma", L"alpha"}},
        {krn::kColumnSize, {L"gamma", L"beta", L"Gamma", L"alpha"}},
        {krn::kColumnActions, {L"Gamma", L"alpha", L"beta", L"gamma"}},
        // By the parent path's text, folded to lower case: "\\srv" (a backslash
        // is below 'c') before "c:\a", "c:\b", "c:\c"; again, the other way.
        {krn::kColumnPath, {L"alpha", L"Gamma", L"beta", L"gamma"}},
        {krn::kColumnPath, {L"gamma", L"beta", L"Gamma", L"alpha"}},
    };
    for (const auto& [column, order] : clicks) {
        SCOPED_TRACE(testing::Message() << "click on column " << column);
        ClickColumn(column);
        EXPECT_EQ(FolderNames(), order);
        EXPECT_EQ(folders().view().sortColumn, column);
    }
    EXPECT_EQ(folders().view().sortDirection, -1);
    std::vector<std::wstring> entries;
    for (const auto& entry : folders().Entries())
        entries.push_back(*entry->path);
    EXPECT_EQ(entries,
              (std::vector<std::wstring>{L"C:\\c\\gamma", L"C:\\b\\beta", L"C:\\a\\Gamma", L"\\\\srv\\alpha"}));
}

TEST_F(FolderListTest, ColumnWidthsAndSortStateAreWrittenOnCloseAndTheStoredSortIsNotReadBack)
{
    WriteConfig(FolderXml("C:\\b") + FolderXml("C:\\a"));
    WriteRegDword(krn::registry::kSettingsKey, L"ColWidth_Min", 91);
    ASSERT_TRUE(Open());
    const HWND list = item(IDC_FOLDER_LIST);
    EXPECT_EQ(SendMessageW(list, LVM_GETCOLUMNWIDTH, krn::kColumnMin, 0), 91);
    // With no Path width stored the sort state starts as column 0 ascending,
    // so a first click on "Folder" sorts it descending.
    ClickColumn(krn::kColumnFolder);
    EXPECT_EQ(FolderNames(), (std::vector<std::wstring>{L"b", L"a"}));
    SendMessageW(list, LVM_SETCOLUMNWIDTH, krn::kColumnActions, 44);
    Command(IDCANCEL);
    const std::pair<const wchar_t*, DWORD> stored[] = {
        {L"ColWidth_Folder", 100}, {L"ColWidth_Min", 91},   {L"ColWidth_Max", 70},
        {L"ColWidth_Size", 80},    {L"ColWidth_Action", 44}, {L"ColWidth_Path", 150},
        {L"ColSorting", 0},        {L"ColSortingMode", 0xFFFFFFFF},
    };
    for (const auto& [name, value] : stored) {
        DWORD type = 0;
        std::string data;
        ReadRegValue(krn::registry::kSettingsKey, name, &type, &data);
        EXPECT_EQ(std::pair(type, data), std::pair(DWORD{REG_DWORD}, std::string(reinterpret_cast<const char*>(&value), 4)))
            << name;
    }
    // The next start takes its sort state from the Path width (150), not from
    // "ColSorting": the same first click now sorts ascending.
    ASSERT_TRUE(Open());
    ClickColumn(krn::kColumnFolder);
    EXPECT_EQ(FolderNames(), (std::vector<std::wstring>{L"a", L"b"}));
}

} // namespace
