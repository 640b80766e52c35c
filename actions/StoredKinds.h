// The three action kinds as a program without windows needs them: blocks are
// read from a configuration file, compared, copied and freed, never edited,
// shown or saved. The watcher reads config.xml through these.
#pragma once

#include "config/ActionKindRegistry.h"

namespace krn {

// Appends "Show message", "Add to log" and "Run application" in the order of
// AddStandardKinds, without bitmaps. Their SaveParams, EditParams and
// FillParamsCell fail with E_NOTIMPL.
void AddStoredKinds(ActionKindRegistry& registry);

} // namespace krn
