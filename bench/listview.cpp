// The list view with 1,000 rows of six columns, filled like the folder list:
// how long a full screen of rows takes to paint, and how long the bubble sort
// takes at 1,000 rows and beyond.
//   build/wine-run build/bench/bench_listview.exe
#include "acl/ListView.h"
#include "resource.h"

#include "BenchSupport.h"

#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <cstdio>
#include <cwctype>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kListId = 1001;
acl::ListView* hosted = nullptr;

LRESULT CALLBACK HostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_MEASUREITEM:
        if (hosted && wParam == kListId)
            return hosted->OnMeasureItem(kListId, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
        break;
    case WM_DRAWITEM:
        if (hosted && wParam == kListId)
            return hosted->OnDrawItem(kListId, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        break;
    default:
        break;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

using bench::Now;

// Milliseconds per run of `work`, the best of `rounds` rounds of `runs` runs.
double Time(int rounds, int runs, const std::function<void()>& work)
{
    double best = 1e300;
    for (int r = 0; r < rounds; ++r) {
        const double start = Now();
        for (int i = 0; i < runs; ++i)
            work();
        best = std::min(best, (Now() - start) / runs);
    }
    return best;
}

// The folder list's rule for its name column: ASCII letters fold, nothing else.
struct NameComparer : acl::ListView_Comparer {
    int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override
    {
        const auto* ta = dynamic_cast<const acl::ListView_Text*>(a.CellAt(column)->ItemAt(0));
        const auto* tb = dynamic_cast<const acl::ListView_Text*>(b.CellAt(column)->ItemAt(0));
        const std::wstring& x = ta->Text();
        const std::wstring& y = tb->Text();
        for (size_t i = 0;; ++i) {
            const wchar_t cx = i < x.size() ? Fold(x[i]) : 0;
            const wchar_t cy = i < y.size() ? Fold(y[i]) : 0;
            if (cx != cy || !cx)
                return cx < cy ? -1 : cx > cy ? 1 : 0;
        }
    }
    static wchar_t Fold(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; }
};

class Bench {
public:
    Bench()
    {
        WNDCLASSW wc{};
        wc.lpfnWndProc = HostProc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"KrnListViewBench";
        wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
        RegisterClassW(&wc);
        host_.reset(CreateWindowExW(0, wc.lpszClassName, L"List view bench", WS_OVERLAPPEDWINDOW, 0, 0,
                                    900, 700, nullptr, nullptr, wc.hInstance, nullptr));
        RECT client{};
        GetClientRect(host_.get(), &client);
        hosted = &list_;
        CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"",
                        WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_SINGLESEL | LVS_OWNERDRAWFIXED | LVS_OWNERDATA, 0, 0,
                        client.right, client.bottom, host_.get(), reinterpret_cast<HMENU>(kListId), wc.hInstance,
                        nullptr);
        list_.Attach(host_.get(), kListId);
        list_.rowHeight = 18;
        list_.comparer = &comparer_;
        list_.Remeasure();
        const auto font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
        list_.GetSettings().SetStyle(0, 8, 0, 0, 0, 0, 0, 0, font, false);
        list_.GetSettings().SetStyle(1, 10, 0, 0, RGB(0x8A, 0xA6, 0xD6), 0, 0, 0, font, false);
        list_.GetSettings().paddingX = 3;
        for (int id : {IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN})
            bitmaps_.emplace_back(static_cast<HBITMAP>(LoadImageW(wc.hInstance, MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, 0)));
        static const struct {
            const wchar_t* title;
            int width;
        } kColumns[] = {{L"Folder", 100}, {L"Min", 70}, {L"Max", 70}, {L"Size", 80}, {L"Actions", 60}, {L"Path", 150}};
        for (const auto& c : kColumns)
            list_.AddColumn(c.title, c.width);
    }
    ~Bench() { hosted = nullptr; }

    void Fill(int rows, unsigned seed)
    {
        std::vector<std::unique_ptr<acl::ListView_Row>> old;
        list_.DeleteAllRows(old);
        std::mt19937 random(seed);
        for (int i = 0; i < rows; ++i) {
            const int row = static_cast<int>(list_.AddRow(0, 0, static_cast<uint64_t>(i)));
            const std::wstring name = L"Folder " + std::to_wstring(random() % 100000);
            Text(row, 0, name);
            Text(row, 1, std::to_wstring(random() % 1000) + L".00 MB");
            Text(row, 2, std::to_wstring(random() % 100) + L".00 GB");
            Text(row, 3, std::to_wstring(random() % 10000) + L" KB");
            for (int a = 0; a <= i % 3; ++a)
                list_.AddItem(row, 4, std::make_unique<acl::ListView_Bitmap>(bitmaps_[static_cast<size_t>(a)].get()));
            list_.AddItem(row, 5, std::make_unique<acl::ListView_Bitmap>(bitmaps_[0].get()));
            Text(row, 5, L"C:\\Users\\Someone\\Documents\\Projects\\" + name);
        }
        InvalidateRect(list_.GetListWindow(), nullptr, TRUE);
    }

    void Run()
    {
        // Filled while hidden, as a dialog fills its lists before it shows:
        // under Wine every LVM_SETITEMCOUNT on a visible list costs tens of ms.
        const double fillMs = Time(1, 1, [&] { Fill(1000, 1); });
        std::printf("fill 1000 rows x 6 columns, hidden: %.1f ms\n", fillMs);
        ShowWindow(host_.get(), SW_SHOWNOACTIVATE);
        std::vector<std::unique_ptr<acl::ListView_Row>> removed;
        const double visibleMs = Time(1, 1, [&] {
            for (int i = 0; i < 50; ++i)
                list_.AddRow(0, 0, 0);
        });
        std::printf("AddRow on the visible list: %.2f ms a row\n", visibleMs / 50);
        for (int i = 0; i < 50; ++i)
            list_.DeleteRow(list_.RowCount() - 1, removed.emplace_back());

        const HWND window = list_.GetListWindow();
        const int perPage = static_cast<int>(SendMessageW(window, LVM_GETCOUNTPERPAGE, 0, 0));
        const double screen = Time(3, 20, [&] { RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW); });
        std::printf("paint a full screen (%d rows): %.2f ms, %.3f ms a row\n", perPage, screen, screen / perPage);

        RECT client{};
        GetClientRect(window, &client);
        const acl::WindowDc dc(window);
        const int width = client.right;
        const auto drawRow = [&](UINT row, UINT state) {
            DRAWITEMSTRUCT item{ODT_LISTVIEW, kListId, row, ODA_DRAWENTIRE, state, window, dc.get(), {0, 0, width, 18}, 0};
            list_.OnDrawItem(kListId, item);
        };
        std::printf("one row through OnDrawItem: %.3f ms (selected %.3f ms)\n",
                    Time(3, 200, [&] { drawRow(0, 0); }), Time(3, 200, [&] { drawRow(1, ODS_SELECTED); }));

        // Where a row's time goes: each bitmap item is one TransparentBlt.
        acl::ListView_Bitmap bitmap(bitmaps_[0].get());
        RECT cell{0, 0, 60, 18};
        std::printf("one bitmap item drawn: %.3f ms\n", Time(3, 200, [&] { RECT r = cell; bitmap.Draw(dc.get(), 0, r); }));

        ShowWindow(host_.get(), SW_HIDE);
        for (int rows : {1000, 2000, 4000}) {
            Fill(rows, 7);
            list_.sortColumn = -1;
            const double first = Time(1, 1, [&] { list_.Sort(0); });
            const double again = Time(1, 1, [&] { list_.Sort(0); });
            std::printf("sort %d rows: %.1f ms ascending from random, %.1f ms descending from sorted\n", rows, first,
                        again);
        }
    }

private:
    void Text(int row, int column, const std::wstring& text)
    {
        list_.AddItem(row, column, std::make_unique<acl::ListView_Text>(text.c_str()));
    }

    acl::unique_hwnd host_;
    acl::ListView list_;
    NameComparer comparer_;
    std::vector<acl::unique_hbitmap> bitmaps_;
};

} // namespace

int wmain()
{
    INITCOMMONCONTROLSEX icc{sizeof icc, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&icc);
    Bench bench;
    bench.Run();
    return 0;
}
