// Blocks with guard bytes around them, and the contents and geometries that the predictor tests walk through.
#pragma once

#include "common/plane_info.h"
#include "support/same_bytes.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>
#include <span>
#include <vector>

struct BlockGeometry {
    int width;
    int height;
    int pitch;     ///< negative: rows run upward in memory
    int alignment; ///< address of the lowest byte of the block modulo 16

    friend std::ostream& operator<<(std::ostream& out, const BlockGeometry& g)
    {
        return out << g.width << " x " << g.height << " pitch " << g.pitch << " alignment " << g.alignment;
    }
};

/// A block in the middle of a buffer. Copies keep the alignment, so that kernels cut the rows of all copies
/// alike.
class GuardedBlock
{
  public:
    explicit GuardedBlock(const BlockGeometry& geometry)
        : geometry_(geometry), size_(kGuard + Span() + kGuard), bytes_(size_ + 16), start_(AlignedStart())
    {}
    GuardedBlock(const GuardedBlock& other) : GuardedBlock(other.geometry_)
    {
        std::copy_n(other.bytes_.begin() + other.start_, size_, bytes_.begin() + start_);
    }
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    PlaneInfo View() { return {bytes_.data() + FirstRow(), geometry_.pitch}; }
    ConstPlaneInfo View() const { return {bytes_.data() + FirstRow(), geometry_.pitch}; }
    uint8_t& At(int row, int column) { return RowAt(View(), row)[column]; }
    const BlockGeometry& Geometry() const { return geometry_; }

    /// Fills everything, guards and the gaps between rows included.
    template <class Generator>
    void Fill(Generator next)
    {
        for (size_t i = 0; i < size_; ++i)
            bytes_[static_cast<size_t>(start_) + i] = static_cast<uint8_t>(next());
    }

    /// Everything, guards and gaps included.
    std::span<const uint8_t> Bytes() const { return {bytes_.data() + start_, size_}; }

    /// Compares everything, guards and gaps included.
    friend bool operator==(const GuardedBlock& a, const GuardedBlock& b)
    {
        return a.size_ == b.size_ &&
               std::equal(a.bytes_.begin() + a.start_, a.bytes_.begin() + a.start_ + a.Size(),
                          b.bytes_.begin() + b.start_);
    }

  private:
    static constexpr size_t kGuard = 64;

    /// Where row 0 begins: the lowest row in memory, or the highest when rows run upward.
    ptrdiff_t FirstRow() const
    {
        const int lastRow = geometry_.height - 1;
        const ptrdiff_t upward = geometry_.pitch < 0 ? static_cast<ptrdiff_t>(-geometry_.pitch) * lastRow : 0;
        return start_ + static_cast<ptrdiff_t>(kGuard) + upward;
    }
    ptrdiff_t Size() const { return static_cast<ptrdiff_t>(size_); }
    size_t Span() const
    {
        return static_cast<size_t>(std::abs(geometry_.pitch)) * static_cast<size_t>(geometry_.height - 1) +
               static_cast<size_t>(geometry_.width);
    }
    ptrdiff_t AlignedStart() const
    {
        const auto address = reinterpret_cast<uintptr_t>(bytes_.data() + kGuard);
        return static_cast<ptrdiff_t>((16 + static_cast<uintptr_t>(geometry_.alignment) - address % 16) % 16);
    }

    BlockGeometry geometry_;
    size_t size_;
    std::vector<uint8_t> bytes_;
    ptrdiff_t start_;
};

/// Whether both have the same bytes. The message shows the first sample that differs, or else the first byte
/// around the block that was touched.
inline testing::AssertionResult SameBlock(const GuardedBlock& actual, const GuardedBlock& expected)
{
    if (actual == expected)
        return testing::AssertionSuccess();
    const auto samples =
        SamePlane(actual.View(), expected.View(), static_cast<size_t>(actual.Geometry().width),
                  static_cast<size_t>(actual.Geometry().height));
    if (!samples)
        return samples;
    return SameBytes(actual.Bytes(), expected.Bytes()) << "\nThese bytes are around the block.";
}

/// Random bytes, small differences, 0 and 255 only, or one value.
inline GuardedBlock MakeBlock(const BlockGeometry& geometry, std::mt19937& random)
{
    GuardedBlock block(geometry);
    switch (random() % 4) {
    case 0:
        block.Fill([&] { return random(); });
        break;
    case 1:
        block.Fill([&, value = random()]() mutable { return value += random() % 7 - 3; });
        break;
    case 2:
        block.Fill([&] { return random() % 2 ? 0xFF : 0; });
        break;
    default:
        block.Fill([value = random()] { return value; });
        break;
    }
    return block;
}

/// A pitch of either sign at or above the width, mostly no multiple of 16.
inline int RandomPitch(int width, std::mt19937& random)
{
    const int pitch = width + static_cast<int>(random() % 40);
    return random() % 4 ? pitch : -pitch;
}
