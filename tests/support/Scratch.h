// Hermetic state for tests: HKEY_CURRENT_USER redirected to a scratch key and
// the application-data and documents folders redirected to scratch folders.
// Nothing a test does reaches the real user's registry or folders.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace krn::test {

class ScratchHkcu {
public:
    ScratchHkcu();
    ~ScratchHkcu();
    ScratchHkcu(const ScratchHkcu&) = delete;
    ScratchHkcu& operator=(const ScratchHkcu&) = delete;

    // The scratch folder, and inside it the folders the shell now reports for
    // CSIDL_APPDATA and CSIDL_PERSONAL.
    const std::wstring& root() const { return root_; }
    const std::wstring& appData() const { return appData_; }
    const std::wstring& documents() const { return documents_; }

    // The key that now stands for HKEY_CURRENT_USER.
    HKEY key() const { return key_; }
    // Its path below the real HKEY_CURRENT_USER, for a child process that
    // redirects its own HKEY_CURRENT_USER to the same key.
    const std::wstring& keyName() const { return keyName_; }

private:
    std::wstring keyName_;
    std::wstring root_;
    std::wstring appData_;
    std::wstring documents_;
    HKEY key_ = nullptr;
};

// A test fixture with a fresh scratch HKCU and folders for every test.
class ScratchTest : public ::testing::Test {
protected:
    ScratchHkcu scratch;
};

// A scratch folder of its own (created, removed with everything in it).
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::wstring& path() const { return path_; }
    // path() + L"\\" + name
    std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

private:
    std::wstring path_;
};

// Registry helpers for tests, working on a key below HKEY_CURRENT_USER.
void WriteRegString(const wchar_t* subkey, const wchar_t* name, const std::wstring& value);
void WriteRegDword(const wchar_t* subkey, const wchar_t* name, DWORD value);
void WriteRegBinary(const wchar_t* subkey, const wchar_t* name, DWORD type, const void* data, DWORD size);
// Returns false when the value does not exist; type and data otherwise.
bool ReadRegValue(const wchar_t* subkey, const wchar_t* name, DWORD* type, std::string* data);

// A Windows path for a Unix path (of the build tree as CMake knows it, or of
// the environment): Wine shows the Unix root as drive Z:.
std::wstring WindowsPath(const char* unixPath);

// Reads and writes a whole file as bytes.
std::string ReadFileBytes(const std::wstring& path);
void WriteFileBytes(const std::wstring& path, const std::string& bytes);

} // namespace krn::test
