#include "actions/StandardKinds.h"

#include <memory>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"
#include "resource.h"

namespace krn {
namespace {

template <typename Kind>
void AddKind(ActionKindRegistry& registry, HINSTANCE module, int bitmapId)
{
    auto kind = std::make_unique<Kind>();
    kind->bitmap.reset(LoadBitmapW(module, MAKEINTRESOURCEW(bitmapId)));
    registry.Append(std::move(kind));
}

} // namespace

void AddStandardKinds(ActionKindRegistry& registry, HINSTANCE module)
{
    AddKind<MsgBoxAction>(registry, module, IDB_ACTION_MESSAGE);
    AddKind<AddToLogAction>(registry, module, IDB_ACTION_LOG);
    AddKind<RunAction>(registry, module, IDB_ACTION_RUN);
}

} // namespace krn
