#include "config/ActionKindRegistry.h"

namespace krn {

ActionKindRegistry::~ActionKindRegistry()
{
    for (auto& kind : kinds_)
        kind.reset();
}

void ActionKindRegistry::Append(std::unique_ptr<Action> kind)
{
    kinds_.push_back(std::move(kind));
}

Action* ActionKindRegistry::FindKindByTag(const wchar_t* tag) const
{
    if (!tag)
        return nullptr;
    for (const auto& kind : kinds_) {
        if (kind && kind->tag == tag)
            return kind.get();
    }
    return nullptr;
}

Action* ActionKindRegistry::KindAt(std::size_t index) const
{
    return index < kinds_.size() ? kinds_[index].get() : nullptr;
}

} // namespace krn
