#include "watcher/Monitor.h"

#include <algorithm>
#include <utility>

namespace krn {
namespace {

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

// The engine process is gone or unreachable, as opposed to a folder it
// cannot measure (those come back as the folder's own Win32 errors).
bool EngineUnreachable(HRESULT hr)
{
    if (HRESULT_FACILITY(hr) == FACILITY_RPC)
        return true;
    if (hr == CO_E_OBJNOTCONNECTED || hr == E_NOINTERFACE)
        return true;
    const DWORD code = HRESULT_CODE(hr);
    return HRESULT_FACILITY(hr) == FACILITY_WIN32 && code >= RPC_S_INVALID_STRING_BINDING &&
           code <= RPC_X_BAD_STUB_DATA;
}

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void Soonest(ULONGLONG& at, ULONGLONG when)
{
    if (at == 0 || when < at)
        at = when;
}

} // namespace

Monitor::Monitor(const MonitorTimings& timings)
    : timings_(timings),
      wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      changes_(WatcherWatchOptions(),
               [this](std::uint64_t id, storage::ChangeBatch&& batch) {
                   {
                       std::lock_guard<std::mutex> lock(mutex_);
                       notices_.push_back({id, batch.failed, batch.closed});
                   }
                   SetEvent(wake_.get());
               }),
      thread_([this] { Run(); })
{
}

Monitor::~Monitor()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    SetEvent(wake_.get());
    thread_.join();
}

void Monitor::Configure(WatchPlan plan)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        pendingPlan_ = std::move(plan);
    }
    SetEvent(wake_.get());
}

// The thread is an apartment of its own: the engine's proxy lives here, and
// the wait below dispatches what COM posts to it.
void Monitor::Run()
{
    base::ComInit com(COINIT_APARTMENTTHREADED);
    for (;;) {
        std::optional<WatchPlan> plan;
        std::vector<Notice> notices;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_)
                break;
            plan.swap(pendingPlan_);
            notices.swap(notices_);
        }
        if (plan)
            Apply(std::move(*plan));
        ULONGLONG now = GetTickCount64();
        for (const Notice& notice : notices)
            OnNotice(notice, now);
        for (Folder& folder : folders_) {
            if (stopping_)
                break;  // Disable ends the watcher without waiting for a round of questions
            now = GetTickCount64();
            if (folder.reopenAt && now >= folder.reopenAt)
                TryWatch(folder, now);
            if ((folder.measureAt && now >= folder.measureAt) || (folder.confirmAt && now >= folder.confirmAt))
                Measure(folder, now);
        }
        HANDLE wake = wake_.get();
        MsgWaitForMultipleObjectsEx(1, &wake, NextWait(GetTickCount64()), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    for (Folder& folder : folders_)
        Unwatch(folder);
    engine_.reset();
}

// Folders kept from the plan before (same path) keep their watch and the
// state of every limit that did not change; a limit that did change is judged
// at once.
void Monitor::Apply(WatchPlan plan)
{
    const bool silentStart = !started_ && plan.disableAlertOnStartup;
    started_ = true;
    alerts_.SetLogFile(plan.logFile);
    // The folders of the plan before, and those an earlier plan dropped: a
    // configuration that did not load (read while it was being written)
    // gives an empty plan, and the next good one finds its folders here.
    std::vector<Folder> before = std::move(folders_);
    for (Folder& folder : dormant_)
        before.push_back(std::move(folder));
    dormant_.clear();
    std::vector<bool> taken(before.size(), false);
    folders_.clear();
    folders_.reserve(plan.folders.size());
    const ULONGLONG now = GetTickCount64();
    for (FolderPlan& folderPlan : plan.folders) {
        Folder folder;
        size_t match = 0;
        while (match < before.size() && (taken[match] || !SamePath(before[match].plan.path, folderPlan.path)))
            ++match;
        const bool kept = match < before.size();
        folder.limits = CarryLimits(folderPlan, kept ? &before[match].limits : nullptr, silentStart);
        folder.plan = std::move(folderPlan);
        if (kept) {
            taken[match] = true;
            Folder& old = before[match];
            folder.watchId = std::exchange(old.watchId, 0);
            folder.measureAt = old.measureAt;
            folder.confirmAt = old.confirmAt;
            folder.reopenAt = old.reopenAt;
            const bool unjudged =
                (folder.limits.max && folder.limits.max->phase() == LimitTracker::Phase::Unjudged) ||
                (folder.limits.min && folder.limits.min->phase() == LimitTracker::Phase::Unjudged);
            if (unjudged && folder.watchId)
                Soonest(folder.measureAt, now);
        }
        folders_.push_back(std::move(folder));
    }
    for (size_t i = 0; i < before.size(); ++i)
        if (!taken[i]) {
            Unwatch(before[i]);
            before[i].measureAt = before[i].confirmAt = before[i].reopenAt = 0;
            dormant_.push_back(std::move(before[i]));
        }
    for (Folder& folder : folders_)
        if (!folder.watchId && !folder.reopenAt)
            TryWatch(folder, now);
}

