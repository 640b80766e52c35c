#include "config/ActionKindRegistry.h"

#include <cwchar>
#include <new>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"
#include "resource.h"

namespace krn {
namespace {

template <typename Kind>
bool AddKind(ActionKindRegistry& registry, HINSTANCE module, int bitmapId)
{
    std::unique_ptr<Action> kind(new (std::nothrow) Kind);
    if (!kind)
        return false;
    kind->bitmap.reset(static_cast<HBITMAP>(
        LoadImageW(module, MAKEINTRESOURCEW(bitmapId), IMAGE_BITMAP, 16, 16, LR_DEFAULTCOLOR)));
    registry.Append(std::move(kind));
    return true;
}

} // namespace

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

DWORD AddStandardKinds(ActionKindRegistry& registry, HINSTANCE module)
{
    if (!AddKind<MsgBoxAction>(registry, module, IDB_ACTION_MESSAGE) ||
        !AddKind<AddToLogAction>(registry, module, IDB_ACTION_LOG) ||
        !AddKind<RunAction>(registry, module, IDB_ACTION_RUN))
        return ERROR_OUTOFMEMORY;
    return ERROR_SUCCESS;
}

} // namespace krn
