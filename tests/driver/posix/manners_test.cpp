// What a host may expect of a library in its process: its signals, its children, its canceled threads and its
// list of threads are its own.
#include "driver/driver_session.h"
#include "driver/process_state.h"
#include "support/picture_maker.h"
#include "support/test_folder.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 64;

/// A stream in four threads, with log and icon: all that the library starts and opens.
class Manners : public ::testing::Test
{
  protected:
    Manners()
    {
        SetEnvironment("HOME", profile.Path().string());
        TestStore::Write("Software\\Orvane", "EnableCodecLog", 1);
        TestStore::Write("Software\\Orvane", "NotificationSettings", 15);
        TestStore::Write("Software\\Orvane\\O8Y2", "AutoEncodeThreads", 0);
        TestStore::Write("Software\\Orvane\\O8Y2", "NumEncodeThreads", 4);
    }
    ~Manners() override { SetEnvironment("HOME", home); }

    ResultCode Begin(const Instance& instance)
    {
        stream = instance.GetStream(input);
        return instance.Send(ICM_COMPRESS_BEGIN, &input, &stream);
    }
    ResultCode Frame(const Instance& instance) const
    {
        return instance.Compress(input, stream, picture.data()).result;
    }

    const std::string home = getenv("HOME") ? getenv("HOME") : "";
    const TestFolder profile;
    const TestStore store;
    const BITMAPINFOHEADER input = MakeHeader("YUY2", 16, kWidth, kHeight, kWidth* kHeight * 2);
    const std::vector<uint8_t> picture = MakePicture(Content::Smooth, kWidth* kHeight * 2, kWidth * 2, 1);
    StreamHeader stream{};
};

/// Ends this process if it hangs; for children, which have no other watchdog.
constexpr unsigned kPatience = 30; // seconds

