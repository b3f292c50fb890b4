#include "platform/thread.h"

#include "platform/thread_start_hook.h"

#include <memory>
#include <new>
#include <pthread.h>

// A pthread_t travels as the pointer-sized handle that Thread keeps.
static_assert(sizeof(pthread_t) == sizeof(void*));

namespace platform {
namespace {

struct StartRecord {
    ThreadEntry entry;
    void* argument;
};

void* RunThread(void* record)
{
    const StartRecord start = *std::unique_ptr<StartRecord>(static_cast<StartRecord*>(record));
    start.entry(start.argument);
    return nullptr;
}

bool StartThread(ThreadEntry entry, void* argument, pthread_t& thread) noexcept
{
    if (!ThreadMayStart())
        return false;
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord{entry, argument});
    if (!record || pthread_create(&thread, nullptr, RunThread, record.get()) != 0)
        return false;
    static_cast<void>(record.release()); // the thread's from here on
    return true;
}

} // namespace

bool Thread::Start(ThreadEntry entry, void* argument) noexcept
{
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
    pthread_t started;
    if (!StartThread(entry, argument, started))
        return false;
    pthread_detach(started);
    return true;
}

} // namespace platform
