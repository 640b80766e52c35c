// A size engine that does no work, for measuring the floor of the main
// window's refresh: what creating an object in another process, one call and
// the release cost by themselves. Registered and unregistered by the
// benchmark that uses it, never by the build.
#include <windows.h>

#include "Kestrune.h"
#include "server/RunServer.h"

#ifdef KRN_FREE_THREADED
// {4A1F0C2E-9B7D-4E61-8C35-2D6E8F0A1B93}: the same, free-threaded.
extern "C" const CLSID CLSID_NullSizeEngine = {
    0x4A1F0C2E, 0x9B7D, 0x4E61, {0x8C, 0x35, 0x2D, 0x6E, 0x8F, 0x0A, 0x1B, 0x93}};
constexpr wchar_t kName[] = L"Kestrune Null Size Engine, free-threaded (benchmark)";
constexpr DWORD kApartment = COINIT_MULTITHREADED;
#else
// {DE678C83-CCD7-4429-81AB-734CF22035B8}
extern "C" const CLSID CLSID_NullSizeEngine = {
    0xDE678C83, 0xCCD7, 0x4429, {0x81, 0xAB, 0x73, 0x4C, 0xF2, 0x20, 0x35, 0xB8}};
constexpr wchar_t kName[] = L"Kestrune Null Size Engine (benchmark)";
constexpr DWORD kApartment = COINIT_APARTMENTTHREADED;
#endif

namespace {

struct Nothing {};

class NullEngine final : public server::ServerObject<ISizeEngine> {
public:
    using Context = Nothing;
    NullEngine(server::ServerModule& module, Nothing&) noexcept : ServerObject(module) {}

    HRESULT STDMETHODCALLTYPE GetFileCount(BSTR, UINT64* files) noexcept override { return Zero(files); }
    HRESULT STDMETHODCALLTYPE ScanNow(BSTR) noexcept override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetScanState(BSTR, LONG* state) noexcept override
    {
        if (state)
            *state = KRN_SCAN_COMPLETE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE StopWatching(BSTR) noexcept override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE GetTotalSize(BSTR, UINT64* size) noexcept override { return Zero(size); }

private:
    static HRESULT Zero(UINT64* value) noexcept
    {
        if (!value)
            return E_POINTER;
        *value = 0;
        return S_OK;
    }
};

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandTail, int)
{
    // Lingers like the real engine, so the floor pays no process start either.
    const server::ServerTraits traits{CLSID_NullSizeEngine, kName, 5 * 60 * 1000, nullptr, 1, kApartment};
    return server::RunServer<NullEngine>(commandTail, traits);
}
