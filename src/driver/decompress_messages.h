// The messages of decompression. `in` is the header of the frames with the configuration record behind it,
// `out` that of the host's pictures. The record alone says what a stream is: any instance decodes any stream.
#pragma once

#include "driver/driver_instance.h"

namespace driver {

LRESULT QueryDecompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out);

/// Suggests an output format; with a null `out` gives the size of a header.
LRESULT GetDecompressFormat(DriverInstance& instance, const BITMAPINFOHEADER* in, BITMAPINFOHEADER* out);

LRESULT BeginDecompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out);

/// Decompresses one frame, after opening a run by itself if none is open.
LRESULT DecompressFrame(DriverInstance& instance, const ICDECOMPRESS* params);

LRESULT EndDecompress(DriverInstance& instance);

} // namespace driver
