// The messages of compression. `in` is the header of the host's pictures, `out` that of the frames: a header
// whose biSize counts the configuration record behind it. Results are ICERR codes or sizes.
#pragma once

#include "driver/driver_instance.h"

namespace driver {

/// What GET_FORMAT announces: a bitmap header and the configuration record behind it.
inline constexpr uint32_t kCompressedHeaderSize = sizeof(BITMAPINFOHEADER) + sizeof(FrameHeader);

LRESULT QueryCompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out);

/// Fills all 72 bytes of `out`; with a null `out` says how many they are.
LRESULT GetCompressFormat(DriverInstance& instance, const BITMAPINFOHEADER* in, BITMAPINFOHEADER* out);

/// The bytes that a frame can have.
LRESULT GetCompressSize(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out);

/// Opens a run. The record behind `out` governs it, whatever the settings have become since it was made.
LRESULT BeginCompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out);

/// Compresses one frame, after opening a run by itself if none is open.
LRESULT CompressFrame(DriverInstance& instance, const ICCOMPRESS* params);

LRESULT EndCompress(DriverInstance& instance);

} // namespace driver
