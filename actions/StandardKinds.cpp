#include "actions/StandardKinds.h"

#include <memory>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"
#include "resource.h"

namespace krn {
namespace {

void AddKind(ActionKindRegistry& registry, std::unique_ptr<Action> kind, HINSTANCE module, int bitmapId)
{
    kind->bitmap.reset(LoadBitmapW(module, MAKEINTRESOURCEW(bitmapId)));
    registry.Append(std::move(kind));
}

} // namespace

void AddStandardKinds(ActionKindRegistry& registry, HINSTANCE module)
{
    AddKind(registry, std::make_unique<MsgBoxAction>(), module, IDB_ACTION_MESSAGE);
    AddKind(registry, std::make_unique<AddToLogAction>(), module, IDB_ACTION_LOG);
    AddKind(registry, std::make_unique<RunAction>(module), module, IDB_ACTION_RUN);
}

} // namespace krn
