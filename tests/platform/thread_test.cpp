#include "platform/thread.h"

#include "platform/event.h"
#include "platform/thread_start_hook.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {
void AddOne(void* counter)
{
    ++*static_cast<std::atomic<int>*>(counter);
}
} // namespace

TEST(Thread, RunsItsEntryOnceBeforeJoinReturns)
{
    std::atomic<int> counter{0};
    platform::Thread thread;
    thread.Join();
    for (int i = 1; i <= 200; ++i) {
        ASSERT_TRUE(thread.Start(AddOne, &counter));
        thread.Join();
        ASSERT_EQ(counter, i);
        thread.Join();
    }
}

TEST(Thread, IsJoinedWhenItGoes)
{
    std::atomic<int> counter{0};
    {
        platform::Thread thread;
        ASSERT_TRUE(thread.Start(
            [](void* argument) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                AddOne(argument);
            },
            &counter));
    }
    EXPECT_EQ(counter, 1);
}

TEST(Thread, ADetachedOneRunsByItself)
{
    platform::Event done(platform::Event::Kind::Manual);
    ASSERT_TRUE(platform::StartDetachedThread(
        [](void* event) { static_cast<platform::Event*>(event)->Set(); }, &done));
    done.Wait();
}

#ifndef _WIN32
TEST(Thread, DetachedOnesCanBeWaitedFor)
{
    std::atomic<int> ended{0};
    for (int i = 0; i < 8; ++i)
        ASSERT_TRUE(platform::StartDetachedThread(
            [](void* counter) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                AddOne(counter);
            },
            &ended));
    platform::WaitForDetachedThreads();
    EXPECT_EQ(ended, 8);
    platform::WaitForDetachedThreads();
}
#endif

TEST(Thread, AFailedStartIsReportedAndLeavesNothing)
{
    std::atomic<int> counter{0};
    platform::Thread thread;
    platform::SetThreadStartHook([]() noexcept { return false; });
    EXPECT_FALSE(thread.Start(AddOne, &counter));
    EXPECT_FALSE(platform::StartDetachedThread(AddOne, &counter));
    thread.Join();
    platform::SetThreadStartHook(nullptr);
    EXPECT_TRUE(thread.Start(AddOne, &counter));
    thread.Join();
    EXPECT_EQ(counter, 1);
}
