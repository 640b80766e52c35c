#include "watcher/Monitor.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "storage/ChangeWatcher.h"
#include "storage/WorkerPool.h"
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

// Opens a folder to follow its changes; empty when it is not a folder or
// cannot be opened. Storage may take seconds to answer, or never.
base::unique_file OpenFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
        return {};
    return base::unique_file(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
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

// What the monitoring thread is told from other threads. Shared with the
// opens under way on the pool: one stuck on storage may outlive the monitor.
struct Inbox {
    struct Notice {
        std::uint64_t watch = 0;
        bool failed = false;
        bool closed = false;
    };
    struct Opened {
        std::uint64_t watch = 0;
        base::unique_file folder;  // empty: not opened
    };

    void Post(Opened opened)
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            opens.push_back(std::move(opened));
        }
        SetEvent(wake.get());
    }

    std::mutex mutex;
    std::optional<WatchPlan> plan;
    std::vector<Notice> notices;
    std::vector<Opened> opens;
    const base::unique_kernel_handle wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
};

} // namespace

struct Monitor::Work {
    explicit Work(const WatchTimings& timings);
    void Run();
    void Carry(const WatchSteps& steps);
    void Open(const FolderStep& step);
    WatchSteps Follow(std::uint64_t watch, base::unique_file folder);
    EngineAnswer Ask(const std::wstring& path, std::optional<std::uint64_t> maximum);
    void AskHistory(BSTR folder, std::optional<std::uint64_t> maximum, EngineAnswer& answer);
    void Wait();

    const std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::atomic<bool> stopping{false};  // read between two steps, without the mutex

    // The monitoring thread's own.
    WatchCore core;
    base::com_ptr<ISizeEngine2> engine;
    Alerts alerts;
    storage::ChangeWatcher changes;  // after what its sink touches
    // Opening a folder waits on its storage; a slow one holds only itself.
    storage::WorkerPool pool;
};

Monitor::Work::Work(const WatchTimings& timings)
    : core(timings),
      changes(WatcherWatchOptions(), [inbox = inbox](std::uint64_t watch, storage::ChangeBatch&& batch) {
          {
              std::lock_guard<std::mutex> lock(inbox->mutex);
              inbox->notices.push_back({watch, batch.failed, batch.closed});
          }
          SetEvent(inbox->wake.get());
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
        std::vector<Inbox::Notice> notices;
        std::vector<Inbox::Opened> opens;
        {
            std::lock_guard<std::mutex> lock(inbox->mutex);
            plan.swap(inbox->plan);
            notices.swap(inbox->notices);
            opens.swap(inbox->opens);
        }
        if (plan)
            Carry(core.Configure(std::move(*plan), GetTickCount64()));
        for (Inbox::Opened& opened : opens)
            Carry(Follow(opened.watch, std::move(opened.folder)));
        for (const Inbox::Notice& notice : notices) {
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
            Open(step);
            break;
        case FolderStep::Kind::Close:
            changes.Unwatch(step.watch);
            break;
        case FolderStep::Kind::Ask: {
            const EngineAnswer answer = Ask(step.path, step.maximum);
            SYSTEMTIME localTime;
            GetLocalTime(&localTime);
            Carry(core.Answered(step.watch, answer, GetTickCount64(), localTime));
            break;
        }
        }
    }
    alerts.Carry(steps.actions);
    alerts.Record(steps.events);
}

// On the pool; without it (no thread could be made) on this thread.
void Monitor::Work::Open(const FolderStep& step)
{
    const DWORD error = pool.Submit(step.watch, [inbox = inbox, watch = step.watch, path = step.path] {
        inbox->Post({watch, OpenFolder(path)});
    });
    if (error == ERROR_OPERATION_ABORTED)
        inbox->Post({step.watch, {}});  // the watcher is ending
    else if (error != 0)
        inbox->Post({step.watch, OpenFolder(step.path)});
}

WatchSteps Monitor::Work::Follow(std::uint64_t watch, base::unique_file folder)
{
    const bool followed = static_cast<bool>(folder);
    if (followed)
        changes.Watch(watch, std::move(folder));
    return core.Opened(watch, followed, GetTickCount64());
}

// What the engine's history says of a folder with a maximum, when the engine
// keeps one (an older engine answers no ISizeEngine3, and the texts then stay
// as they are). Only what the answer can use is asked, so that a question
// about a folder stays one call or two: the day's growth ends the texts of a
// maximum's crossing, so it is asked over the maximum; the time until the
// maximum, below it.
void Monitor::Work::AskHistory(BSTR folder, std::optional<std::uint64_t> maximum, EngineAnswer& answer)
{
    base::com_ptr<ISizeEngine3> history;
    if (!maximum || FAILED(engine->QueryInterface(IID_ISizeEngine3, history.put_void())))
        return;
    if (answer.bytes > *maximum) {
        INT64 day = 0, week = 0;
        LONG known = 0;
        if (SUCCEEDED(history->GetGrowth(folder, &day, &week, &known)) && (known & 1))
            answer.dayGrowth = day;
        return;
    }
    LONG minutes = -1;
    if (SUCCEEDED(history->GetMinutesUntil(folder, *maximum, &minutes)) && minutes >= 0)
        answer.minutesToMaximum = static_cast<std::uint32_t>(minutes);
}

// The total and its state in one call: a scan that ends between two calls
// cannot make a partial total pass for a complete one.
EngineAnswer Monitor::Work::Ask(const std::wstring& path, std::optional<std::uint64_t> maximum)
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
    if (SUCCEEDED(hr)) {
        EngineAnswer answer{AnswerKind(state), size};
        if (answer.kind == EngineAnswer::Kind::Complete)
            AskHistory(folder.get(), maximum, answer);
        return answer;
    }
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
    // Without its event the thread looks for news every second.
    HANDLE wake = inbox->wake.get();
    if (!wake)
        timeout = std::min<DWORD>(timeout, 1000);
    MsgWaitForMultipleObjectsEx(wake ? 1 : 0, &wake, timeout, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
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

// The opens still waiting on storage are dropped, and one stuck there stays
// behind with the inbox it shares.
Monitor::~Monitor()
{
    const ULONGLONG deadline = GetTickCount64() + kStopWithinMs;
    work_->stopping = true;
    SetEvent(work_->inbox->wake.get());
    work_->pool.Stop(kStopWithinMs);
    const ULONGLONG now = GetTickCount64();
    thread_.Join(now < deadline ? static_cast<DWORD>(deadline - now) : 0);
}

void Monitor::Configure(WatchPlan plan)
{
    {
        std::lock_guard<std::mutex> lock(work_->inbox->mutex);
        work_->inbox->plan = std::move(plan);
    }
    SetEvent(work_->inbox->wake.get());
}

} // namespace krn
