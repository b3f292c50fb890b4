#include "driver/format_text.h"

#include "core/orvane.h"
#include "driver/format_table.h"

#include <algorithm>
#include <iterator>

namespace {

struct CodeName {
    FormatId code;
    const char* name;
};

constexpr CodeName kCodeNames[] = {
    {101, "RGB"},
    {102, "RGBA"},
    {103, "YUV 4:4:4"},
    {104, "YUV 4:2:2"},
    {105, "YUV 4:2:0"},
    {106, "YUVA 4:4:4:4"},
    {107, "YUV 4:0:0"},
    {108, "YUV 4:2:2 10-bit"},
    {109, "RGB 10-bit"},
    {110, "RGBA 10-bit"},
    {111, "RGB 12-bit"},
    {112, "RGBA 12-bit"},
    {113, "RGB 14-bit"},
    {114, "RGBA 14-bit"},
    {115, "YUV 4:0:0 10-bit"},
    {118, "YUV 4:4:4 10-bit"},
    {123, "YUV 4:2:0 10-bit"},
};

constexpr bool IsPlainCharacter(uint32_t byte)
{
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           byte == ' ';
}

/// The name part of a header: its FourCC with unprintable bytes as numbers, or RGB with its bit count.
std::string NamePart(const BITMAPINFOHEADER& header)
{
    if (header.biCompression == BI_RGB)
        return "RGB" + std::to_string(header.biBitCount);
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) {
        const uint32_t byte = header.biCompression >> shift & 0xFF;
        if (IsPlainCharacter(byte))
            text += static_cast<char>(byte);
        else
            text += "[" + std::to_string(byte) + "]";
    }
    return text;
}

std::string RecordPart(const BITMAPINFOHEADER& header)
{
    const HeaderClass compressed = ClassifyHeader(&header, false);
    if (compressed.Parsed())
        return " [" + CompressedFormatName(ReadHeader(compressed.record.data())) + "]";
    const auto size = static_cast<int32_t>(header.biSize - sizeof header); // negative below 40
    return " [INVALID HEADER (size: " + std::to_string(size) + ")]";
}

} // namespace

std::string CompressedFormatName(FormatId formatCode, bool fullRange, bool interlaced, uint32_t matrix)
{
    const auto row = std::ranges::find(kCodeNames, formatCode, &CodeName::code);
    if (row == std::end(kCodeNames))
        return "UNKNOWN";
    std::string text = row->name;
    if (IsYuvFamily(formatCode)) {
        text += matrix == 1 ? " (Rec.601)" : matrix == 2 ? " (Rec.709)" : "";
        text += fullRange ? " (full)" : " (limited)";
    }
    if (interlaced)
        text += " (interlaced)";
    return text;
}

std::string CompressedFormatName(const FrameHeader& record)
{
    return CompressedFormatName(record.formatCode, IsFullRange(record), IsInterlaced(record),
                                EffectiveMatrix(record.formatCode, record.colorMatrix));
}

std::string DescribeHeader(const BITMAPINFOHEADER* header)
{
    if (!header)
        return "N/A";
    std::string text = NamePart(*header);
    if (IsCompressedFourCC(header->biCompression))
        text += RecordPart(*header);
    return text + " (" + std::to_string(header->biWidth) + " x " + std::to_string(header->biHeight) + ")";
}

std::string PictureFormatText(const BITMAPINFOHEADER& header, bool hasAlpha)
{
    return header.biCompression == BI_RGB && hasAlpha ? "RGBA" : NamePart(header);
}
