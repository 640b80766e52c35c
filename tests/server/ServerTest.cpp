// The server scaffolding in this process: the command line, the module's lock
// count and linger, the objects a class factory makes.
#include <windows.h>
#include <oleidl.h>

#include <gtest/gtest.h>

#include <map>
#include <thread>
#include <vector>

#include "server/ServerCommandLine.h"
#include "server/ServerObject.h"

namespace server {
namespace {

TEST(ServerCommandLineTest, Switches)
{
    const struct {
        const wchar_t* tail;
        ServerCommand command;
        bool embedding;
    } cases[] = {
        {nullptr, ServerCommand::Run, false},         {L"-Embedding", ServerCommand::Run, true},
        {L"  /embedding ", ServerCommand::Run, true}, {L"/RegServer", ServerCommand::Register, false},
        {L"-regserver", ServerCommand::Register, false}, {L"/UnregServer", ServerCommand::Unregister, false},
        {L"-UNREGSERVER", ServerCommand::Unregister, false}, {L"RegServer", ServerCommand::Run, false},
        {L"/RegServerX", ServerCommand::Run, false},  {L"x /RegServer", ServerCommand::Register, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "tail: " << (c.tail ? c.tail : L"(null)"));
        const ServerCommandLine parsed = ParseServerCommandLine(c.tail);
        EXPECT_EQ(parsed.command, c.command);
        EXPECT_EQ(parsed.embedding, c.embedding);
    }
}

using Step = void (*)(ServerModule&);
struct LingerCase {
    const char* name;
    DWORD linger;
    std::vector<std::pair<DWORD, Step>> steps;  // at that many ms after the start
    int exitCode;                               // -1: still running at the end of the test
    DWORD endsAfterMs;
};

constexpr DWORD kTestEnd = 1000;
void Lock(ServerModule& module) { module.Lock(); }
void Unlock(ServerModule& module) { module.Unlock(); }
void Quit7(ServerModule& module) { module.Quit(7); }

const LingerCase kLingerCases[] = {
    {"an unused server ends after one linger", 100, {}, 0, 100},
    {"the linger starts with the last unlock", 100, {{1, Lock}, {1, Lock}, {300, Unlock}, {500, Unlock}}, 0, 600},
    {"a lock during the linger keeps it running", 100, {{50, Lock}}, -1, kTestEnd},
    {"a never-ending server outlives its last unlock", ServerTraits::kNeverEnd, {{1, Lock}, {50, Unlock}}, -1,
     kTestEnd},
    {"a never-ending server ends by Quit", ServerTraits::kNeverEnd, {{50, Quit7}}, 7, 50},
};

// {6C1D2A60-0B8E-4C57-9D2B-3E0F4A5B6C7D}: a class nobody registers.
const CLSID kNoClass = {0x6C1D2A60, 0x0B8E, 0x4C57, {0x9D, 0x2B, 0x3E, 0x0F, 0x4A, 0x5B, 0x6C, 0x7D}};

// The process lock as COM counts it.
ULONG ProcessLocks()
{
    const ULONG locks = CoAddRefServerProcess() - 1;
    CoReleaseServerProcess();
    return locks;
}

std::map<UINT_PTR, Step> pending;
ServerModule* running = nullptr;
void CALLBACK RunStep(HWND, UINT, UINT_PTR timer, DWORD)
{
    KillTimer(nullptr, timer);
    pending[timer](*running);
    pending.erase(timer);
}

TEST(ServerModuleTest, Linger)
{
    for (const LingerCase& c : kLingerCases) {
        SCOPED_TRACE(c.name);
        ServerModule module({kNoClass, L"test", c.linger});
        running = &module;
        for (const auto& [atMs, step] : c.steps)
            pending[SetTimer(nullptr, 0, atMs, RunStep)] = step;
        const UINT_PTR end = SetTimer(nullptr, 0, kTestEnd, [](HWND, UINT, UINT_PTR, DWORD) { PostQuitMessage(-1); });
        const DWORD start = GetTickCount();
        EXPECT_EQ(module.Run(), c.exitCode);
        const DWORD elapsed = GetTickCount() - start;
        EXPECT_GE(elapsed + 20, c.endsAfterMs);
        EXPECT_LT(elapsed, c.endsAfterMs + 400);
        KillTimer(nullptr, end);
        for (const auto& step : pending)
            KillTimer(nullptr, step.first);
        pending.clear();
        while (ProcessLocks() > 0)
            CoReleaseServerProcess();
    }
}

// An uninstall may end a copy that logon has just started: the end request is
// found from the moment the copy claims the instance, before it serves.
TEST(ServerModuleTest, AnEndRequestedWhileTheCopyStartsEndsItOnceItServes)
{
    std::jthread uninstall;  // joined after the module is gone: RequestEnd waits for that
    ServerModule module({kNoClass, L"test", ServerTraits::kNeverEnd, L"Local\\Kestrune test presence"});
    ASSERT_TRUE(module.ClaimInstance(false));
    uninstall = std::jthread([] { RequestEnd(kNoClass); });
    const UINT_PTR end = SetTimer(nullptr, 0, 2000, [](HWND, UINT, UINT_PTR, DWORD) { PostQuitMessage(-1); });
    EXPECT_EQ(module.Run(), 0) << "the request was missed";
    KillTimer(nullptr, end);
}

// An object with two interfaces; the first one also stands for IUnknown.
class TwoFaced final : public ServerObject<IPersist, IOleWindow> {
public:
    using Context = int;  // objects made
    TwoFaced(ServerModule& module, int& made) noexcept : ServerObject(module) { ++made; }
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetWindow(HWND*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) noexcept override { return E_NOTIMPL; }
};

TEST(ClassFactoryTest, ObjectsHoldTheModuleWhileTheyLive)
{
    ServerModule module({kNoClass, L"test", ServerTraits::kNeverEnd});
    int made = 0;
    ClassFactory<TwoFaced> factory(module, made);
    {
        base::com_ptr<IOleWindow> window;
        ASSERT_EQ(factory.CreateInstance(nullptr, IID_IOleWindow, window.put_void()), S_OK);
        base::com_ptr<IPersist> persist;
        base::com_ptr<IUnknown> identity, viaPersist;
        EXPECT_EQ(window.query(persist), S_OK);
        EXPECT_EQ(window.query(identity), S_OK);
        EXPECT_EQ(persist.query(viaPersist), S_OK);
        EXPECT_EQ(identity.get(), viaPersist.get());
        EXPECT_EQ(ProcessLocks(), 1u);
    }
    EXPECT_EQ(ProcessLocks(), 0u);

    void* none = &made;
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_IDataObject, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(factory.CreateInstance(static_cast<IUnknown*>(&factory), IID_IUnknown, &none), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(made, 2) << "the refused aggregation must make no object";
    EXPECT_EQ(ProcessLocks(), 0u);

    module.Quit(0);
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_IOleWindow, &none), CO_E_SERVER_STOPPING)
        << "a server that ends makes no more objects";
    EXPECT_EQ(made, 2);
    MSG quit;
    PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
}

} // namespace
} // namespace server
