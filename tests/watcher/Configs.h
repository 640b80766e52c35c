// Configuration files for the watcher tests.
#pragma once

#include <string>

namespace krn::test {

inline const std::string kTwoFolders =
    R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings><ConfigVersion Version="1.3"/></Settings>)"
    R"(<Folders><Folder Path="C:\windows"><Max Value="1" Units="GB" Msg=""/><Actions><MsgBox/></Actions></Folder>)"
    R"(<Folder Path="C:\users"><Actions><MsgBox/><AddToLog/></Actions></Folder></Folders></Configuration>)";
inline const std::string kOtherVersion =
    R"(<Configuration><Settings><ConfigVersion Version="1.2"/></Settings><Folders>)"
    R"(<Folder Path="C:\windows"><Actions><MsgBox/></Actions></Folder></Folders></Configuration>)";
inline const std::string kNoFolders =
    R"(<Configuration><Settings><ConfigVersion Version="1.3"/></Settings><Folders/></Configuration>)";

} // namespace krn::test
