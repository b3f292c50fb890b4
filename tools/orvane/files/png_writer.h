// Writes PNG pictures: 8 bits per sample, gray, RGB or RGBA.
#pragma once

#include "files/frame_source.h"

#include <span>
#include <vector>

/// The bytes of the file. Threads may encode at the same time.
/// info    layout Y800, RGB24 or RGBA
/// pixels  info.FrameBytes() bytes
std::vector<uint8_t> EncodePng(const VideoInfo& info, std::span<const uint8_t> pixels);
