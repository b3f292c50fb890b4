// The uncompressed picture layouts that the tool reads, writes and hands to the codec, in one table.
#pragma once

#include "common/format_id.h"

#include <cstdint>
#include <string>

enum class Arrangement : uint8_t {
    Packed, ///< one plane of pixels, or of pixel pairs
    Planar, ///< Y and, unless it is grey, two planes of chroma
};

/// One row of the table. A picture in memory or in a file is tight and top-down: rows follow each other
/// without padding, planes likewise.
struct PixelLayout {
    const char* name;  ///< as users write it: a FourCC, RGB24, RGB32 or RGBA
    uint32_t fourcc;   ///< biCompression; 0 for RGB
    uint16_t bitCount; ///< biBitCount; bits of a pixel
    FormatId family;   ///< the compressed format that keeps it bit for bit
    FormatId
        otherFamily; ///< of 32-bit pixels: the format that takes byte 3 for alpha, or leaves it out; else 0
    Arrangement arrangement;
    uint8_t horizontal; ///< subsampling of chroma; the width is a multiple of it
    uint8_t vertical;   ///< the same for the height

    bool IsGray() const { return family == kCodeGray; }
    bool IsRgb() const { return fourcc == 0; }
};

/// By name, in any case of RGB names and the exact case of FourCCs; null when there is none.
const PixelLayout* FindLayout(const std::string& name);

/// The layout of that name; for names that stand in the code.
const PixelLayout& LayoutNamed(const char* name);

/// The layout in which a compressed format is decoded without conversion.
const PixelLayout& NativeLayout(FormatId code);

/// All names, for help and errors: "RGB24, RGB32, ...".
std::string LayoutNames();

/// Bytes of a tight row of a packed layout.
uint64_t PackedRowBytes(const PixelLayout& layout, int width);

/// Bytes of a tight picture. Sizes are 1 or more, and multiples of the subsampling.
uint64_t PictureBytes(const PixelLayout& layout, int width, int height);

/// Largest width and height that the tool takes.
inline constexpr int kMaxPictureSize = 1 << 20;
/// Pictures reach the codec through 32-bit sizes and signed row offsets.
inline constexpr uint64_t kMaxPictureBytes = (1ULL << 31) - (1ULL << 20);

/// Throws ToolError when a picture of this size cannot exist in the layout or is too large.
void CheckPictureSize(const PixelLayout& layout, int64_t width, int64_t height, const std::string& where);

/// The compressed formats, with the names of the option --format.
struct CompressedFormat {
    FormatId code;
    uint32_t fourcc;
    const char* option; ///< of --format
    const char* text;   ///< for people
    uint8_t planes;
    uint8_t horizontal; ///< subsampling of planes 1 and 2
    uint8_t vertical;
    const char* native; ///< layout name
};

/// Null when there is none.
const CompressedFormat* FindCompressedFormat(FormatId code);
const CompressedFormat* FindFormatByOption(const std::string& option);

/// What a plane of a format holds, for people: "Y", "R-G".
const char* PlaneName(const CompressedFormat& format, size_t plane);
