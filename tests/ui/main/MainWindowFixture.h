// The main window made from its real template in a scratch profile: a
// config.xml written by the test, the window created hidden, its rows read
// back item by item, and the user's gestures sent as the controls send them.
#pragma once

#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "resource.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <commctrl.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace krn::test {

inline constexpr wchar_t kCaption[] = L"Kestrune™ Properties x64";

// A <Folder> element of config.xml, and a <Min> or <Max> element.
inline std::string FolderXml(const std::string& path, const std::string& limits = "",
                             const std::string& actions = "<MsgBox/>")
{
    return "<Folder Path=\"" + path + "\">" + limits + "<Actions>" + actions + "</Actions></Folder>";
}
inline std::string LimitXml(const char* name, const std::string& value, const char* units)
{
    return std::string("<") + name + " Value=\"" + value + "\" Units=\"" + units + "\" Msg=\"\"/>";
}
// An ASCII path (every scratch path is) as config.xml bytes.
inline std::string Narrow(const std::wstring& path) { return std::string(path.begin(), path.end()); }
// A message box's text, buttons and icon.
void ExpectBox(const MessageBoxInfo& box, const wchar_t* text, const std::vector<int>& buttons, LPCWSTR icon);
// Runs `act` while the message boxes it raises are answered with `answers` in
// turn; what each box showed.
std::vector<MessageBoxInfo> Answering(const std::vector<int>& answers, const std::function<void()>& act);

class MainWindowTest : public ScratchTest {
protected:
    MainWindowTest() { Module().AddMessageLoop(&loop); }
    ~MainWindowTest() override;

    std::wstring ConfigPath() const { return scratch.appData() + L"\\Norlath\\Kestrune\\config.xml"; }
    // Writes config.xml with these <Folder> elements, or these bytes.
    void WriteConfig(const std::string& folders) const;
    void WriteConfigBytes(const std::string& bytes) const;

    // Creates the main window; null when it closed itself while starting.
    HWND Open()
    {
        dialog_ = std::make_unique<MainDialog>();
        return dialog_->Create(nullptr);
    }
    HWND window() const { return dialog_ ? dialog_->window() : nullptr; }
    HWND item(int id) const { return GetDlgItem(window(), id); }
    const FolderList& folders() const { return dialog_->folders(); }

    // The texts of a cell's items, joined by "|"; a bitmap item reads as the
    // resource id of the picture it shows ("#214"), or "#?" when unknown.
    std::wstring Cell(int row, int column) const;
    // Column 0 of every row, in row order.
    std::vector<std::wstring> FolderNames() const;
    // A click on a column header, a double-click on a row (-1: below the
    // rows) and a drop of files, as the list view and the shell report them;
    // a command as a button or menu item sends it.
    void ClickColumn(int column) const { Notify(NMLISTVIEW{{nullptr, 0, LVN_COLUMNCLICK}, -1, column}); }
    void DoubleClick(int row) const { Notify(NMITEMACTIVATE{{nullptr, 0, NM_DBLCLK}, row}); }
    void Drop(const std::vector<std::wstring>& names) const
    {
        SendMessageW(window(), WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop(names)), 0);
    }
    void Command(int id) const
    {
        SendMessageW(window(), WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(item(id)));
    }
    // Selects `row` and deletes it with the Delete button.
    void DeleteRow(int row) const
    {
        SelectRow(item(IDC_FOLDER_LIST), row);
        Command(IDC_DELETE);
    }
    bool ApplyEnabled() const { return IsWindowEnabled(item(IDC_APPLY)) != FALSE; }
    // A control's rectangle in the window's client coordinates.
    RECT ChildRect(int id) const;

    MessageLoop loop;

private:
    // Sends a notification from the folder list.
    template <typename Notification>
    void Notify(Notification notification) const
    {
        notification.hdr.hwndFrom = item(IDC_FOLDER_LIST);
        notification.hdr.idFrom = IDC_FOLDER_LIST;
        SendMessageW(window(), WM_NOTIFY, IDC_FOLDER_LIST, reinterpret_cast<LPARAM>(&notification));
    }

    std::unique_ptr<MainDialog> dialog_;
};

} // namespace krn::test
