#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

/// Bytes at a chosen address modulo 64, which end where their allocation ends: under the address sanitizer
/// the first byte behind them is a fault.
class ExactBuffer
{
  public:
    explicit ExactBuffer(size_t size, size_t phase = 0, uint8_t fill = 0)
        : offset(phase), length(size), memory(static_cast<uint8_t*>(operator new(phase + size, kAlignment)))
    {
        std::memset(memory.get(), fill, phase + size);
    }
    explicit ExactBuffer(std::span<const uint8_t> bytes, size_t phase = 0) : ExactBuffer(bytes.size(), phase)
    {
        if (!bytes.empty())
            std::memcpy(data(), bytes.data(), bytes.size());
    }

    uint8_t* data() { return memory.get() + offset; }
    const uint8_t* data() const { return memory.get() + offset; }
    size_t size() const { return length; }
    std::span<const uint8_t> Bytes() const { return {data(), length}; }

  private:
    static constexpr std::align_val_t kAlignment{64};
    struct Release {
        void operator()(uint8_t* p) const { operator delete(p, kAlignment); }
    };

    size_t offset;
    size_t length;
    std::unique_ptr<uint8_t, Release> memory;
};
