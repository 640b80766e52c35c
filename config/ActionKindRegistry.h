// The action kinds, one object each, owned here; every ActionSlot points into
// this registry. Its order is the order of the "Add..." menu and of the search
// by tag.
#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "actions/Action.h"

namespace krn {

class ActionKindRegistry {
public:
    ActionKindRegistry() = default;
    ActionKindRegistry(const ActionKindRegistry&) = delete;
    ActionKindRegistry& operator=(const ActionKindRegistry&) = delete;
    // Deletes the kinds first to last.
    virtual ~ActionKindRegistry();

    void Append(std::unique_ptr<Action> kind);
    // The first kind whose tag equals `tag` exactly, or null.
    Action* FindKindByTag(const wchar_t* tag) const;

    std::size_t Count() const { return kinds_.size(); }
    // Null for an index outside the list.
    Action* KindAt(std::size_t index) const;
    auto begin() const { return kinds_.begin(); }
    auto end() const { return kinds_.end(); }

private:
    std::vector<std::unique_ptr<Action>> kinds_;
};

} // namespace krn
