// What GNU compilers can be told beyond standard C++, all in one place. Without them, and where ORVANE_SCALAR
// asks for standard C++ alone, an item does nothing or is plain C++: results are the same, only slower.
//
// ORVANE_SSE2 is defined where the SSE2 implementations of kernels, the sources *_sse2.cpp, are built beside
// the scalar ones.
#pragma once

#include <bit>
#include <cassert>
#include <cstdint>

#if defined(__GNUC__) && !defined(ORVANE_SCALAR)
#define ORVANE_GNU
#endif

#if defined(__SSE2__) && !defined(ORVANE_SCALAR)
#define ORVANE_SSE2
#endif

#ifdef ORVANE_GNU
#define ORVANE_ALWAYS_INLINE [[gnu::always_inline]] inline
/// After the parameters of a lambda.
#define ORVANE_ALWAYS_INLINE_LAMBDA __attribute__((always_inline))
#define ORVANE_NOINLINE [[gnu::noinline]]
/// Parameter number `text` is a printf format for the arguments from number `first` on.
#define ORVANE_PRINTF(text, first) [[gnu::format(printf, text, first)]]
/// Ahead of a loop with a constant number of rounds, `count` at most.
#define ORVANE_UNROLL(count) ORVANE_PRAGMA(GCC unroll count)
#define ORVANE_PRAGMA(text) _Pragma(#text)
#else
#define ORVANE_ALWAYS_INLINE inline
#define ORVANE_ALWAYS_INLINE_LAMBDA
#define ORVANE_NOINLINE
#define ORVANE_PRINTF(text, first)
#define ORVANE_UNROLL(count)
#endif

/// The bytes of a word in reverse order. Compilers make one instruction of it.
constexpr uint64_t ReverseBytes(uint64_t word)
{
#ifdef ORVANE_GNU
    return __builtin_bswap64(word);
#else
    word = (word & 0x00FF00FF00FF00FF) << 8 | (word >> 8 & 0x00FF00FF00FF00FF);
    word = (word & 0x0000FFFF0000FFFF) << 16 | (word >> 16 & 0x0000FFFF0000FFFF);
    return word << 32 | word >> 32;
#endif
}

/// The number of zero bits below the lowest 1. `word` is not 0: std::countr_zero costs a test for that.
inline int CountTrailingZeros(uint64_t word)
{
    assert(word != 0);
#ifdef ORVANE_GNU
    return __builtin_ctzll(word);
#else
    return std::countr_zero(word);
#endif
}

/// Makes the compiler forget what it knows of a value: it cannot move the value's computation past this
/// point, nor see that the value stays the same.
template <class T>
ORVANE_ALWAYS_INLINE void HideValue([[maybe_unused]] T& value)
{
#ifdef ORVANE_GNU
    asm("" : "+r"(value));
#endif
}

/// The same for a value in a vector register.
template <class T>
ORVANE_ALWAYS_INLINE void HideVector([[maybe_unused]] T& value)
{
#if defined(ORVANE_GNU) && defined(ORVANE_SSE2)
    asm("" : "+x"(value));
#endif
}

/// `value` shifted to the left by the low six bits of `count`.
///
/// Forced to one instruction with inline asm: from the plain expression g++ 12 makes two more moves for each
/// shift, which makes the writer's loop a sixth slower.
inline uint64_t ShiftLeft(uint64_t value, uint64_t count)
{
#if defined(ORVANE_GNU) && defined(__x86_64__)
    asm("shlq %%cl, %0" : "+r"(value) : "c"(static_cast<uint8_t>(count)) : "cc");
    return value;
#else
    return value << (count % 64);
#endif
}

/// `value` turned to the right by the low six bits of `count`: bits that leave at the low end enter at the
/// top.
inline uint64_t RotateRight(uint64_t value, uint64_t count)
{
#if defined(ORVANE_GNU) && defined(__x86_64__)
    asm("rorq %%cl, %0" : "+r"(value) : "c"(static_cast<uint8_t>(count)) : "cc");
    return value;
#else
    return value >> (count % 64) | value << ((64 - count % 64) % 64);
#endif
}

/// Asks for the cache line of a byte that is read or written soon, which belongs to an object.
inline void Prefetch([[maybe_unused]] const uint8_t* place)
{
#ifdef ORVANE_GNU
    __builtin_prefetch(place);
#endif
}

/// Tells the processor that a loop waits for another thread.
inline void PauseProcessor()
{
#if defined(ORVANE_GNU) && defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(ORVANE_GNU) && defined(__aarch64__)
    asm volatile("yield");
#endif
}
