// Names and sizes of the records of an AVI 2.0 file, shared by writer and reader.
//
//   RIFF 'AVI '                          first segment
//     LIST hdrl: avih, LIST strl (strh, strf, indx), LIST odml (dmlh)
//     LIST movi: a chunk for each frame, ix00 (index of this segment)
//     idx1                               index of the first segment for older readers
//   RIFF 'AVIX'                          further segments: LIST movi with frames and ix00
//   Osum, Oy4m                           at the end of the last segment: checksums, fields of Y4M
#pragma once

#include "files/fourcc.h"

#include <cstdint>
#include <optional>

namespace avi {

inline constexpr uint32_t kRiff = FourCC("RIFF");
inline constexpr uint32_t kList = FourCC("LIST");
inline constexpr uint32_t kAvi = FourCC("AVI ");
inline constexpr uint32_t kAvix = FourCC("AVIX");
inline constexpr uint32_t kHdrl = FourCC("hdrl");
inline constexpr uint32_t kAvih = FourCC("avih");
inline constexpr uint32_t kStrl = FourCC("strl");
inline constexpr uint32_t kStrh = FourCC("strh");
inline constexpr uint32_t kStrf = FourCC("strf");
inline constexpr uint32_t kIndx = FourCC("indx");
inline constexpr uint32_t kOdml = FourCC("odml");
inline constexpr uint32_t kDmlh = FourCC("dmlh");
inline constexpr uint32_t kMovi = FourCC("movi");
inline constexpr uint32_t kRec = FourCC("rec ");
inline constexpr uint32_t kIdx1 = FourCC("idx1");
inline constexpr uint32_t kJunk = FourCC("JUNK");
inline constexpr uint32_t kStrd = FourCC("strd");
inline constexpr uint32_t kStrn = FourCC("strn");
inline constexpr uint32_t kVprp = FourCC("vprp");
inline constexpr uint32_t kChecksums = FourCC("Osum");
inline constexpr uint32_t kY4mFields = FourCC("Oy4m");
inline constexpr uint32_t kVids = FourCC("vids");

inline constexpr uint32_t kChunkHead = 8; ///< id and size
inline constexpr uint32_t kListHead = 12; ///< id, size and type
inline constexpr uint32_t kBitmapHeaderSize = 40;

inline constexpr uint32_t kIdx1EntrySize = 16;  ///< id, flags, offset, size
inline constexpr uint32_t kIndexHeadSize = 24;  ///< head of indx and ix00
inline constexpr uint32_t kSuperEntrySize = 16; ///< offset (64 bits), size, frames
inline constexpr uint32_t kIndexEntrySize = 8;  ///< offset from the base, size
inline constexpr uint8_t kIndexOfIndexes = 0;
inline constexpr uint8_t kIndexOfChunks = 1;
/// Bit 31 of a size in ix00: the frame is no key frame.
inline constexpr uint32_t kIndexSizeMask = 0x7FFFFFFF;
inline constexpr uint32_t kKeyFrame = 0x10; ///< flag in idx1

/// The number that two characters of a chunk id write, first character in the lowest byte.
constexpr std::optional<uint32_t> StreamOfDigits(uint32_t digits)
{
    const uint32_t tens = (digits & 0xFF) - '0', ones = (digits >> 8 & 0xFF) - '0';
    return tens < 10 && ones < 10 ? std::optional(tens * 10 + ones) : std::nullopt;
}

/// Chunks are padded to even sizes.
constexpr uint64_t Padded(uint64_t size)
{
    return size + (size & 1);
}

} // namespace avi
