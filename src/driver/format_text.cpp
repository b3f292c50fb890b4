#include "driver/format_text.h"

#include "common/compressed_formats.h"
#include "driver/format_table.h"

namespace driver {

namespace {

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
    const FormatDescriptor* format = FindFormatDescriptor(formatCode);
    if (!format)
        return "UNKNOWN";
    std::string text(format->name);
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

} // namespace driver
