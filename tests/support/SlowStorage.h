// The slow storage that the fixture of `krn_add_test(... SLOW_STORAGE <s>)`
// mounted for the test (tests/support/slow-storage.sh): one folder that
// answers at once and one where every operation of a program's thread takes
// <s> seconds, both reached through Z:.
#pragma once

#include "support/Scratch.h"  // WindowsPath

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace krn::test {

class SlowStorage {
public:
    // Reads what the fixture left in the folder KRN_SLOW_STORAGE names.
    SlowStorage()
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

    // Empty when the storage is mounted; otherwise why it is not.
    const std::string& skipReason() const { return skipReason_; }
    // Every operation at or below it waits.
    std::wstring slow() const { return root_ + L"\\slow"; }

private:
    std::wstring root_;
    std::string skipReason_;
};

} // namespace krn::test

// Skips the test, with the reason, where the slow storage could not be mounted.
#define KRN_REQUIRE_SLOW_STORAGE(storage)                        \
    do {                                                         \
        if (!(storage).skipReason().empty())                     \
            GTEST_SKIP() << (storage).skipReason();              \
    } while (0)
