#include "support/SlowStorage.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace krn::test {

SlowStorage::SlowStorage()
{
    const char* folder = std::getenv("KRN_SLOW_STORAGE");
    if (!folder || *folder != '/') {
        skipReason_ = "no slow storage: the test runs without its fixture";
        return;
    }
    // Z: is the Linux root.
    std::wstring unix(folder, folder + std::char_traits<char>::length(folder));
    for (wchar_t& c : unix)
        if (c == L'/')
            c = L'\\';
    const std::wstring dir = L"Z:" + unix;
    std::string state;
    std::getline(std::ifstream(std::filesystem::path(dir + L"\\state")), state);
    if (state != "mounted") {
        skipReason_ = state.empty() ? "the slow storage's fixture did not run" : state;
        return;
    }
    root_ = dir + L"\\mnt";
}

} // namespace krn::test
