// "Add to log": the watcher writes a line to the program-wide log file, whose
// path is a program setting; the action itself has no parameters.
#pragma once

#include "actions/Action.h"

namespace krn {

class AddToLogActionBase : public ParameterlessActionBase {
protected:
    AddToLogActionBase() : ParameterlessActionBase(L"Add to log", L"AddToLog", true, false) {}
};

class AddToLogAction final : public ParameterlessAction<AddToLogActionBase> {};

} // namespace krn
