#include "server/Registration.h"

#include "server/ServerModule.h"

#include <oleauto.h>

#include "base/Com.h"
#include "base/Handles.h"

namespace server {
namespace {

constexpr wchar_t kClassesKey[] = L"Software\\Classes";

HRESULT WriteDefaultValue(const std::wstring& keyPath, const std::wstring& text)
{
    base::unique_hkey key;
    LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, keyPath.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_SET_VALUE, nullptr, key.put(), nullptr);
    if (status == ERROR_SUCCESS)
        status = RegSetValueExW(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    return HRESULT_FROM_WIN32(status);
}

// The default value of a key below HKEY_LOCAL_MACHINE; empty when absent.
std::wstring ReadDefaultValue(const std::wstring& keyPath)
{
    DWORD size = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, keyPath.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, nullptr, &size) !=
        ERROR_SUCCESS)
        return {};
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (RegGetValueW(HKEY_LOCAL_MACHINE, keyPath.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text.data(), &size) !=
        ERROR_SUCCESS)
        return {};
    text.resize(wcslen(text.c_str()));
    return text;
}

bool KeyExists(const std::wstring& keyPath)
{
    base::unique_hkey key;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, keyPath.c_str(), 0, KEY_QUERY_VALUE, key.put()) == ERROR_SUCCESS;
}

// Calls DllRegisterServer or DllUnregisterServer of the proxy/stub DLL beside
// `exePath`. A build without it marshals through the type library: S_FALSE.
HRESULT CallProxyStub(const std::wstring& exePath, const char* entry)
{
    const std::wstring dll = exePath.substr(0, exePath.find_last_of(L'\\') + 1) + kProxyStubDll;
    if (GetFileAttributesW(dll.c_str()) == INVALID_FILE_ATTRIBUTES)
        return S_FALSE;
    const base::unique_hmodule module(LoadLibraryExW(dll.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!module)
        return HRESULT_FROM_WIN32(GetLastError());
    const auto call = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(GetProcAddress(module.get(), entry));
    return call ? call() : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
}

// The type library, then the proxy/stub DLL, whose rows replace the
// universal marshaler that RegisterTypeLib names for each interface.
HRESULT RegisterTypeLibraryOf(const std::wstring& exePath)
{
    base::com_ptr<ITypeLib> library;
    HRESULT hr = LoadTypeLibEx(exePath.c_str(), REGKIND_NONE, library.put());
    if (FAILED(hr))
        return hr;
    // The path is the file the library is loaded from when an interface is
    // marshaled: the exe itself.
    std::wstring path = exePath;
    hr = RegisterTypeLib(library.get(), path.data(), nullptr);
    return SUCCEEDED(hr) ? CallProxyStub(exePath, "DllRegisterServer") : hr;
}

// The exe of another class of `library` that is registered and still on
// disk; empty when there is none.
std::wstring OtherRegisteredServer(ITypeLib* library, const CLSID& own)
{
    const UINT count = library->GetTypeInfoCount();
    for (UINT i = 0; i < count; ++i) {
        TYPEKIND kind;
        base::com_ptr<ITypeInfo> info;
        if (FAILED(library->GetTypeInfoType(i, &kind)) || kind != TKIND_COCLASS ||
            FAILED(library->GetTypeInfo(i, info.put())))
            continue;
        TYPEATTR* attributes = nullptr;
        if (FAILED(info->GetTypeAttr(&attributes)))
            continue;
        const CLSID clsid = attributes->guid;
        info->ReleaseTypeAttr(attributes);
        if (IsEqualCLSID(clsid, own))
            continue;
        std::wstring path = ReadDefaultValue(ClassKey(clsid) + L"\\LocalServer32");
        if (path.size() >= 2 && path.front() == L'"' && path.back() == L'"')
            path = path.substr(1, path.size() - 2);
        if (!path.empty() && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES)
            return path;
    }
    return {};
}

HRESULT UnregisterTypeLibraryOf(const std::wstring& exePath, const CLSID& own)
{
    base::com_ptr<ITypeLib> library;
    HRESULT hr = LoadTypeLibEx(exePath.c_str(), REGKIND_NONE, library.put());
    if (FAILED(hr))
        return hr;
    const std::wstring other = OtherRegisteredServer(library.get(), own);
    if (!other.empty())
        return RegisterTypeLibraryOf(other);

    TLIBATTR* attributes = nullptr;
    hr = library->GetLibAttr(&attributes);
    if (FAILED(hr))
        return hr;
    const TLIBATTR lib = *attributes;
    library->ReleaseTLibAttr(attributes);
    const std::wstring versionKey = std::wstring(kClassesKey) + L"\\TypeLib\\" + GuidText(lib.guid) + L"\\" +
                                    std::to_wstring(lib.wMajorVerNum) + L"." + std::to_wstring(lib.wMinorVerNum);
    if (!KeyExists(versionKey))
        return S_OK;  // unregistered before
    CallProxyStub(exePath, "DllUnregisterServer");
    return UnRegisterTypeLib(lib.guid, lib.wMajorVerNum, lib.wMinorVerNum, lib.lcid, lib.syskind);
}

} // namespace

std::wstring ModulePath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::wstring GuidText(const GUID& guid)
{
    wchar_t text[39] = {};
    StringFromGUID2(guid, text, 39);
    return text;
}

std::wstring ClassKey(const CLSID& clsid)
{
    return std::wstring(kClassesKey) + L"\\CLSID\\" + GuidText(clsid);
}

HRESULT RegisterServer(const ServerClass& serverClass)
{
    const std::wstring path = ModulePath();
    const std::wstring key = ClassKey(serverClass.clsid);
    HRESULT hr = WriteDefaultValue(key, serverClass.friendlyName);
    if (SUCCEEDED(hr))
        hr = WriteDefaultValue(key + L"\\LocalServer32", L"\"" + path + L"\"");
    if (SUCCEEDED(hr))
        hr = RegisterTypeLibraryOf(path);
    return hr;
}

HRESULT UnregisterServer(const ServerClass& serverClass)
{
    RequestEnd(serverClass.clsid);
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, ClassKey(serverClass.clsid).c_str());
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return HRESULT_FROM_WIN32(status);
    return UnregisterTypeLibraryOf(ModulePath(), serverClass.clsid);
}

} // namespace server
