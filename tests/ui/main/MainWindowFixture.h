// The main window made from its real template in a scratch profile: a
// config.xml written by the test, the window created hidden, its rows read
// back item by item, and the user's gestures sent as the controls send them.
#pragma once

#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace krn::test {

inline constexpr wchar_t kCaption[] = L"Kestrune™ Properties x64";

// A <Folder> element of config.xml.
std::string FolderXml(const std::string& path, const std::string& limits = "",
                      const std::string& actions = "<MsgBox/>");
// A <Min> or <Max> element.
std::string LimitXml(const char* name, const std::string& value, const char* units);
// An ASCII path (every scratch path is) as config.xml bytes.
inline std::string Narrow(const std::wstring& path) { return std::string(path.begin(), path.end()); }

// A message box's text, buttons and icon.
void ExpectBox(const MessageBoxInfo& box, const wchar_t* text, const std::vector<int>& buttons, LPCWSTR icon);

class MainWindowTest : public ScratchTest {
protected:
    MainWindowTest();
    ~MainWindowTest() override;

    std::wstring ConfigPath() const;
    // Writes config.xml with these <Folder> elements.
    void WriteConfig(const std::string& folders) const;
    void WriteConfigBytes(const std::string& bytes) const;

    // Creates the main window; null when it closed itself while starting.
    HWND Open();
    HWND window() const { return dialog_ ? dialog_->window() : nullptr; }
    HWND item(int id) const { return GetDlgItem(window(), id); }
    const FolderList& folders() const { return dialog_->folders(); }
    MainDialog& dialog() { return *dialog_; }
    void Close() { dialog_.reset(); }

    // The texts of a cell's items, joined by "|"; a bitmap item reads as the
    // resource id of the picture it shows ("#214"), or "#?" when unknown.
    std::wstring Cell(int row, int column) const;
    // Column 0 of every row, in row order.
    std::vector<std::wstring> FolderNames() const;
    // A click on a column header, a double-click on a row (-1: below the
    // rows) and a drop of files, as the list view and the shell report them.
    void ClickColumn(int column) const;
    void DoubleClick(int row) const;
    void Drop(const std::vector<std::wstring>& names) const;
    // Sends a command as a button or menu item does.
    void Command(int id) const;
    // Selects `row` and deletes it with the Delete button.
    void DeleteRow(int row) const;
    bool ApplyEnabled() const { return IsWindowEnabled(item(3)) != FALSE; }
    // A control's rectangle in the window's client coordinates.
    RECT ChildRect(int id) const;
    // Runs `act` while the message boxes it raises are answered with
    // `answers` in turn; what each box showed.
    static std::vector<MessageBoxInfo> Answering(const std::vector<int>& answers, const std::function<void()>& act);

    MessageLoop loop;

private:
    std::unique_ptr<MainDialog> dialog_;
};

} // namespace krn::test
