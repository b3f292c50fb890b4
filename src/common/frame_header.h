// The 32-byte record that opens every compressed frame and that is also the configuration record of a stream.
#pragma once

#include "common/format_id.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// 32 bytes, little-endian, no padding. Moved with memcpy only: host buffers promise no alignment.
struct FrameHeader {
    char magic[4];         //  0  "ORVN"
    uint32_t headerSize;   //  4  bytes from the frame start to the offset table: 32
    uint8_t version;       //  8  7; readers take 0 to 7
    uint8_t formatCode;    //  9  FormatCode, 101 to 107 served
    uint8_t maxCodeLength; // 10  bits: 12 for 8-bit planes
    uint8_t colorMatrix;   // 11  1 Rec.601, 2 Rec.709
    uint32_t flags;        // 12  FrameFlag bits
    uint32_t width;        // 16  picture pixels
    uint32_t height;       // 20  picture rows
    uint32_t codedWidth;   // 24  written as width, never read
    uint32_t blockHeight;  // 28  picture rows of one block; 0: the configured value holds
};
static_assert(sizeof(FrameHeader) == 32 && std::is_trivially_copyable_v<FrameHeader>);
static_assert(offsetof(FrameHeader, version) == 8 && offsetof(FrameHeader, blockHeight) == 28);
static_assert(std::endian::native == std::endian::little, "records are stored as they stand in memory");

inline constexpr char kFrameMagic[4] = {'O', 'R', 'V', 'N'};
inline constexpr uint8_t kFrameVersion = 7;
/// Picture rows of one block in every frame that this system writes.
inline constexpr uint32_t kBlockHeight = 28;
inline constexpr uint32_t kFrameHeaderSize = sizeof(FrameHeader);
/// A record may carry code length tables behind its 32 bytes: four of them, 512 bytes each at most.
inline constexpr uint32_t kMaxRecordSize = kFrameHeaderSize + 4 * 512;

enum FrameFlag : uint32_t {
    kFlagOldCoderTables = 1U << 0, ///< versions below 7 only: set means coderType 2, clear means coderType 1
    kFlagInterlaced = 1U << 1,
    kFlagFullRange = 1U << 2,
    kFlagAlwaysSet = 1U << 17, ///< written always, tested by no reader; part of the format
};
inline constexpr int kCoderTypeShift = 20; ///< version 7: bits 20 to 23 are the coder type

/// Where the code tables of a frame stand. All other stored values act as None.
enum class CoderType : uint32_t {
    None = 0,     ///< no tables: blocks have no payload
    InRecord = 1, ///< behind the configuration record; read only
    InFrame = 2,  ///< in each frame
};

/// The stored value, 0 to 15, by the record's own version.
constexpr uint32_t StoredCoderType(const FrameHeader& header)
{
    if (header.version < 7)
        return header.flags & kFlagOldCoderTables ? 2 : 1;
    return header.flags >> kCoderTypeShift & 15;
}

constexpr CoderType CoderTypeOf(const FrameHeader& header)
{
    const uint32_t stored = StoredCoderType(header);
    return stored == 1 || stored == 2 ? static_cast<CoderType>(stored) : CoderType::None;
}

constexpr bool IsInterlaced(const FrameHeader& header)
{
    return (header.flags & kFlagInterlaced) != 0;
}

constexpr bool IsFullRange(const FrameHeader& header)
{
    return (header.flags & kFlagFullRange) != 0;
}

/// The matrix by which two records are compared, a stream is named and its colour routes are built: a value
/// of 3 or more stands as it is; below that the RGB family and an unset matrix mean Rec.709.
constexpr uint32_t EffectiveMatrix(FormatId code, uint32_t matrix)
{
    if (matrix >= 3)
        return matrix;
    return IsRgbFamily(code) || matrix == 0 ? 2 : matrix;
}

inline bool HasMagic(const void* bytes)
{
    return std::memcmp(bytes, kFrameMagic, sizeof kFrameMagic) == 0;
}

/// Copies a header from memory of any alignment; `bytes` has 32 bytes or more.
inline FrameHeader ReadHeader(const void* bytes)
{
    FrameHeader header;
    std::memcpy(&header, bytes, sizeof header);
    return header;
}
