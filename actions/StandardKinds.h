// The three action kinds every configuration uses.
#pragma once

#include <windows.h>

#include "config/ActionKindRegistry.h"

namespace krn {

// Appends "Show message", "Add to log" and "Run application", in that order
// (the order of the "Add..." menu and of the search by tag), each with its
// 16x16 bitmap from `module`.
void AddStandardKinds(ActionKindRegistry& registry, HINSTANCE module);

} // namespace krn
