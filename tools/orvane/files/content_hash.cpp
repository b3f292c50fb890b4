#include "files/content_hash.h"

// The hash is compiled into this file. What it reads was written a moment ago and lies in the cache.
#define XXH_INLINE_ALL
#define XXH_NO_PREFETCH
#include <xxhash.h>

struct RunningHash::State {
    XXH3_state_t hash{};
};

uint64_t HashBytes(std::span<const uint8_t> bytes)
{
    return XXH3_64bits(bytes.data(), bytes.size());
}

RunningHash::RunningHash() : state(std::make_unique<State>())
{
    XXH3_64bits_reset(&state->hash);
}

RunningHash::~RunningHash() = default;

void RunningHash::Add(std::span<const uint8_t> bytes)
{
    XXH3_64bits_update(&state->hash, bytes.data(), bytes.size());
}

uint64_t RunningHash::Finish()
{
    const uint64_t digest = XXH3_64bits_digest(&state->hash);
    XXH3_64bits_reset(&state->hash);
    return digest;
}
