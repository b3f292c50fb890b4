#include "platform/event.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using platform::Event;
using namespace std::chrono_literals;

TEST(Event, ASetManualEventLetsEveryWaitPassUntilItIsReset)
{
    Event event(Event::Kind::Manual);
    event.Set();
    event.Wait();
    event.Wait();
    event.Reset();
    std::atomic<bool> passed{false};
    std::thread waiting([&] {
        event.Wait();
        passed = true;
    });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(passed);
    event.Set();
    waiting.join();
    EXPECT_TRUE(passed);
}

TEST(Event, AnAutoEventLetsOneWaitPassForEachSet)
{
    constexpr int kThreads = 4;
    Event event(Event::Kind::Auto, true);
    event.Wait();
    std::atomic<int> passed{0};
    std::vector<std::thread> waiting;
    for (int i = 0; i < kThreads; ++i)
        waiting.emplace_back([&] {
            event.Wait();
            ++passed;
        });
    for (int i = 1; i <= kThreads; ++i) {
        event.Set();
        while (passed < i)
            std::this_thread::yield();
        std::this_thread::sleep_for(5ms);
        EXPECT_EQ(passed, i);
    }
    for (std::thread& thread : waiting)
        thread.join();
}

TEST(Event, ResettingAClearEventKeepsItsSleepersKnown)
{
    Event event(Event::Kind::Manual);
    std::thread waiting([&] { event.Wait(); });
    std::this_thread::sleep_for(20ms);
    event.Reset();
    event.Set();
    waiting.join();
}

TEST(Event, WhatWasWrittenBeforeSetIsReadAfterWait)
{
    Event ping(Event::Kind::Auto), pong(Event::Kind::Auto);
    int value = 0; // plain: the events alone order the two threads
    constexpr int kRounds = 5'000;
    std::thread other([&] {
        for (int i = 0; i < kRounds; ++i) {
            ping.Wait(i % 2 ? 20us : 0us);
            ++value;
            pong.Set();
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        ++value;
        ping.Set();
        pong.Wait(i % 3 ? 20us : 0us);
        ASSERT_EQ(value, 2 * (i + 1));
    }
    other.join();
}

TEST(Event, MayBeFreedAsSoonAsAWaitHasPassed)
{
    for (int i = 0; i < 500; ++i) {
        auto event = std::make_unique<Event>(Event::Kind::Manual);
        std::thread setter([&event = *event] { event.Set(); });
        event->Wait(i % 2 ? 50us : 0us);
        event.reset();
        setter.join();
    }
}
