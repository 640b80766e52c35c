#include "app/AppModule.h"

namespace krn {

AppModule::AppModule() noexcept : instance_(GetModuleHandleW(nullptr)) {}

void AppModule::Init(HINSTANCE instance)
{
    instance_ = instance;
    mainThreadId_ = GetCurrentThreadId();
}

void AppModule::Term()
{
    {
        CriticalSection::Lock lock(loopsLock_);
        loops_.clear();
    }
    CriticalSection::Lock lock(bindingsLock_);
    bindings_ = nullptr;
}

bool AppModule::AddMessageLoop(MessageLoop* loop)
{
    CriticalSection::Lock lock(loopsLock_);
    loops_[GetCurrentThreadId()] = loop;
    return true;
}

bool AppModule::RemoveMessageLoop()
{
    CriticalSection::Lock lock(loopsLock_);
    return loops_.erase(GetCurrentThreadId()) != 0;
}

MessageLoop* AppModule::GetMessageLoop(DWORD threadId)
{
    CriticalSection::Lock lock(loopsLock_);
    const auto found = loops_.find(threadId);
    return found == loops_.end() ? nullptr : found->second;
}

void AppModule::AddBinding(PendingBinding* binding, void* object)
{
    binding->object = object;
    binding->thread = GetCurrentThreadId();
    CriticalSection::Lock lock(bindingsLock_);
    binding->next = bindings_;
    bindings_ = binding;
}

void* AppModule::TakeBinding()
{
    const DWORD thread = GetCurrentThreadId();
    CriticalSection::Lock lock(bindingsLock_);
    for (PendingBinding** link = &bindings_; *link; link = &(*link)->next) {
        if ((*link)->thread == thread) {
            PendingBinding* taken = *link;
            *link = taken->next;
            taken->next = nullptr;
            return taken->object;
        }
    }
    return nullptr;
}

void AppModule::CancelBinding(PendingBinding* binding)
{
    CriticalSection::Lock lock(bindingsLock_);
    for (PendingBinding** link = &bindings_; *link; link = &(*link)->next) {
        if (*link == binding) {
            *link = binding->next;
            binding->next = nullptr;
            return;
        }
    }
}

AppModule& Module()
{
    static AppModule module;
    return module;
}

} // namespace krn
