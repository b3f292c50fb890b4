// A test that takes a minute of processor time hangs: the program ends, and the last test that it has named
// is the one. Only where tests run at full speed; sanitizers have assertions, which end such loops at the
// start.
#include "support/long_tests.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/time.h>
#include <unistd.h>

#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

constexpr int kSecondsOfTest = 60;

void EndProgram(int)
{
    constexpr char kText[] = "the test that runs has taken 60 seconds of processor time\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
    _exit(1);
}

class TimeLimit final : public testing::EmptyTestEventListener
{
    void OnTestProgramStart(const testing::UnitTest&) override { std::signal(SIGPROF, EndProgram); }
    void OnTestStart(const testing::TestInfo&) override { SetTimer(kSecondsOfTest); }
    void OnTestEnd(const testing::TestInfo&) override { SetTimer(0); }

    static void SetTimer(int seconds)
    {
        const itimerval timer{{}, {seconds, 0}};
        setitimer(ITIMER_PROF, &timer, nullptr);
    }
};

[[maybe_unused]] const bool added = [] {
    if (!LongTests())
        testing::UnitTest::GetInstance()->listeners().Append(new TimeLimit);
    return true;
}();

} // namespace

#endif
