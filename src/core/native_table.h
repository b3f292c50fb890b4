// For every format id its category, which the accepted-input and conversion masks test, and its native
// partner.
#pragma once

#include "common/as_size.h"
#include "common/compressed_formats.h"
#include "common/format_id.h"
#include "common/host_layouts.h"

#include <array>
#include <cstdint>

/// All ids lie below it.
inline constexpr FormatId kFormatIds = 256;

namespace native_table_detail {

struct DeepLayout {
    FormatId id;
    FormatId category; ///< the compressed id that names the layout's family
    FormatId native;   ///< the compressed format that takes the layout without conversion
};

/// Layouts of more than 8 bits per sample, which have no descriptor. A 16-bit layout belongs to a family of
/// its own depth (116, 117) and compresses to a 10-bit format.
inline constexpr DeepLayout kDeepLayouts[] = {
    {11, 108, 108}, {12, 109, 109}, {13, 109, 109}, {23, 117, 110}, {24, 116, 109}, {25, 116, 109},
    {26, 117, 110}, {27, 116, 109}, {28, 116, 109}, {31, 117, 110}, {32, 116, 109}, {33, 116, 109},
    {34, 108, 108}, {35, 108, 108}, {36, 109, 109}, {37, 111, 111}, {38, 113, 113}, {39, 116, 109},
    {40, 110, 110}, {41, 112, 112}, {42, 114, 114}, {43, 117, 110}, {47, 118, 118}, {48, 118, 118},
    {57, 123, 123}, {58, 123, 123},
};

using IdTable = std::array<FormatId, kFormatIds>;

constexpr void Set(IdTable& table, FormatId id, FormatId value)
{
    table[AsSize(id)] = value;
}

constexpr IdTable MakeCategoryTable()
{
    IdTable table{};
    for (const LayoutDescriptor& layout : kHostLayouts)
        Set(table, layout.id, layout.category);
    for (const DeepLayout& layout : kDeepLayouts)
        Set(table, layout.id, layout.category);
    return table;
}

constexpr IdTable MakeNativeTable()
{
    IdTable table{};
    for (const LayoutDescriptor& layout : kHostLayouts)
        Set(table, layout.id, layout.category);
    for (const DeepLayout& layout : kDeepLayouts)
        Set(table, layout.id, layout.native);
    for (const FormatDescriptor& format : kCompressedFormats)
        Set(table, format.code, format.nativeOutput);
    Set(table, 122, 54); // a reserved format, which no header names
    return table;
}

} // namespace native_table_detail

/// The family of an uncompressed layout as a compressed id; 0 for all other ids.
inline constexpr std::array<FormatId, kFormatIds> CategoryTable = native_table_detail::MakeCategoryTable();
/// Uncompressed id: the compressed format it goes to without conversion. Compressed id: its native output.
/// Else 0.
inline constexpr std::array<FormatId, kFormatIds> NativeTable = native_table_detail::MakeNativeTable();

/// The entry of an id, whatever it is; 0 outside the table.
constexpr FormatId CategoryOf(FormatId id)
{
    return id >= 0 && id < kFormatIds ? CategoryTable[AsSize(id)] : kUnknownFormat;
}
constexpr FormatId NativeOf(FormatId id)
{
    return id >= 0 && id < kFormatIds ? NativeTable[AsSize(id)] : kUnknownFormat;
}

/// Whether a mask of categories (bit category - 101) allows a category; 255 is allowed by any mask but 0.
constexpr bool MaskAllows(uint32_t mask, FormatId category)
{
    if (category == kAnyFormat)
        return mask != 0;
    return category >= 101 && category <= 132 && (mask >> (category - 101) & 1) != 0;
}
