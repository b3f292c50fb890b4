// What a process costs while one of its threads is held up and the others wait for it.
#pragma once

#include "platform/event.h"
#include "platform/vfw.h"

#include <chrono>
#include <ctime>
#include <thread>

/// Processor time that all threads of this process have used so far.
inline std::chrono::milliseconds ProcessorTime()
{
#ifdef _WIN32
    FILETIME created, ended, kernel, user; // in units of 100 ns
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto ticks = [](FILETIME time) {
        return static_cast<int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    };
    return std::chrono::milliseconds((ticks(kernel) + ticks(user)) / 10'000);
#else
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::milliseconds(time.tv_sec * 1000 + time.tv_nsec / 1'000'000);
#endif
}

/// A gate at which a test holds one thread up.
struct HoldUp {
    platform::Event arrived{platform::Event::Kind::Manual};
    platform::Event gate{platform::Event::Kind::Manual};

    void Here()
    {
        arrived.Set();
        gate.Wait();
    }
};

/// More than the clocks' coarsest step, and less than naps of 50 us take in half a second.
inline constexpr std::chrono::milliseconds kWaitingAllowance{25};

/// Runs `body` in a thread of its own and opens the gate half a second after a thread has arrived there.
/// Returns the processor time that the process has used in between.
template <class F>
std::chrono::milliseconds ProcessorTimeWhileHeldUp(HoldUp& holdUp, F body)
{
    std::thread host(body);
    holdUp.arrived.Wait();
    const auto before = ProcessorTime();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const auto used = ProcessorTime() - before;
    holdUp.gate.Set();
    host.join();
    return used;
}
