#include "platform/turn.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using platform::Turn;
using namespace std::chrono_literals;

TEST(Turn, IsZeroAtFirst)
{
    Turn turn;
    turn.Wait(0);
}

TEST(Turn, EachThreadWaitsForItsOwnNumber)
{
    constexpr uint32_t kThreads = 6;
    constexpr uint32_t kRounds = 500;
    for (const auto spin : {0us, 20us}) {
        Turn turn;
        uint32_t value = 0; // plain: the turns alone order the threads
        std::vector<std::thread> threads;
        for (uint32_t i = 0; i < kThreads; ++i)
            threads.emplace_back([&, i] {
                for (uint32_t number = i; number < kRounds * kThreads; number += kThreads) {
                    turn.Wait(number, spin);
                    EXPECT_EQ(value++, number);
                    turn.Set(number + 1);
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(value, kRounds * kThreads);
    }
}

TEST(Turn, ANumberPassesAllThatWaitForIt)
{
    Turn turn;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { turn.Wait(Turn::kLimit - 1); });
    std::this_thread::sleep_for(20ms);
    turn.Set(1);
    turn.Set(Turn::kLimit - 1);
    for (std::thread& thread : threads)
        thread.join();
}
