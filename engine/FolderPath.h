// The names of folders as clients give them, and the one form every file call
// of the size engine uses.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace engine {

// The longest name the file system takes: its strings count their bytes in
// 16 bits.
constexpr size_t kMaxPathChars = 32767;

// Turns a client's folder name into an absolute name in the "\\?\X:\..." or
// "\\?\UNC\server\share\..." form, without a trailing backslash (a drive's
// root keeps its own). In that form names longer than MAX_PATH work and no
// component is taken for a device. The server's current directory means
// nothing to a client, so relative names are refused, and so are device names
// ("NUL", "C:\x\COM1"), embedded NULs and the "\\.\" namespace.
// Returns 0, ERROR_INVALID_PARAMETER for an empty name, ERROR_INVALID_NAME, or
// ERROR_FILENAME_EXCED_RANGE.
DWORD MakeFolderPath(std::wstring_view name, std::wstring& path);

// Orders names the way the file system compares them: without case.
struct NoCaseLess {
    using is_transparent = void;
    bool operator()(std::wstring_view a, std::wstring_view b) const noexcept;
};
bool EqualNoCase(std::wstring_view a, std::wstring_view b) noexcept;

} // namespace engine
