// For every format id its category, which the accepted-input and conversion masks test, and its native
// partner.
#pragma once

#include "common/format_id.h"

#include <array>
#include <cstdint>
#include <span>

namespace native_table_detail {

struct HostEntry {
    FormatId id;
    FormatId category; ///< the compressed id that names the layout's family
    FormatId native;   ///< the compressed format that takes the layout without conversion
};

// A 16-bit layout belongs to a family of its own depth (116, 117) and compresses to a 10-bit format.
inline constexpr HostEntry kHostEntries[] = {
    {1, 101, 101},  {2, 102, 102},  {3, 101, 101},  {4, 104, 104},  {5, 104, 104},  {6, 105, 105},
    {7, 103, 103},  {8, 106, 106},  {9, 107, 107},  {10, 105, 105}, {11, 108, 108}, {12, 109, 109},
    {13, 109, 109}, {16, 101, 101}, {17, 101, 101}, {18, 101, 101}, {19, 102, 102}, {20, 102, 102},
    {21, 102, 102}, {22, 101, 101}, {23, 117, 110}, {24, 116, 109}, {25, 116, 109}, {26, 117, 110},
    {27, 116, 109}, {28, 116, 109}, {29, 103, 103}, {31, 117, 110}, {32, 116, 109}, {33, 116, 109},
    {34, 108, 108}, {35, 108, 108}, {36, 109, 109}, {37, 111, 111}, {38, 113, 113}, {39, 116, 109},
    {40, 110, 110}, {41, 112, 112}, {42, 114, 114}, {43, 117, 110}, {44, 103, 103}, {45, 103, 103},
    {46, 106, 106}, {47, 118, 118}, {48, 118, 118}, {49, 103, 103}, {50, 106, 106}, {57, 123, 123},
    {58, 123, 123},
};

struct NativeOutput {
    FormatId code;
    FormatId output;
};

inline constexpr NativeOutput kNativeOutputs[] = {
    {101, 1},  {102, 2},  {103, 7},  {104, 4},  {105, 6},  {106, 8},  {107, 9},  {108, 11}, {109, 25},
    {110, 23}, {111, 25}, {112, 23}, {113, 25}, {114, 23}, {115, 30}, {118, 47}, {122, 54}, {123, 57},
};

constexpr std::array<FormatId, 256> MakeCategoryTable()
{
    std::array<FormatId, 256> table{};
    for (const HostEntry& entry : kHostEntries)
        table[static_cast<size_t>(entry.id)] = entry.category;
    return table;
}

constexpr std::array<FormatId, 256> MakeNativeTable()
{
    std::array<FormatId, 256> table{};
    for (const HostEntry& entry : kHostEntries)
        table[static_cast<size_t>(entry.id)] = entry.native;
    for (const NativeOutput& entry : kNativeOutputs)
        table[static_cast<size_t>(entry.code)] = entry.output;
    return table;
}

} // namespace native_table_detail

/// The family of an uncompressed layout as a compressed id; 0 for all other ids.
inline constexpr std::array<FormatId, 256> CategoryTable = native_table_detail::MakeCategoryTable();
/// Uncompressed id: the compressed format it goes to without conversion. Compressed id: its native output.
/// Else 0.
inline constexpr std::array<FormatId, 256> NativeTable = native_table_detail::MakeNativeTable();

/// Whether a mask of categories (bit category - 101) allows a category; 255 is allowed by any mask but 0.
constexpr bool MaskAllows(uint32_t mask, FormatId category)
{
    if (category == kAnyFormat)
        return mask != 0;
    return category >= 101 && category <= 132 && (mask >> (category - 101) & 1) != 0;
}