void Monitor::OnNotice(const Notice& notice, ULONGLONG now)
{
    if (notice.closed)
        return;
    auto folder = std::find_if(folders_.begin(), folders_.end(),
                               [&](const Folder& f) { return f.watchId == notice.id; });
    if (folder == folders_.end())
        return;
    if (notice.failed) {
        folder->watchId = 0;
        folder->reopenAt = now + timings_.retryMs;
        return;
    }
    // A folder written to without pause is still measured: the first change
    // sets the time, later ones do not push it back.
    Soonest(folder->measureAt, now + timings_.settleMs);
    folder->confirmAt = now + timings_.confirmMs;
}

// The first batch of a new watch asks for a measurement, so that the state
// before any change is judged too.
void Monitor::TryWatch(Folder& folder, ULONGLONG now)
{
    folder.reopenAt = 0;
    if (!folder.plan.max && !folder.plan.min)
        return;  // nothing to judge
    base::unique_file handle;
    if (IsFolder(folder.plan.path))
        handle.reset(CreateFileW(folder.plan.path.c_str(), FILE_LIST_DIRECTORY,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!handle) {
        folder.reopenAt = now + timings_.retryMs;
        return;
    }
    folder.watchId = nextWatchId_++;
    changes_.Watch(folder.watchId, std::move(handle));
}

void Monitor::Unwatch(Folder& folder)
{
    if (folder.watchId)
        changes_.Unwatch(std::exchange(folder.watchId, 0));
}

bool Monitor::EnsureEngine()
{
    if (!engine_ && FAILED(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine,
                                            engine_.put_void())))
        engine_.reset();
    return static_cast<bool>(engine_);
}

// The scan state is asked first: a scan that completes between the two
// calls must not make a partial total pass for a complete one.
void Monitor::Measure(Folder& folder, ULONGLONG now)
{
    folder.measureAt = 0;
    if (folder.confirmAt && now >= folder.confirmAt)
        folder.confirmAt = 0;
    if (!EnsureEngine()) {
        folder.measureAt = now + timings_.retryMs;
        return;
    }
    const base::unique_bstr path(folder.plan.path.c_str(), static_cast<UINT>(folder.plan.path.size()));
    LONG state = KRN_SCAN_UNKNOWN;
    HRESULT hr = engine_->GetScanState(path.get(), &state);
    unsigned __int64 size = 0;
    if (SUCCEEDED(hr) || !EngineUnreachable(hr))
        hr = engine_->GetTotalSize(path.get(), &size);
    if (FAILED(hr)) {
        if (EngineUnreachable(hr)) {
            engine_.reset();
            folder.measureAt = now + timings_.retryMs;
            return;
        }
        // Vanished, renamed away, unreadable or replaced by a file: the
        // watch (which follows a renamed folder) is dropped and the path
        // tried again later. Such a folder is not judged.
        Unwatch(folder);
        folder.confirmAt = 0;
        folder.reopenAt = now + timings_.retryMs;
        return;
    }
    bool complete = state == KRN_SCAN_COMPLETE;
    // A small folder's first scan is often over by now; asking once more
    // spares a retry, and with more folders than the engine keeps, a retry
    // could find the folder dropped and make the engine start over.
    if (!complete && SUCCEEDED(engine_->GetScanState(path.get(), &state)) && state == KRN_SCAN_COMPLETE &&
        SUCCEEDED(engine_->GetTotalSize(path.get(), &size)))
        complete = true;
    if (!complete)
        folder.measureAt = now + timings_.partialRetryMs;
    Judge(folder, {size, complete});
}

void Monitor::Judge(Folder& folder, const Measurement& measurement)
{
    if (folder.limits.max && folder.plan.max && folder.limits.max->Judge(measurement))
        alerts_.Fire(folder.plan, LimitSide::Maximum, *folder.plan.max, measurement.bytes);
    if (folder.limits.min && folder.plan.min && folder.limits.min->Judge(measurement))
        alerts_.Fire(folder.plan, LimitSide::Minimum, *folder.plan.min, measurement.bytes);
}

DWORD Monitor::NextWait(ULONGLONG now) const
{
    ULONGLONG next = 0;
    for (const Folder& folder : folders_)
        for (ULONGLONG at : {folder.measureAt, folder.confirmAt, folder.reopenAt})
            if (at)
                Soonest(next, at);
    if (next == 0)
        return INFINITE;
    return next > now ? static_cast<DWORD>(std::min<ULONGLONG>(next - now, 0x7FFFFFFF)) : 0;
}

} // namespace krn
