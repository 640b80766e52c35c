#include "watcher/Monitor.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "storage/ChangeWatcher.h"
#include "watcher/AlertActions.h"

namespace krn {
namespace {

// Disable waits this long for the thread; the watcher ends within 2 s.
constexpr DWORD kStopWithinMs = 1000;

// Each watch buffer is small: the watcher needs to know only that something
// changed, and an overflow is a change too. 1,000 folders then take 4 MB.
storage::WatchOptions WatcherWatchOptions()
{
    storage::WatchOptions options;
    options.settleMs = 100;
    options.bufferBytes = 4096;
    options.maxChanges = 16;
    return options;
}

// The engine process is gone or unreachable, or too old to answer
// ISizeEngine2, as opposed to a folder it cannot measure (those come back as
// the folder's own Win32 errors).
bool EngineUnreachable(HRESULT hr)
{
    if (HRESULT_FACILITY(hr) == FACILITY_RPC)
        return true;
    if (hr == CO_E_OBJNOTCONNECTED || hr == E_NOINTERFACE || hr == CO_E_SERVER_STOPPING ||
        hr == REGDB_E_CLASSNOTREG || hr == CO_E_SERVER_EXEC_FAILURE)
        return true;
    const DWORD code = HRESULT_CODE(hr);
    return HRESULT_FACILITY(hr) == FACILITY_WIN32 && code >= RPC_S_INVALID_STRING_BINDING &&
           code <= RPC_X_BAD_STUB_DATA;
}

EngineAnswer::Kind AnswerKind(LONG state)
{
    switch (state) {
    case KRN_SCAN_COMPLETE:
        return EngineAnswer::Kind::Complete;
    case KRN_SCAN_RUNNING:
        return EngineAnswer::Kind::Running;
    case KRN_SCAN_STALE:
        return EngineAnswer::Kind::Stale;
    default:
        return EngineAnswer::Kind::Unknown;
    }
}

} // namespace

struct Monitor::Work {
    struct Notice {
        std::uint64_t watch = 0;
        bool failed = false;
        bool closed = false;
    };

    explicit Work(const WatchTimings& timings);
    void Run();
    void Carry(const WatchSteps& steps);
    bool Follow(const FolderStep& step);
    EngineAnswer Ask(const std::wstring& path);
    void Wait();

    std::mutex mutex;
    std::optional<WatchPlan> pendingPlan;
    std::vector<Notice> notices;
    std::atomic<bool> stopping{false};  // read between two steps, without the mutex
    const base::unique_kernel_handle wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};

    // The monitoring thread's own.
    WatchCore core;
    base::com_ptr<ISizeEngine2> engine;
    Alerts alerts;
    storage::ChangeWatcher changes;  // after what its sink touches
};

Monitor::Work::Work(const WatchTimings& timings)
    : core(timings),
      changes(WatcherWatchOptions(), [this](std::uint64_t watch, storage::ChangeBatch&& batch) {
          {
              std::lock_guard<std::mutex> lock(mutex);
              notices.push_back({watch, batch.failed, batch.closed});
          }
          SetEvent(wake.get());
      })
{
}

// The thread is an apartment of its own: the engine's proxy lives here, and
// the wait dispatches what COM posts to it.
void Monitor::Work::Run()
{
    const base::ComInit com(COINIT_APARTMENTTHREADED);
    while (!stopping) {
        std::optional<WatchPlan> plan;
        std::vector<Notice> taken;
        {
            std::lock_guard<std::mutex> lock(mutex);
            plan.swap(pendingPlan);
            taken.swap(notices);
        }
        if (plan)
            Carry(core.Configure(std::move(*plan), GetTickCount64()));
        for (const Notice& notice : taken) {
            if (notice.failed)
                core.Lost(notice.watch, GetTickCount64());
            else if (!notice.closed)
                core.Changed(notice.watch, GetTickCount64());
        }
        Carry(core.Due(GetTickCount64()));
        Wait();
    }
    engine.reset();
}

// Disable ends the watcher between two questions to the engine.
void Monitor::Work::Carry(const WatchSteps& steps)
{
    for (const FolderStep& step : steps.folders) {
        if (stopping)
            return;
        switch (step.kind) {
        case FolderStep::Kind::Open:
            Carry(core.Opened(step.watch, Follow(step), GetTickCount64()));
            break;
        case FolderStep::Kind::Close:
            changes.Unwatch(step.watch);
            break;
        case FolderStep::Kind::Ask: {
            const EngineAnswer answer = Ask(step.path);
            SYSTEMTIME localTime;
            GetLocalTime(&localTime);
            Carry(core.Answered(step.watch, answer, GetTickCount64(), localTime));
            break;
        }
        }
    }
    alerts.Carry(steps.actions);
}

bool Monitor::Work::Follow(const FolderStep& step)
{
    const DWORD attributes = GetFileAttributesW(step.path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return false;
    base::unique_file folder(CreateFileW(step.path.c_str(), FILE_LIST_DIRECTORY,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!folder)
        return false;
    changes.Watch(step.watch, std::move(folder));
    return true;
}

// The total and its state in one call: a scan that ends between two calls
// cannot make a partial total pass for a complete one.
EngineAnswer Monitor::Work::Ask(const std::wstring& path)
{
    if (!engine && FAILED(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine2,
                                           engine.put_void()))) {
        engine.reset();
        return {EngineAnswer::Kind::Unreachable};
    }
    const base::unique_bstr folder(path.c_str(), static_cast<UINT>(path.size()));
    unsigned __int64 size = 0;
    LONG state = KRN_SCAN_UNKNOWN;
    const HRESULT hr = engine->GetTotalAndState(folder.get(), &size, &state);
    if (SUCCEEDED(hr))
        return {AnswerKind(state), size};
    if (!EngineUnreachable(hr))
        return {EngineAnswer::Kind::Refused};
    engine.reset();
    return {EngineAnswer::Kind::Unreachable};
}

void Monitor::Work::Wait()
{
    const ULONGLONG next = core.NextDue();
    const ULONGLONG now = GetTickCount64();
    DWORD timeout = next == 0 ? INFINITE : next > now ? static_cast<DWORD>(std::min<ULONGLONG>(next - now, 0x7FFFFFFF)) : 0;
    // Without its event the thread looks for new plans every second.
    if (!wake)
        timeout = std::min<DWORD>(timeout, 1000);
    HANDLE handle = wake.get();
    MsgWaitForMultipleObjectsEx(wake ? 1 : 0, &handle, timeout, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

Monitor::Monitor(const WatchTimings& timings)
    : work_(std::make_shared<Work>(timings)), thread_([work = work_] { work->Run(); })
{
    if (!thread_.started())
        OutputDebugStringW(L"Kestrune watcher: the monitoring thread could not start; nothing is watched\n");
}

Monitor::~Monitor()
{
    work_->stopping = true;
    SetEvent(work_->wake.get());
    thread_.Join(kStopWithinMs);
}

void Monitor::Configure(WatchPlan plan)
{
    {
        std::lock_guard<std::mutex> lock(work_->mutex);
        work_->pendingPlan = std::move(plan);
    }
    SetEvent(work_->wake.get());
}

} // namespace krn