/// What `child` returns, run in a forked child; -1 when it crashed or hung.
int ExitCodeOfChild(const std::function<int()>& child)
{
    const pid_t process = fork();
    if (process == 0) {
        alarm(kPatience);
        _exit(child());
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::atomic<int> signalsTaken;

} // namespace

TEST_F(Manners, NoWorkerTakesASignalThatTheHostHasBlocked)
{
    constexpr int kSignals[] = {SIGUSR1, SIGALRM, SIGTERM, SIGINT, SIGCHLD};
    sigset_t blocked, before;
    sigemptyset(&blocked);
    for (const int signal : kSignals)
        sigaddset(&blocked, signal);

    const Instance instance("O8Y2");
    ASSERT_EQ(Begin(instance), 0);
    ASSERT_EQ(Frame(instance), 0);
    ASSERT_GE(ThreadsInProcess(), 4);

    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    signalsTaken = 0;
    int leftToHost = 0;
    for (const int signal : kSignals) {
        struct sigaction counting = {}, old = {};
        counting.sa_handler = [](int) { ++signalsTaken; };
        sigaction(signal, &counting, &old);
        for (int i = 0; i < 10; ++i) {
            kill(getpid(), signal);
            EXPECT_EQ(Frame(instance), 0);
            const timespec atOnce{};
            leftToHost += sigtimedwait(&blocked, nullptr, &atOnce) == signal;
        }
        sigaction(signal, &old, nullptr);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(signalsTaken, 0);
    EXPECT_EQ(leftToHost, 50);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
}

TEST_F(Manners, StartingWorkersLeavesTheHostsSignalMaskAlone)
{
    sigset_t before, after;
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    const Instance instance("O8Y2");
    ASSERT_EQ(Begin(instance), 0);
    ASSERT_EQ(Frame(instance), 0);
    pthread_sigmask(SIG_BLOCK, nullptr, &after);
    for (int signal = 1; signal < 64; ++signal)
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
}

TEST_F(Manners, AForkedChildGetsErrorsForItsParentsInstance)
{
    const Instance instance("O8Y2");
    ASSERT_EQ(Begin(instance), 0);
    ASSERT_EQ(Frame(instance), 0);
    const LRESULT id = instance.Id();
    const StreamHeader run = stream;
    const int code = ExitCodeOfChild([&] {
        BITMAPINFOHEADER out{};
        const LRESULT errors[] = {instance.Send(ICM_COMPRESS_QUERY, &input),
                                  instance.Send(ICM_COMPRESS_GET_FORMAT, &input, &out),
                                  instance.Send(ICM_COMPRESS_BEGIN, &input, &run),
                                  Frame(instance),
                                  instance.Send(ICM_COMPRESS_END),
                                  instance.Send(ICM_DECOMPRESS_QUERY, &run),
                                  instance.Send(ICM_DECOMPRESS_BEGIN, &run, &input),
                                  instance.Send(ICM_DECOMPRESS_END),
                                  instance.Send(ICM_CONFIGURE, -1),
                                  instance.Send(ICM_ABOUT, -1)};
        for (const LRESULT error : errors)
            if (error != ICERR_BADHANDLE)
                return 1;
        for (const UINT message : {UINT{ICM_COMPRESS_GET_SIZE}, UINT{ICM_GETSTATE}, UINT{ICM_SETSTATE},
                                   UINT{ICM_GETINFO}, UINT{DRV_CLOSE}})
            if (Instance::Raw(static_cast<DWORD_PTR>(id), message, 0, 0) != 0)
                return 2;
        return 0;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(Frame(instance), 0) << "the parent goes on";
}

#ifndef __SANITIZE_THREAD__ // which allows a child no threads
TEST_F(Manners, AForkedChildMayOpenAnInstanceOfItsOwn)
{
    const Instance instance("O8Y2");
    ASSERT_EQ(Begin(instance), 0);
    const auto expected = instance.Compress(input, stream, picture.data()).bytes;
    const int code = ExitCodeOfChild([&] {
        const Instance own("O8Y2");
        if (Begin(own) != 0)
            return 1;
        return own.Compress(input, stream, picture.data()).bytes == expected ? 0 : 2;
    });
    EXPECT_EQ(code, 0);
}
#endif

TEST_F(Manners, ACanceledThreadOfTheHostEndsAfterItsCall)
{
    // Each call in turn is made with the cancellation already asked for: it is carried out at the first point
    // that allows it, and inside the library there is none.
    constexpr int kCalls = 5; // open, begin, frame, end, close
    for (int canceled = 0; canceled < kCalls; ++canceled) {
        std::atomic<int> returned{0};
        std::unique_ptr<Instance> instance;
        const std::function<void()> calls[kCalls] = {
            [&] { instance = std::make_unique<Instance>("O8Y2"); },
            [&] { EXPECT_EQ(Begin(*instance), 0); },
            [&] { EXPECT_EQ(Frame(*instance), 0); },
            [&] { EXPECT_EQ(instance->Send(ICM_COMPRESS_END), 0); },
            [&] { instance.reset(); },
        };
        std::function<void()> body = [&] {
            for (int call = 0; call <= canceled; ++call) {
                if (call == canceled)
                    pthread_cancel(pthread_self());
                calls[call]();
                ++returned;
            }
            pthread_testcancel();
            ADD_FAILURE() << "the thread was not canceled";
        };
        pthread_t thread;
        void* result = nullptr;
        ASSERT_EQ(pthread_create(
                      &thread, nullptr,
                      [](void* run) -> void* {
                          (*static_cast<std::function<void()>*>(run))();
                          return nullptr;
                      },
                      &body),
                  0);
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(returned, canceled + 1);
    }
}

TEST_F(Manners, NoThreadIsLeftWhenTheLastInstanceHasClosed)
{
    const int before = ThreadsInProcess();
    for (int i = 0; i < 20; ++i) {
        {
            const Instance first("O8Y2"), second("O8Y2");
            for (const Instance* instance : {&first, &second}) {
                ASSERT_EQ(Begin(*instance), 0);
                ASSERT_EQ(Frame(*instance), 0);
            }
            EXPECT_GT(ThreadsInProcess(), before);
        }
        // A thread that was joined may stay in the system's list for a moment.
        for (int wait = 0; wait < 1000 && ThreadsInProcess() > before; ++wait)
            usleep(10);
        ASSERT_EQ(ThreadsInProcess(), before);
    }
}
