// The worker pool with jobs that never end on their own, as jobs on storage
// that does not answer: the other keys' jobs still run, and Stop keeps its
// deadline.
#include "storage/WorkerPool.h"

#include "base/Handles.h"

#include <gtest/gtest.h>

namespace {

TEST(WorkerPool, JobsStuckOnOneKeyHoldNeitherOtherKeysNorTheEnd)
{
    const base::unique_kernel_handle release(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const base::unique_kernel_handle otherRan(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ASSERT_TRUE(release && otherRan);
    storage::WorkerPool pool({2, 4, 30000});
    // More stuck jobs of one key than the pool has threads at first.
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(pool.Submit(1, [&] { WaitForSingleObject(release.get(), INFINITE); }), 0u);
    ASSERT_EQ(pool.Submit(2, [&] { SetEvent(otherRan.get()); }), 0u);
    EXPECT_EQ(WaitForSingleObject(otherRan.get(), 5000), WAIT_OBJECT_0) << "another key's job waited for the stuck ones";
    EXPECT_LE(pool.counts().threads, 4u);

    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(pool.Stop(300)) << "a job is still stuck";
    EXPECT_LT(GetTickCount64() - start, 1000u) << "Stop's deadline, in ms";
    EXPECT_EQ(pool.Submit(2, [] {}), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    SetEvent(release.get());
    EXPECT_TRUE(pool.Stop(5000)) << "the jobs ended once their wait did";
}

} // namespace
