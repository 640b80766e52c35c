// A folder's history in the size engine's file, as a test writes it before
// the engine starts: the engine reads the file when it starts and writes its
// own at its end, so it must not be running meanwhile.
#pragma once

#include "engine/HistoryStore.h"

#include <string>

namespace krn::test {

// A steady rise of `perDay` bytes a day up to `current` bytes now: a sample an
// hour for eight days. False when the folder's name or the file is refused.
inline bool WriteSteadyHistory(const std::wstring& folder, std::uint64_t current, std::uint64_t perDay,
                               const std::wstring& file = engine::DefaultHistoryFile())
{
    constexpr std::uint32_t kDay = 24 * 60;
    std::wstring path;
    if (engine::MakeFolderPath(folder, path))
        return false;
    const std::uint32_t now = engine::MinuteNow();
    engine::HistoryStore store(file);
    for (std::uint32_t ago = 8 * kDay; ago >= 60; ago -= 60)
        store.Record(path, now - ago, current - std::uint64_t{ago} * perDay / kDay);
    return store.Save();
}

} // namespace krn::test
