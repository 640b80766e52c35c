// The module's table of message loops, one per thread.
#include "app/AppModule.h"
#include "app/MessageLoop.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using krn::AppModule;
using krn::MessageLoop;

TEST(AppModule, KeepsOneLoopPerThread)
{
    AppModule module;
    module.Init(GetModuleHandleW(nullptr));
    EXPECT_EQ(module.mainThreadId(), GetCurrentThreadId());
    EXPECT_EQ(module.instance(), GetModuleHandleW(nullptr));

    MessageLoop mine, theirs;
    EXPECT_EQ(module.GetMessageLoop(), nullptr);
    ASSERT_TRUE(module.AddMessageLoop(&mine));
    DWORD otherThread = 0;
    MessageLoop* seenFromThere = &mine;
    std::thread other([&] {
        otherThread = GetCurrentThreadId();
        seenFromThere = module.GetMessageLoop();
        module.AddMessageLoop(&theirs);
    });
    other.join();
    EXPECT_EQ(seenFromThere, nullptr) << "another thread has no loop of its own yet";
    EXPECT_EQ(module.GetMessageLoop(), &mine);
    EXPECT_EQ(module.GetMessageLoop(otherThread), &theirs);

    EXPECT_TRUE(module.RemoveMessageLoop());
    EXPECT_FALSE(module.RemoveMessageLoop());
    EXPECT_EQ(module.GetMessageLoop(), nullptr);
    EXPECT_EQ(module.GetMessageLoop(otherThread), &theirs);
    module.Term();
    EXPECT_EQ(module.GetMessageLoop(otherThread), nullptr);
}

} // namespace
