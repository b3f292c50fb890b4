#include "reliability/memory_faults.h"

#include "support/memory/own_new.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <limits>
#include <mutex>
#include <unordered_set>

extern "C" {
void* __real_calloc(size_t count, size_t size);
void __real_free(void* memory);
void* __wrap_calloc(size_t count, size_t size);
void __wrap_free(void* memory);
}

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

constinit std::atomic<long> untilFault{kNever}; // allocations that still succeed
constinit std::atomic<bool> staysEmpty{false};  // whether those behind the first that fails do, too
constinit std::atomic<bool> faultPlanned{false};
constinit std::atomic<bool> watching{false};

/// Takes its memory past all that is counted here.
template <class T>
struct PlainAllocator {
    using value_type = T;
    PlainAllocator() = default;
    template <class U>
    PlainAllocator(const PlainAllocator<U>&)
    {}
    T* allocate(size_t count) { return static_cast<T*>(std::malloc(count * sizeof(T))); }
    void deallocate(T* memory, size_t) { __real_free(memory); }
    bool operator==(const PlainAllocator&) const { return true; }
};

/// Pointers, since the C library frees and hands out memory that never came by here.
struct HeldMemory {
    std::mutex mutex;
    std::unordered_set<void*, std::hash<void*>, std::equal_to<void*>, PlainAllocator<void*>> pointers;
};

HeldMemory& Held()
{
    static HeldMemory held;
    return held;
}

bool MayAllocate()
{
    if (!faultPlanned)
        return true;
    const long left = untilFault.fetch_sub(1);
    return left > 0 || (left < 0 && !staysEmpty);
}

void* Note(void* memory)
{
    if (memory && watching) {
        const std::lock_guard lock(Held().mutex);
        Held().pointers.insert(memory);
    }
    return memory;
}

} // namespace

void* AllocateForNew(size_t size) noexcept
{
    return MayAllocate() ? Note(std::malloc(size)) : nullptr;
}

void ReleaseForDelete(void* memory) noexcept
{
    if (memory && watching) {
        const std::lock_guard lock(Held().mutex);
        Held().pointers.erase(memory);
    }
    __real_free(memory);
}

AllocationFault::AllocationFault(long index, Kind kind) : first(index)
{
    untilFault = index;
    staysEmpty = kind == Kind::FromThenOn;
    faultPlanned = true;
}

AllocationFault::~AllocationFault()
{
    faultPlanned = false;
    untilFault = kNever;
}

bool AllocationFault::WasHit() const
{
    return untilFault < 0;
}

long AllocationFault::Passed() const
{
    return first - untilFault;
}

AllocationWatch::AllocationWatch()
{
    const std::lock_guard lock(::Held().mutex);
    ::Held().pointers.clear();
    watching = true;
}

AllocationWatch::~AllocationWatch()
{
    watching = false;
}

size_t AllocationWatch::Held() const
{
    const std::lock_guard lock(::Held().mutex);
    return ::Held().pointers.size();
}

// The codec counts in bytes. What the compiler's runtime counts in words is what it keeps for each thread: it
// ends the process without it, and gives it back in its own time.
void* __wrap_calloc(size_t count, size_t size)
{
    if (size != 1)
        return __real_calloc(count, size);
    return MayAllocate() ? Note(__real_calloc(count, size)) : nullptr;
}
void __wrap_free(void* memory)
{
    ReleaseForDelete(memory);
}
