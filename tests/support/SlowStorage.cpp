#include "support/SlowStorage.h"
#include "support/Scratch.h"

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
    const std::wstring dir = WindowsPath(folder);
    std::string state;
    std::getline(std::ifstream(std::filesystem::path(dir + L"\\state")), state);
    if (state != "mounted") {
        skipReason_ = state.empty() ? "the slow storage's fixture did not run" : state;
        return;
    }
    root_ = dir + L"\\mnt";
}

} // namespace krn::test
