#include "driver/format_table.h"

#include "common/compressed_formats.h"
#include "common/frame_header.h"
#include "common/host_layouts.h"
#include "core/config_record.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace driver {

namespace {

struct DeepName {
    FormatId id;
    uint32_t fourCC;
    uint32_t bits;
    bool alpha = false;
};

/// Layouts of more than 8 bits per sample: named so that a request is recognized in the log; no route serves
/// them.
constexpr DeepName kDeepNames[] = {
    {12, MakeFourCC("r210"), 30},           {13, MakeFourCC("R10k"), 30},
    {47, MakeFourCC("v410"), 30},           {48, MakeFourCC("I4AL"), 30},
    {48, MakeFourCC("Y3\0\x0A"), 30},       {11, MakeFourCC("v210"), 20},
    {11, MakeFourCC("V210"), 20},           {34, MakeFourCC("P210"), 20},
    {35, MakeFourCC("I2AL"), 20},           {35, MakeFourCC("Y3\x0A\x0A"), 20},
    {57, MakeFourCC("P010"), 15},           {58, MakeFourCC("I0AL"), 15},
    {58, MakeFourCC("Y3\x0B\x0A"), 15},     {25, MakeFourCC("b48r"), 48},
    {24, MakeFourCC("b64a"), 64},           {23, MakeFourCC("b64a"), 64, true},
    {33, MakeFourCC("BGR\x30"), 48},        {32, MakeFourCC("BRA\x40"), 64},
    {31, MakeFourCC("BRA\x40"), 64, true},  {28, MakeFourCC("RGB\x30"), 48},
    {27, MakeFourCC("RBA\x40"), 64},        {26, MakeFourCC("RBA\x40"), 64, true},
    {36, MakeFourCC("GBAL"), 30},           {39, MakeFourCC("GBFL"), 48},
    {36, MakeFourCC("G3\0\x0A"), 30},       {37, MakeFourCC("G3\0\x0C"), 36},
    {38, MakeFourCC("G3\0\x0E"), 42},       {39, MakeFourCC("G3\0\x10"), 48},
    {40, MakeFourCC("G4\0\x0A"), 40, true}, {41, MakeFourCC("G4\0\x0C"), 48, true},
    {42, MakeFourCC("G4\0\x0E"), 56, true}, {43, MakeFourCC("G4\0\x10"), 64, true},
};

/// Calls visit(FormatRow) for every row, in the order in which they are searched.
template <class Visit>
constexpr void ForEachRow(const Visit& visit)
{
    const auto alpha = [](bool has) { return has ? uint32_t{kRowHasAlpha} : 0; };
    for (const FormatDescriptor& format : kCompressedFormats)
        visit(FormatRow{format.code, format.FourCC(), format.bitCount, alpha(format.HasAlpha()),
                        format.suggestedOutput});
    const auto visitLayout = [&](const LayoutDescriptor& layout, uint32_t fourCC, uint32_t flags) {
        visit(FormatRow{layout.id, fourCC, static_cast<uint32_t>(layout.BitCount()),
                        flags | alpha(layout.HasAlpha()), kAnyFormat});
    };
    for (const uint32_t fourCC : {uint32_t{BI_RGB}, kDibFourCC})
        for (const LayoutDescriptor& layout : kHostLayouts)
            if (layout.IsRgb() && !layout.Names().empty())
                visitLayout(layout, fourCC, kRowExactBits);
    for (const LayoutDescriptor& layout : kHostLayouts)
        if (!layout.IsRgb())
            for (const char* const name : layout.Names())
                visitLayout(layout, PaddedFourCC(name), 0);
    for (const DeepName& deep : kDeepNames)
        visit(FormatRow{deep.id, deep.fourCC, deep.bits, alpha(deep.alpha), kAnyFormat});
}

constexpr size_t CountRows()
{
    size_t count = 0;
    ForEachRow([&](const FormatRow&) { ++count; });
    return count;
}

constexpr auto kFormatTable = [] {
    std::array<FormatRow, CountRows()> rows{};
    size_t at = 0;
    ForEachRow([&](const FormatRow& row) { rows[at++] = row; });
    return rows;
}();

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
    if (const LayoutDescriptor* layout = FindLayoutDescriptor(id))
        return layout->hostsPadRows;
    return id == 25 || id == 28 || id == 30 || id == 33;
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

} // namespace driver
