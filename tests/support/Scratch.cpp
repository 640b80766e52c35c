#include "support/Scratch.h"

#include <shlwapi.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace krn::test {
namespace {

const wchar_t kScratchParent[] = L"Software\\KrnTests";
const wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

std::wstring UniqueName(const wchar_t* prefix)
{
    static std::atomic<unsigned> counter{0};
    return std::wstring(prefix) + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount()) +
           L"-" + std::to_wstring(++counter);
}

std::wstring MakeTempFolder()
{
    const std::wstring path = (std::filesystem::temp_directory_path() / UniqueName(L"krn-")).wstring();
    std::filesystem::create_directories(path);
    return path;
}

} // namespace

ScratchHkcu::ScratchHkcu()
{
    keyName_ = std::wstring(kScratchParent) + L"\\" + UniqueName(L"hkcu-");
    LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, keyName_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                     &key_, nullptr);
    if (status != ERROR_SUCCESS) {
        ADD_FAILURE() << "cannot create the scratch key, error " << status;
        return;
    }
    status = RegOverridePredefKey(HKEY_CURRENT_USER, key_);
    if (status != ERROR_SUCCESS)
        ADD_FAILURE() << "RegOverridePredefKey failed, error " << status;

    root_ = MakeTempFolder();
    appData_ = root_ + L"\\AppData";
    documents_ = root_ + L"\\Documents";
    std::filesystem::create_directories(appData_);
    std::filesystem::create_directories(documents_);
    WriteRegString(kShellFolders, L"AppData", appData_);
    WriteRegString(kShellFolders, L"Personal", documents_);
}

ScratchHkcu::~ScratchHkcu()
{
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    if (key_)
        RegCloseKey(key_);
    RegDeleteTreeW(HKEY_CURRENT_USER, keyName_.c_str());
    std::error_code ignored;
    if (!root_.empty())
        std::filesystem::remove_all(root_, ignored);
}

TempFolder::TempFolder() : path_(MakeTempFolder()) {}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void WriteRegBinary(const wchar_t* subkey, const wchar_t* name, DWORD type, const void* data, DWORD size)
{
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, subkey, name, type, data, size), ERROR_SUCCESS) << "RegSetKeyValue";
}

void WriteRegString(const wchar_t* subkey, const wchar_t* name, const std::wstring& value)
{
    WriteRegBinary(subkey, name, REG_SZ, value.c_str(), static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void WriteRegDword(const wchar_t* subkey, const wchar_t* name, DWORD value)
{
    WriteRegBinary(subkey, name, REG_DWORD, &value, sizeof value);
}

bool ReadRegValue(const wchar_t* subkey, const wchar_t* name, DWORD* type, std::string* data)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, subkey, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return false;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key, name, nullptr, type, nullptr, &size);
    if (status == ERROR_SUCCESS && data) {
        data->assign(size, '\0');
        status = RegQueryValueExW(key, name, nullptr, type, reinterpret_cast<BYTE*>(data->data()), &size);
        data->resize(size);
    }
    RegCloseKey(key);
    return status == ERROR_SUCCESS;
}

std::wstring WindowsPath(const char* unixPath)
{
    std::wstring path(unixPath, unixPath + strlen(unixPath));
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path.starts_with(L'\\') ? L"Z:" + path : path;
}

std::string ReadFileBytes(const std::wstring& path)
{
    std::ifstream in(std::filesystem::path(path), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::wstring& path, const std::string& bytes)
{
    std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace krn::test
