// Which bitmap header means which format. One table joins the FourCCs of hosts to format ids; every message
// that takes a header goes through ClassifyHeader.
#pragma once

#include "common/format_id.h"
#include "common/four_cc.h"
#include "platform/vfw.h"

#include <cstdint>
#include <span>

namespace driver {

enum FormatRowFlag : uint32_t {
    kRowHasAlpha = 1,  ///< the layout carries alpha
    kRowExactBits = 2, ///< the row is for headers of its own biBitCount only
};

struct FormatRow {
    FormatId Id;
    uint32_t FourCC; ///< biCompression
    uint32_t BitCount;
    uint32_t Flags;        ///< FormatRowFlag
    FormatId NativeOutput; ///< compressed rows: the layout that decompression suggests first; else kAnyFormat
};

/// All formats, compressed ones first. Where several rows fit, the first one holds.
std::span<const FormatRow> FormatTable();

/// The first row with this id; null when there is none.
const FormatRow* FindFormat(FormatId id);

inline constexpr bool IsCompressedId(FormatId id)
{
    return id >= 101 && id <= 126;
}

/// FourCC of a compressed header that leaves its format to the record behind it, and of the generic decoder.
inline constexpr uint32_t kGenericFourCC = MakeFourCC("ORVN");
inline constexpr uint32_t kDibFourCC = MakeFourCC("DIB ");

/// Whether a header is to be read as a compressed one, with a configuration record behind it.
bool IsCompressedFourCC(uint32_t fourCC);

/// What a bitmap header stands for.
struct HeaderClass {
    FormatId id = kUnknownFormat; ///< kAnyFormat for a null header
    /// The configuration record behind a compressed header, of any alignment; empty when there is no valid
    /// one.
    std::span<const uint8_t> record;

    bool Parsed() const { return !record.empty(); }
};

/// Classifies a header, which may be null. For a compressed header biSize says how many bytes lie at
/// `header`.
/// wantAlpha  which of two layouts under the same header is meant: the one with alpha or the one without
HeaderClass ClassifyHeader(const BITMAPINFOHEADER* header, bool wantAlpha);

/// The bytes between the 40-byte header and its end, none for a biSize of 40 or less.
std::span<const uint8_t> RecordBehind(const BITMAPINFOHEADER& header);

/// Whether row 0 of the picture is the last one in memory: RGB with a positive height.
bool IsBottomUp(int32_t height, uint32_t fourCC);

/// Layouts whose rows are packed by definition, and which hosts nevertheless round up to four bytes at times.
bool HasPaddedRows(FormatId id);

// Sizes as pictures have them: the sign of a height only tells the order of rows.
uint32_t WidthOf(const BITMAPINFOHEADER& header);
uint32_t HeightOf(const BITMAPINFOHEADER& header);
bool SameSize(const BITMAPINFOHEADER& a, const BITMAPINFOHEADER& b);

} // namespace driver
