#include "driver/format_table.h"

#include "core/orvane.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t kAlpha = kRowHasAlpha;
constexpr uint32_t kBits = kRowExactBits;
constexpr uint32_t kBitsAlpha = kRowExactBits | kRowHasAlpha;

constexpr FormatRow Compressed(FormatId id, const char (&fourCC)[5], uint32_t bits, uint32_t flags,
                               FormatId nativeOutput)
{
    return {id, MakeFourCC(fourCC), bits, flags, nativeOutput};
}

constexpr FormatRow Host(FormatId id, uint32_t fourCC, uint32_t bits, uint32_t flags = 0)
{
    return {id, fourCC, bits, flags, kAnyFormat};
}

constexpr FormatRow Host(FormatId id, const char (&fourCC)[5], uint32_t bits, uint32_t flags = 0)
{
    return Host(id, MakeFourCC(fourCC), bits, flags);
}

// The order is part of the meaning. Formats deeper than 8 bits are named so that a stream or a request is
// recognised in the log; no route serves them.
constexpr FormatRow kFormatTable[] = {
    Compressed(kCodeRgba, "O8RA", 32, kAlpha, kHostBgra),
    Compressed(kCodeRgb, "O8RG", 24, 0, kHostBgr),
    Compressed(kCodeYuva, "O8YA", 32, kAlpha, kHostAyuvOrderAyuv),
    Compressed(kCodeYuv444, "O8Y4", 24, 0, kHostYv24),
    Compressed(kCodeYuv422, "O8Y2", 24, 0, kHostYuy2),
    Compressed(kCodeYuv420, "O8Y0", 24, 0, kHostYv12),
    Compressed(kCodeGray, "O8G0", 24, 0, kHostY8),
    Compressed(118, "O0Y4", 30, 0, 47),
    Compressed(108, "O0Y2", 20, 0, 11),
    Compressed(123, "O0Y0", 15, 0, 11),
    Compressed(115, "O0G0", 10, 0, 11),
    Compressed(109, "O0RG", 30, 0, 33),
    Compressed(110, "O0RA", 40, kAlpha, 31),
    Compressed(111, "O2RG", 36, 0, 33),
    Compressed(112, "O2RA", 48, kAlpha, 31),
    Compressed(113, "O4RG", 42, 0, 33),
    Compressed(114, "O4RA", 56, kAlpha, 31),

    Host(kHostBgrx, BI_RGB, 32, kBits),
    Host(kHostBgra, BI_RGB, 32, kBitsAlpha),
    Host(kHostBgr, BI_RGB, 24, kBits),
    Host(kHostBgrx, "DIB ", 32, kBits),
    Host(kHostBgra, "DIB ", 32, kBitsAlpha),
    Host(kHostBgr, "DIB ", 24, kBits),
    Host(kHostAyuvOrderAyuv, "AYUV", 32, kAlpha),
    Host(kHostV408X, "v408", 32),
    Host(kHostV408, "v408", 32, kAlpha),
    Host(kHostV308, "v308", 24),
    Host(kHostYv24, "YV24", 24),
    Host(kHostI444, "I444", 24),
    Host(kHostYuy2, "YUY2", 16),
    Host(kHostYuy2, "YUYV", 16),
    Host(kHostUyvy, "UYVY", 16),
    Host(kHostUyvy, "2vuy", 16),
    Host(kHostUyvy, "2Vuy", 16),
    Host(kHostUyvy, "HDYC", 16),
    Host(kHostYv12, "YV12", 12),
    Host(kHostI420, "I420", 12),
    Host(kHostI420, "IYUV", 12),
    Host(kHostY8, "Y8  ", 8),
    Host(kHostY8, "Y800", 8),
    Host(kHostY8, "GREY", 8),
    Host(12, "r210", 30),
    Host(13, "R10k", 30),
    Host(47, "v410", 30),
    Host(48, "I4AL", 30),
    Host(48, "Y3\0\x0A", 30),
    Host(11, "v210", 20),
    Host(11, "V210", 20),
    Host(34, "P210", 20),
    Host(35, "I2AL", 20),
    Host(35, "Y3\x0A\x0A", 20),
    Host(57, "P010", 15),
    Host(58, "I0AL", 15),
    Host(58, "Y3\x0B\x0A", 15),
    Host(25, "b48r", 48),
    Host(24, "b64a", 64),
    Host(23, "b64a", 64, kAlpha),
    Host(33, "BGR\x30", 48),
    Host(32, "BRA\x40", 64),
    Host(31, "BRA\x40", 64, kAlpha),
    Host(28, "RGB\x30", 48),
    Host(27, "RBA\x40", 64),
    Host(26, "RBA\x40", 64, kAlpha),
    Host(36, "GBAL", 30),
    Host(39, "GBFL", 48),
    Host(36, "G3\0\x0A", 30),
    Host(37, "G3\0\x0C", 36),
    Host(38, "G3\0\x0E", 42),
    Host(39, "G3\0\x10", 48),
    Host(40, "G4\0\x0A", 40, kAlpha),
    Host(41, "G4\0\x0C", 48, kAlpha),
    Host(42, "G4\0\x0E", 56, kAlpha),
    Host(43, "G4\0\x10", 64, kAlpha),
};
static_assert(std::size(kFormatTable) == 73);

