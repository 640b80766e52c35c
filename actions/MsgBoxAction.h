// "Show message": the watcher shows a message box. No parameters.
#pragma once

#include "actions/Action.h"

namespace krn {

class MsgBoxActionBase : public ParameterlessActionBase {
protected:
    MsgBoxActionBase() : ParameterlessActionBase(L"Show message", L"MsgBox", true, false) {}
};

class MsgBoxAction final : public ParameterlessAction<MsgBoxActionBase> {};

} // namespace krn
