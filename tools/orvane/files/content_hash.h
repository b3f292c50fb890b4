// The hash of checksums: XXH3, 64 bits, seed 0.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

uint64_t HashBytes(std::span<const uint8_t> bytes);

/// The hash of bytes that come in parts.
class RunningHash
{
  public:
    RunningHash();
    ~RunningHash();
    RunningHash(const RunningHash&) = delete;
    RunningHash& operator=(const RunningHash&) = delete;

    void Add(std::span<const uint8_t> bytes);
    /// The hash of all parts; the object then begins again.
    uint64_t Finish();

  private:
    struct State;
    std::unique_ptr<State> state;
};
