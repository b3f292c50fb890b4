// Single pictures: PNG and the binary forms of PPM and PGM, 8 bits a sample.
#pragma once

#include "files/frame_source.h"

#include <span>
#include <string>
#include <vector>

/// A picture with its pixels: layouts RGB24, RGBA and Y800, tight and top-down.
struct StillImage {
    VideoInfo info;
    std::vector<uint8_t> pixels;
};

enum class StillKind { Png, Pnm };

/// By the first bytes. Throws ToolError when they belong to neither, when the picture has more than 8 bits a
/// sample or more than 2^28 pixels (both seen before anything is decoded), and when it is damaged.
/// name  for errors
StillImage DecodeStill(std::span<const uint8_t> bytes, const std::string& name);

/// Throws ToolError for a layout that the kind cannot hold.
void CheckStillLayout(StillKind kind, const PixelLayout& layout, const std::string& name);

/// The file's bytes. Y800 becomes grey PNG or PGM. The kind can hold the layout.
std::vector<uint8_t> EncodeStill(StillKind kind, const VideoInfo& info, std::span<const uint8_t> pixels,
                                 const std::string& name);
