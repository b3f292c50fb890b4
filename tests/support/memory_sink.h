// A file of the tool that stands in memory.
#pragma once

#include "files/output_file.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

class MemorySink final : public ByteSink
{
  public:
    void Write(std::span<const uint8_t> more) override
    {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    void WriteAt(uint64_t offset, std::span<const uint8_t> other) override
    {
        if (offset + other.size() > bytes.size())
            throw std::logic_error("only bytes that were written may be replaced");
        std::ranges::copy(other, bytes.begin() + static_cast<ptrdiff_t>(offset));
    }
    uint64_t Position() const override { return bytes.size(); }

    std::vector<uint8_t> bytes;
};
