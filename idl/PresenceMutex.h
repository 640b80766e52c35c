// The watcher's presence mutex: the watcher holds it for as long as it runs,
// and the configuration program learns from it whether the watcher is on.
#pragma once

namespace krn {

inline constexpr wchar_t kWatcherMutexName[] = L"KRNWatcher.{BF53F76E-372B-404b-B4F4-4F55FDCB42FD}";

} // namespace krn
