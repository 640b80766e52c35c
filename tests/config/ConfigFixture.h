// Shared set-up of the configuration tests: the three action kinds, entries
// and slots built from them, a folder for files.
#pragma once

#include <gtest/gtest.h>

#include <clocale>

#include "actions/RunAction.h"
#include "actions/StandardKinds.h"
#include "config/ConfigDocument.h"
#include "support/Scratch.h"

namespace krn::test {

// The C runtime and the thread use German conventions, a decimal comma among
// them, while the object lives.
class DecimalCommaLocale {
public:
    DecimalCommaLocale()
    {
        SetThreadLocale(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT));
        _wsetlocale(LC_ALL, L"German_Germany.1252");
    }
    ~DecimalCommaLocale()
    {
        SetThreadLocale(thread_);
        _wsetlocale(LC_ALL, L"C");
    }
    DecimalCommaLocale(const DecimalCommaLocale&) = delete;
    DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

private:
    LCID thread_ = GetThreadLocale();
};

class ConfigTest : public ::testing::Test {
public:
    ConfigTest() { AddStandardKinds(kinds, GetModuleHandleW(nullptr)); }

    Action* msgBox() const { return kinds.KindAt(0); }
    Action* addToLog() const { return kinds.KindAt(1); }
    Action* run() const { return kinds.KindAt(2); }
    ActionSlot RunSlot(OptionalText path, OptionalText params) const
    {
        const RunParams block{std::move(path), std::move(params)};
        ActionSlot slot(nullptr, run());
        run()->CloneParams(&slot.params, &block);
        return slot;
    }
    // A slot of a kind without parameters.
    static ActionSlot Slot(Action* kind) { return ActionSlot(nullptr, kind); }
    template <typename... Slot>
    static std::vector<ActionSlot> Slots(Slot&&... slots)
    {
        std::vector<ActionSlot> list;
        (list.push_back(std::forward<Slot>(slots)), ...);
        return list;
    }
    static RunParams& Params(const ActionSlot& slot) { return *static_cast<RunParams*>(slot.params); }

    static std::unique_ptr<FolderEntry> Entry(OptionalText path, std::uint32_t flags, SizeLimit min, SizeLimit max,
                                              std::vector<ActionSlot> actions = {})
    {
        auto entry = std::make_unique<FolderEntry>();
        std::tie(entry->path, entry->flags, entry->min, entry->max) = std::tie(path, flags, min, max);
        entry->actions = std::move(actions);
        return entry;
    }

    ActionKindRegistry kinds;
    TempFolder temp;
};

} // namespace krn::test
