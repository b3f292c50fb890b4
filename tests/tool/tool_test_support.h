// What the tests of the tool share: frames and AVI files made on the spot.
#pragma once

#include "files/avi_reader.h"
#include "files/avi_writer.h"
#include "support/memory_sink.h"
#include "support/test_folder.h"

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// The full name of a file in a folder, as UTF-8.
std::string NameIn(const TestFolder& folder, const std::string& file);

Bytes ReadFile(const std::string& name);
void WriteFile(const std::string& name, std::span<const uint8_t> bytes);
void WriteText(const std::string& name, const std::string& text);

/// A frame of `size` bytes that begins with the magic, as all frames of the codec do; `size` is 4 or more.
Bytes MakeFrame(size_t size, uint8_t fill);

/// Bitmap header and record of a stream of the format O8Y0.
Bytes MakeBitmapInfo(int width, int height);

Bytes MakeAvi(const std::vector<Bytes>& frames, uint64_t segmentLimit = AviWriter::kDefaultSegmentLimit);

AviFile ReadAviBytes(const Bytes& bytes);

/// The payloads that the reader has found.
std::vector<Bytes> FramesOf(const Bytes& bytes, const AviFile& file);
