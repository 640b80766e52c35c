// A size engine that does no work, for measuring the floor of the main
// window's refresh: what creating an object in another process, one call and
// the release cost by themselves. Registered and unregistered by the
// benchmark that uses it, never by the build.
#include <windows.h>

#include "Kestrune.h"
#include "server/RunServer.h"

// {DE678C83-CCD7-4429-81AB-734CF22035B8}
extern "C" const CLSID CLSID_NullSizeEngine = {
    0xDE678C83, 0xCCD7, 0x4429, {0x81, 0xAB, 0x73, 0x4C, 0xF2, 0x20, 0x35, 0xB8}};

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
    const server::ServerSpec spec{CLSID_NullSizeEngine, L"Kestrune Null Size Engine (benchmark)", 5 * 60 * 1000};
    return server::RunServer<NullEngine>(commandTail, spec);
}
