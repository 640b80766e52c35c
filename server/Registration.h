// A local server's entries in the registry: its class, the type library that
// describes its interfaces and the proxy/stub DLL that marshals them.
//
// Everything goes under HKEY_LOCAL_MACHINE\Software\Classes: Wine 8 does not
// look for classes under HKEY_CURRENT_USER\Software\Classes.
#pragma once

#include <windows.h>

#include <string>

namespace server {

struct ServerClass {
    const CLSID& clsid;
    const wchar_t* friendlyName;
};

// The full path of the running exe.
std::wstring ModulePath();

// The proxy/stub DLL of the servers' interfaces, beside their exes.
inline constexpr wchar_t kProxyStubDll[] = L"KrnProxyStub.dll";

// Writes CLSID\{clsid} with the friendly name and LocalServer32 = the exe's
// quoted path, then registers the type library embedded in the exe (resource
// 1 TYPELIB): TypeLib\{libid} and, for each of its interfaces,
// Interface\{iid}; then the proxy/stub DLL beside the exe, when it is there,
// which makes itself the interfaces' ProxyStubClsid32 (else the universal
// marshaler stays). Writing again is harmless.
HRESULT RegisterServer(const ServerClass& serverClass);

// Ends a running copy of the server (RequestEnd), then removes what
// RegisterServer wrote. The type library is shared by every
// server of the product: while another of its classes is still registered it
// stays, registered again from that server's file, and so does the
// proxy/stub DLL.
HRESULT UnregisterServer(const ServerClass& serverClass);

// "{xxxxxxxx-...}" as the registry writes it.
std::wstring GuidText(const GUID& guid);
// The key of a class below HKEY_LOCAL_MACHINE.
std::wstring ClassKey(const CLSID& clsid);

} // namespace server
