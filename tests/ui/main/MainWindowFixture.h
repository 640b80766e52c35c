// The main window made from its real template in a scratch profile: a
// config.xml written by the test, the window created hidden, its rows read
// back item by item.
#pragma once

#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace krn::test {

// A <Folder> element of config.xml.
std::string FolderXml(const std::string& path, const std::string& limits = "",
                      const std::string& actions = "<MsgBox/>");
// A <Min> or <Max> element.
std::string LimitXml(const char* name, const std::string& value, const char* units);

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
    // A click on a column header, as the list view reports it.
    void ClickColumn(int column) const;
    // Sends a command as a button or menu item does.
    void Command(int id) const;
    bool ApplyEnabled() const { return IsWindowEnabled(item(3)) != FALSE; }

    MessageLoop loop;

private:
    std::unique_ptr<MainDialog> dialog_;
};

} // namespace krn::test
