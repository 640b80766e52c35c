// The server scaffolding in this process: the command line, the module's
// lock count and linger, and the objects a class factory makes.
#include <windows.h>
#include <oleidl.h>

#include <gtest/gtest.h>

#include "server/ServerCommandLine.h"
#include "server/ServerObject.h"

namespace server {
namespace {

struct CommandLineCase {
    const wchar_t* tail;
    ServerCommand command;
    bool embedding;
};

const CommandLineCase kCommandLines[] = {
    {nullptr, ServerCommand::Run, false},
    {L"", ServerCommand::Run, false},
    {L"-Embedding", ServerCommand::Run, true},
    {L"/Embedding", ServerCommand::Run, true},
    {L"  -embedding  ", ServerCommand::Run, true},
    {L"/RegServer", ServerCommand::Register, false},
    {L"-regserver", ServerCommand::Register, false},
    {L"/UnregServer", ServerCommand::Unregister, false},
    {L"-UNREGSERVER", ServerCommand::Unregister, false},
    {L"RegServer", ServerCommand::Run, false},
    {L"/RegServerX", ServerCommand::Run, false},
    {L"/", ServerCommand::Run, false},
    {L"other /RegServer", ServerCommand::Register, false},
};

TEST(ServerCommandLineTest, Switches)
{
    for (const CommandLineCase& c : kCommandLines) {
        SCOPED_TRACE(testing::Message() << "tail: " << (c.tail ? c.tail : L"(null)"));
        const ServerCommandLine parsed = ParseServerCommandLine(c.tail);
        EXPECT_EQ(parsed.command, c.command);
        EXPECT_EQ(parsed.embedding, c.embedding);
    }
}

constexpr DWORD kLinger = 100;

// Runs `module` until it ends by itself or after `limitMs`; the time it ran.
struct RunResult {
    int exitCode;
    DWORD elapsedMs;
};

RunResult RunFor(ServerModule& module, DWORD limitMs)
{
    struct Limit {
        static void CALLBACK Elapsed(HWND, UINT, UINT_PTR timer, DWORD) noexcept
        {
            KillTimer(nullptr, timer);
            PostQuitMessage(-1);
        }
    };
    const UINT_PTR limit = SetTimer(nullptr, 0, limitMs, &Limit::Elapsed);
    const DWORD start = GetTickCount();
    const int exitCode = module.Run();
    KillTimer(nullptr, limit);
    return {exitCode, GetTickCount() - start};
}

// Calls `action` once after `delayMs` on this thread while the module runs.
template <typename Action>
class Later {
public:
    Later(DWORD delayMs, Action action) : action_(action)
    {
        current = this;
        timer_ = SetTimer(nullptr, 0, delayMs, &Later::Elapsed);
    }
    ~Later() { KillTimer(nullptr, timer_); }

private:
    static void CALLBACK Elapsed(HWND, UINT, UINT_PTR timer, DWORD) noexcept
    {
        KillTimer(nullptr, timer);
        current->action_();
    }
    static inline Later* current = nullptr;
    Action action_;
    UINT_PTR timer_;
};

TEST(ServerModuleTest, UnusedServerEndsAfterOneLinger)
{
    ServerModule module(kLinger);
    const RunResult result = RunFor(module, 5000);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GE(result.elapsedMs, kLinger - 20);
    EXPECT_LT(result.elapsedMs, 2000u);
}

TEST(ServerModuleTest, LingerStartsWithTheLastUnlock)
{
    ServerModule module(kLinger);
    module.Lock();
    module.Lock();
    Later first(300, [&] { module.Unlock(); });
    Later second(600, [&] { module.Unlock(); });
    const RunResult result = RunFor(module, 5000);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GE(result.elapsedMs, 600 + kLinger - 20);
    EXPECT_LT(result.elapsedMs, 2600u);
}

TEST(ServerModuleTest, LockDuringTheLingerKeepsItRunning)
{
    ServerModule module(kLinger);
    Later lock(kLinger / 2, [&] { module.Lock(); });
    const RunResult result = RunFor(module, 800);
    EXPECT_EQ(result.exitCode, -1) << "ended although locked";
    EXPECT_EQ(module.lockCount(), 1);
}

TEST(ServerModuleTest, NeverEndingServerEndsOnlyByQuit)
{
    ServerModule module(ServerModule::kNeverEnd);
    module.Lock();
    module.Unlock();
    EXPECT_EQ(RunFor(module, 500).exitCode, -1);
    Later quit(50, [&] { module.Quit(7); });
    EXPECT_EQ(RunFor(module, 5000).exitCode, 7);
}

// An object with two interfaces, as a server class would have.
class TwoFaced final : public ServerObject<IPersist, IOleWindow> {
public:
    struct Context {
        int created = 0;
    };
    TwoFaced(ServerModule& module, Context& context) noexcept : ServerObject(module) { ++context.created; }

    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) noexcept override
    {
        *clsid = CLSID_NULL;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) noexcept override
    {
        *window = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) noexcept override { return E_NOTIMPL; }
};

class ClassFactoryTest : public testing::Test {
protected:
    ServerModule module{ServerModule::kNeverEnd};
    TwoFaced::Context context;
    ClassFactory<TwoFaced> factory{module, context};
};

TEST_F(ClassFactoryTest, ObjectHoldsTheModuleWhileItLives)
{
    base::com_ptr<IPersist> persist;
    ASSERT_EQ(factory.CreateInstance(nullptr, IID_IPersist, persist.put_void()), S_OK);
    EXPECT_EQ(context.created, 1);
    EXPECT_EQ(module.lockCount(), 1);

    base::com_ptr<IOleWindow> window;
    EXPECT_EQ(persist.query(window), S_OK);
    base::com_ptr<IUnknown> fromPersist, fromWindow;
    EXPECT_EQ(persist.query(fromPersist), S_OK);
    EXPECT_EQ(window.query(fromWindow), S_OK);
    EXPECT_EQ(fromPersist.get(), fromWindow.get()) << "IUnknown must be the object's identity";
    base::com_ptr<IDataObject> none;
    EXPECT_EQ(persist.query(none), E_NOINTERFACE);
    EXPECT_FALSE(none);

    persist.reset();
    window.reset();
    fromPersist.reset();
    EXPECT_EQ(module.lockCount(), 1) << "a reference is still held";
    fromWindow.reset();
    EXPECT_EQ(module.lockCount(), 0);
}

TEST_F(ClassFactoryTest, FailedQueryCreatesNothingThatLasts)
{
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(factory.CreateInstance(nullptr, IID_IDataObject, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(module.lockCount(), 0);
}

TEST_F(ClassFactoryTest, AggregationIsRefused)
{
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(factory.CreateInstance(reinterpret_cast<IUnknown*>(&factory), IID_IUnknown, &out),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(context.created, 0);
}

TEST_F(ClassFactoryTest, LockServerCounts)
{
    EXPECT_EQ(factory.LockServer(TRUE), S_OK);
    EXPECT_EQ(module.lockCount(), 1);
    EXPECT_EQ(factory.LockServer(FALSE), S_OK);
    EXPECT_EQ(module.lockCount(), 0);
}

} // namespace
} // namespace server
