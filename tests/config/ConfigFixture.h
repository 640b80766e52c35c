// Shared set-up of the configuration tests: the three action kinds, slots
// built from them, and files loaded from literal text.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "actions/RunAction.h"
#include "config/ConfigDocument.h"
#include "support/Scratch.h"

namespace krn::test {

class ConfigTest : public ::testing::Test {
public:
    ConfigTest() { AddStandardKinds(kinds, GetModuleHandleW(nullptr)); }

    Action* msgBox() const { return kinds.KindAt(0); }
    Action* addToLog() const { return kinds.KindAt(1); }
    Action* run() const { return kinds.KindAt(2); }

    ActionSlot RunSlot(OptionalText path, OptionalText params) const
    {
        const RunParams block{std::move(path), std::move(params)};
        ActionSlot slot{nullptr, run()};
        run()->CloneParams(&slot.params, &block);
        return slot;
    }

    // Writes `xml` (UTF-8) to a file and loads it into `folders`.
    DWORD LoadText(const std::string& xml, FolderList& folders) const
    {
        const std::wstring path = temp / L"load.xml";
        WriteFileBytes(path, xml);
        return LoadConfiguration(path.c_str(), kinds, folders);
    }

    static const RunParams& Params(const ActionSlot& slot) { return *static_cast<const RunParams*>(slot.params); }

    ActionKindRegistry kinds;
    TempFolder temp;
};

// A file of the program's format around the given Folders content.
inline std::string ConfigText(const std::string& folders, const std::string& version = "<ConfigVersion Version=\"1.3\"/>")
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings>" + version + "</Settings><Folders>" +
           folders + "</Folders></Configuration>";
}

} // namespace krn::test
