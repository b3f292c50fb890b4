// The uncompressed picture layouts that the tool reads, writes and hands to the codec: every name of the
// codec's layouts.
#pragma once

#include "common/format_id.h"
#include "common/host_layouts.h"

#include <cstdint>
#include <string>

/// A layout under one of its names. A picture in memory or in a file is unpadded and top-down: rows are
/// stored back to back, planes likewise.
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

/// Most pixels of a picture that an input may ask for, unless --max-pixels says otherwise.
inline constexpr uint64_t kDefaultMaxPixels = 1ULL << 28;
/// Replaces that limit for this process. Not while other threads read inputs.
void SetMaxPixels(uint64_t pixels);

/// Throws ToolError when a picture of this size cannot exist in the layout, or is larger than any codec
/// picture or than the limit of pixels. Every reader calls it before it takes memory for a picture.
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