template <class Value>
const FormatRow* FindRow(Value FormatRow::*field, Value value)
{
    const auto row = std::ranges::find(kFormatTable, value, field);
    return row == std::end(kFormatTable) ? nullptr : &*row;
}

FormatId ClassifyPicture(const BITMAPINFOHEADER& header, bool wantAlpha)
{
    FormatId firstFit = kUnknownFormat;
    for (const FormatRow& row : kFormatTable) {
        if (row.FourCC != header.biCompression ||
            ((row.Flags & kRowExactBits) != 0 && row.BitCount != header.biBitCount))
            continue;
        if (((row.Flags & kRowHasAlpha) != 0) == wantAlpha)
            return row.Id;
        if (firstFit == kUnknownFormat)
            firstFit = row.Id;
    }
    return firstFit;
}

} // namespace

std::span<const FormatRow> FormatTable()
{
    return kFormatTable;
}

const FormatRow* FindFormat(FormatId id)
{
    return FindRow(&FormatRow::Id, id);
}

bool IsCompressedFourCC(uint32_t fourCC)
{
    if (fourCC == kGenericFourCC)
        return true;
    const FormatRow* row = FindRow(&FormatRow::FourCC, fourCC);
    return row && IsCompressedId(row->Id);
}

HeaderClass ClassifyHeader(const BITMAPINFOHEADER* header, bool wantAlpha)
{
    if (!header)
        return {kAnyFormat, {}};
    if (!IsCompressedFourCC(header->biCompression))
        return {ClassifyPicture(*header, wantAlpha), {}};
    const std::span<const uint8_t> record = RecordBehind(*header);
    if (!ParseConfig(nullptr, record.data(), record.size()))
        return {};
    return {ReadHeader(record.data()).formatCode, record};
}

std::span<const uint8_t> RecordBehind(const BITMAPINFOHEADER& header)
{
    if (header.biSize <= sizeof header)
        return {};
    return {reinterpret_cast<const uint8_t*>(&header) + sizeof header, header.biSize - sizeof header};
}

bool IsBottomUp(int32_t height, uint32_t fourCC)
{
    return height >= 1 && (fourCC == BI_RGB || fourCC == kDibFourCC);
}

bool HasPaddedRows(FormatId id)
{
    switch (id) {
    case kHostY8:
    case 25:
    case 28:
    case 30:
    case 33:
    case kHostV308:
        return true;
    default:
        return false;
    }
}

uint32_t WidthOf(const BITMAPINFOHEADER& header)
{
    return static_cast<uint32_t>(header.biWidth);
}

uint32_t HeightOf(const BITMAPINFOHEADER& header)
{
    const auto height = static_cast<uint32_t>(header.biHeight);
    return header.biHeight < 0 ? 0 - height
                               : height; // the lowest height has no positive counterpart in 32 bits
}

bool SameSize(const BITMAPINFOHEADER& a, const BITMAPINFOHEADER& b)
{
    return WidthOf(a) == WidthOf(b) && HeightOf(a) == HeightOf(b);
}
