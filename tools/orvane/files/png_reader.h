// Reads PNG pictures of up to 8 bits per sample, with everything in them that can be checked.
#pragma once

#include "files/still_image.h"

/// Decodes to Y800, RGB24 or RGBA: transparency of any kind is alpha.
/// file  begins with the signature; untrusted
/// name  for errors
/// Throws ToolError for damage (a wrong CRC in a chunk that holds samples, a wrong checksum of the samples, a
/// file that ends early, anything that the format does not allow), for 16 bits per sample and for pictures
/// that are too large. A wrong CRC in a chunk that holds no samples is a warning of the picture. Memory is
/// taken for the picture only when the file is long enough to hold it.
StillImage DecodePng(std::span<const uint8_t> file, const std::string& name);
