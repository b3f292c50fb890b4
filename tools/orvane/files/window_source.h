// Reads another source in windows, for parsers that look at many small places one after the other.
#pragma once

#include "files/byte_source.h"

class WindowSource final : public ByteSource
{
  public:
    /// `source` outlives the object.
    explicit WindowSource(const ByteSource& source_) : source(source_) {}

    uint64_t Size() const override { return source.Size(); }
    size_t Read(uint64_t offset, std::span<uint8_t> into) const override;

  private:
    static constexpr size_t kWindow = 1 << 16;

    const ByteSource& source;
    mutable uint64_t start = 0;
    mutable std::vector<uint8_t> window;
};
