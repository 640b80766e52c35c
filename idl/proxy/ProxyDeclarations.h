/* The IUnknown proxies of rpcrt4 that widl's proxy code refers to; MinGW's
   headers declare them for C++ only. */
#include <objbase.h>
HRESULT STDMETHODCALLTYPE IUnknown_QueryInterface_Proxy(IUnknown *This, REFIID riid, void **ppvObject);
ULONG STDMETHODCALLTYPE IUnknown_AddRef_Proxy(IUnknown *This);
ULONG STDMETHODCALLTYPE IUnknown_Release_Proxy(IUnknown *This);
