// Names and sizes of the records of an AVI 2.0 file, shared by writer and reader.
//
//   RIFF 'AVI '                          first segment
//     LIST hdrl: avih, LIST strl (strh, strf, indx), LIST odml (dmlh)
//     LIST movi: a chunk for each frame, Osum every few seconds of video, ix00 (index of this segment)
//     idx1                               index of the first segment for older readers
//   RIFF 'AVIX'                          further segments: LIST movi with frames, Osum and ix00
//   Osum, Oy4m, Ocnv                     at the end of the last segment: checksums of the last frames, fields
//   of Y4M,
//                                        what a conversion lost
#pragma once

#include "files/fourcc.h"

#include <cstdint>
#include <optional>

namespace avi {

inline constexpr uint32_t kRiff = MakeFourCC("RIFF");
inline constexpr uint32_t kList = MakeFourCC("LIST");
inline constexpr uint32_t kAvi = MakeFourCC("AVI ");
inline constexpr uint32_t kAvix = MakeFourCC("AVIX");
inline constexpr uint32_t kHdrl = MakeFourCC("hdrl");
inline constexpr uint32_t kAvih = MakeFourCC("avih");
inline constexpr uint32_t kStrl = MakeFourCC("strl");
inline constexpr uint32_t kStrh = MakeFourCC("strh");
inline constexpr uint32_t kStrf = MakeFourCC("strf");
inline constexpr uint32_t kIndx = MakeFourCC("indx");
inline constexpr uint32_t kOdml = MakeFourCC("odml");
inline constexpr uint32_t kDmlh = MakeFourCC("dmlh");
inline constexpr uint32_t kMovi = MakeFourCC("movi");
inline constexpr uint32_t kRec = MakeFourCC("rec ");
inline constexpr uint32_t kIdx1 = MakeFourCC("idx1");
inline constexpr uint32_t kJunk = MakeFourCC("JUNK");
inline constexpr uint32_t kStrd = MakeFourCC("strd");
inline constexpr uint32_t kStrn = MakeFourCC("strn");
inline constexpr uint32_t kVprp = MakeFourCC("vprp");
inline constexpr uint32_t kChecksums = MakeFourCC("Osum");
inline constexpr uint32_t kY4mFields = MakeFourCC("Oy4m");
inline constexpr uint32_t kConversion = MakeFourCC("Ocnv");
inline constexpr uint32_t kVids = MakeFourCC("vids");

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
