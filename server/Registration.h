// A local server's entries in the registry: its class and the type library
// that marshals its interfaces.
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

// Writes CLSID\{clsid} with the friendly name and LocalServer32 = the exe's
// quoted path, then registers the type library embedded in the exe (resource
// 1 TYPELIB): TypeLib\{libid} and, for each of its interfaces,
// Interface\{iid} with the universal marshaler. Writing again is harmless.
HRESULT RegisterServer(const ServerClass& serverClass);

// Ends a running copy of the server (RequestEnd), then removes what
// RegisterServer wrote. The type library is shared by every
// server of the product: while another of its classes is still registered it
// stays, registered again from that server's file.
HRESULT UnregisterServer(const ServerClass& serverClass);

// "{xxxxxxxx-...}" as the registry writes it.
std::wstring GuidText(const GUID& guid);
// The key of a class below HKEY_LOCAL_MACHINE.
std::wstring ClassKey(const CLSID& clsid);

} // namespace server
