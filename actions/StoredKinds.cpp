#include "actions/StoredKinds.h"

#include <memory>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"

namespace krn {
namespace {

template <typename Base>
class StoredKind final : public Base {
public:
    HRESULT SaveParams(const void*, IXMLDOMDocument*, IXMLDOMElement*, IXMLDOMElement*) override { return E_NOTIMPL; }
    HRESULT Reserved1() override { return E_NOTIMPL; }
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT EditParams(HWND, bool, ActionSlot&) override { return E_NOTIMPL; }
    HRESULT FillParamsCell(acl::ListView_Cell*, const void*) override { return E_NOTIMPL; }
};

} // namespace

void AddStoredKinds(ActionKindRegistry& registry)
{
    registry.Append(std::make_unique<StoredKind<MsgBoxActionBase>>());
    registry.Append(std::make_unique<StoredKind<AddToLogActionBase>>());
    registry.Append(std::make_unique<StoredKind<RunActionBase>>());
}

} // namespace krn
