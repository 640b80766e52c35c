// The process module: the instance handle every resource comes from, the main
// thread, the message loop of each GUI thread, and the bookkeeping that binds
// a dialog object to its window while the window is being created.
#pragma once

#include <windows.h>

#include <map>

namespace krn {

class MessageLoop;

class CriticalSection {
public:
    CriticalSection() noexcept { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    class Lock {
    public:
        explicit Lock(CriticalSection& cs) noexcept : cs_(cs) { EnterCriticalSection(&cs_.section_); }
        ~Lock() { LeaveCriticalSection(&cs_.section_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        CriticalSection& cs_;
    };

private:
    CRITICAL_SECTION section_;
};

// A dialog object waiting for the first message of its window. The record
// lives inside the object, so binding allocates nothing.
struct PendingBinding {
    void* object = nullptr;
    DWORD thread = 0;
    PendingBinding* next = nullptr;
};

class AppModule {
public:
    AppModule() noexcept;
    AppModule(const AppModule&) = delete;
    AppModule& operator=(const AppModule&) = delete;

    void Init(HINSTANCE instance);
    void Term();

    // The resource instance of every dialog, icon, bitmap and cursor.
    HINSTANCE instance() const { return instance_; }
    DWORD mainThreadId() const { return mainThreadId_; }

    // Registers `loop` for the calling thread; false when the table cannot grow.
    bool AddMessageLoop(MessageLoop* loop);
    // Removes the calling thread's loop; false when it had none.
    bool RemoveMessageLoop();
    MessageLoop* GetMessageLoop(DWORD threadId = GetCurrentThreadId());

    // Records `binding` for the calling thread before its window is created.
    void AddBinding(PendingBinding* binding, void* object);
    // Takes the calling thread's record off the list: the object whose window
    // is receiving its first message. Null when the thread has none.
    void* TakeBinding();
    // Drops a record whose window was never created.
    void CancelBinding(PendingBinding* binding);

private:
    HINSTANCE instance_;
    DWORD mainThreadId_ = 0;
    CriticalSection loopsLock_;
    std::map<DWORD, MessageLoop*> loops_;
    CriticalSection bindingsLock_;
    PendingBinding* bindings_ = nullptr;
};

// The one module of the process.
AppModule& Module();

} // namespace krn
