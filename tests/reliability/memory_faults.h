// Memory that runs out when a test wants it to, and a list of what is still held. This program has operator
// new of its own, and the linker leads its calloc and free here (plane memory comes from calloc).
#pragma once

#include <cstddef>

/// While it lives, allocations of all threads of this process fail as planned. One at a time.
class AllocationFault
{
  public:
    enum class Kind {
        Once,       ///< the n-th alone: a moment without memory
        FromThenOn, ///< the n-th and all behind it
    };

    /// index  of the allocation that fails first, counted from 0 and from now on
    AllocationFault(long index, Kind kind);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// Whether an allocation has failed.
    bool WasHit() const;
    /// Allocations since it was made, those that failed included.
    long Passed() const;

  private:
    const long first;
};

inline constexpr AllocationFault::Kind kAllFaultKinds[] = {AllocationFault::Kind::Once,
                                                           AllocationFault::Kind::FromThenOn};

/// Counts what has been allocated since it was made and is not free yet, by all threads. One at a time.
class AllocationWatch
{
  public:
    AllocationWatch();
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    size_t Held() const;
};
