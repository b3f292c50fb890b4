#include "platform/thread.h"

#include "platform/process_id.h"
#include "platform/thread_start_hook.h"

#include <atomic>
#include <cassert>
#include <csignal>
#include <memory>
#include <mutex>
#include <new>
#include <pthread.h>

// A pthread_t travels as the pointer-sized handle that Thread keeps.
static_assert(sizeof(pthread_t) == sizeof(void*));

namespace platform {
namespace {

/// Blocks the signals of this thread while it lives: a thread that is started inherits the block.
class SignalBlock
{
  public:
    SignalBlock() noexcept
    {
        sigset_t signals;
        sigfillset(&signals);
        // A fault is raised in the thread that makes it. Blocked there, it would end the process past the
        // handlers of the host.
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
            sigdelset(&signals, fault);
        pthread_sigmask(SIG_BLOCK, &signals, &hostSignals);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &hostSignals, nullptr); }

  private:
    sigset_t hostSignals;
};

struct StartRecord {
    ThreadEntry entry;
    void* argument;
};

void* RunThread(void* record)
{
    const StartRecord start = *std::unique_ptr<StartRecord>(static_cast<StartRecord*>(record));
    CallThreadEntryHook();
    start.entry(start.argument);
    return nullptr;
}

bool StartThread(ThreadEntry entry, void* argument, pthread_t& thread) noexcept
{
    if (!ThreadMayStart())
        return false;
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord{entry, argument});
    const SignalBlock block;
    if (!record || pthread_create(&thread, nullptr, RunThread, record.get()) != 0)
        return false;
    static_cast<void>(record.release()); // the thread's from here on
    return true;
}

/// A thread that its starter does not wait for. It stays in a list until somebody joins it, so that none is
/// left when the library is done.
struct DetachedThread {
    ThreadEntry entry;
    void* argument;
    uint32_t process = ProcessId();
    std::atomic<bool> ended{false};
    pthread_t thread{};
    DetachedThread* next = nullptr;
};

// Both without a destructor: threads may run until the process ends.
constinit std::mutex detachedLock;
constinit DetachedThread* detachedThreads = nullptr;

/// Joins the threads of the list that `which` chooses, and forgets those that stayed behind in the process
/// that this one was forked from. Only under the lock.
template <class F>
void JoinDetached(F which) noexcept
{
    for (DetachedThread** at = &detachedThreads; *at;) {
        DetachedThread* const thread = *at;
        const bool ours = thread->process == ProcessId();
        if (ours && !which(*thread)) {
            at = &thread->next;
            continue;
        }
        if (ours)
            pthread_join(thread->thread, nullptr);
        *at = thread->next;
        delete thread;
    }
}

void RunDetached(void* record)
{
    DetachedThread& self = *static_cast<DetachedThread*>(record);
    self.entry(self.argument);
    self.ended = true; // the next one that is started joins this one
}

} // namespace

bool Thread::Start(ThreadEntry entry, void* argument) noexcept
{
    assert(!thread);
    pthread_t started;
    if (!StartThread(entry, argument, started))
        return false;
    thread = reinterpret_cast<void*>(started);
    return true;
}

void Thread::Join() noexcept
{
    if (!thread)
        return;
    pthread_join(reinterpret_cast<pthread_t>(thread), nullptr);
    thread = nullptr;
}

bool StartDetachedThread(ThreadEntry entry, void* argument) noexcept
{
    const std::lock_guard guard(detachedLock);
    JoinDetached([](const DetachedThread& thread) { return thread.ended.load(); });
    std::unique_ptr<DetachedThread> record(new (std::nothrow) DetachedThread{entry, argument});
    if (!record || !StartThread(RunDetached, record.get(), record->thread))
        return false;
    record->next = detachedThreads;
    detachedThreads = record.release();
    return true;
}

void WaitForDetachedThreads() noexcept
{
    const std::lock_guard guard(detachedLock);
    JoinDetached([](const DetachedThread&) { return true; });
}

} // namespace platform
