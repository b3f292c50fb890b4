// The tips of the compression dialog.
#pragma once

#include "surroundings/dialog_parts.h"
#include "surroundings/resource_ids.h"

namespace surroundings {

inline constexpr ToolRow kCompressionTools[] = {
    {CONTROL_VARIANT,
     "Global defaults for this variant of the codec.\n\n"
     "These settings normally can be overridden in the application using the codec on each run (app-specific "
     "settings).\n"},
    {CONTROL_THREADS,
     "Number of threads to use for encoding.\n\n"
     "This setting does not affect the structure of the encoded video.\n"
     "For example: a video encoded by 1 thread can still be efficiently decoded by multiple threads."},
    {CONTROL_METHOD, "Gradient:\n"
                     "Encode speed: same as Median.\n"
                     "Decode speed: 5-10% faster than Median.\n"
                     "Compression ratio: 5-10% worse than Median.\n"
                     "Select this for max. decoding speed.\n\n"
                     "Median:\n"
                     "Good compression, fast to encode/decode.\n"
                     "Recommended for recording and capture.\n\n"
                     "Dynamic:\n"
                     "Encode speed: 5-10% slower than Median.\n"
                     "Decode speed: 1-4% faster than Median.\n"
                     "Compression ratio: 1-2% better than Median.\n"
                     "Select this to get the last ounces of compression ratio.\n"},
    {CONTROL_INPUTS,
     "Accept only the formats of the selected category as input when compressing and reject anything "
     "else.\n\n"
     "This is useful if you want to make sure and double-check that you receive the expected format.\n\n"
     "This is needed as applications sometimes negotiate the wrong formats."},
    {CONTROL_INTERLACED, "Check this if the input is interlaced.\n\n"
                         "This improves compression ratio for interlaced sources.\n\n"
                         "This option will be saved in the encoded stream and it is required for correct "
                         "conversion (upsampling) from YUV to RGB formats when decompressing."},
    {CONTROL_FULL_RANGE,
     "This option is relevant ONLY for RGB <-> YUV conversion.\n\n"
     "YUV source:\n"
     "Assume the input is full range YUV (0-255) and store this flag in the compressed data.\n\n"
     "RGB source -> YUV conversion:\n"
     "Convert RGB to full range YUV (0-255) and store this flag in the compressed data.\n\n"
     "This flag stored in the compressed data will be used only when decompressing YUV directly as RGB.\n\n"
     "NOTE:\n"
     "This setting has no effect when compressing and decompressing only in YUV color space.\n"
     "The codec always compresses/decompresses YUV data as-is, without any explicit clipping.\n\n"
     "RECOMMENDED:\n"
     "If unsure, leave this UNCHECKED. Most of the time YUV data is expected to have limited range."},
    {CONTROL_INTERPOLATE,
     "Interpolate chroma when downsampling the color (U/V) planes using a 3x3 kernel.\n\n"
     "This avoids color aliasing artifacts, at the expense of slightly slower (5-10%) compression speed.\n\n"
     "NOTE:\n"
     "This setting only has an effect when conversion with chroma subsampling is involved (ex. RGB -> YUV "
     "4:2:2/4:2:0 compression)\n"},
    {CONTROL_MATRIX, "Color space for YUV formats. This setting affects YUV <-> RGB conversion.\n\n"
                     "This option will be saved in the encoded stream and will also be used when "
                     "decompressing from YUV to RGB "
                     "formats.\n\n"
                     "NOTE:\n"
                     "This option is not relevant when compressing RGB inputs as-is."},
};

inline constexpr ToolRow kSaveDefaultTool = {
    CONTROL_SAVE_DEFAULT,
    "Save current settings to the registry as defaults for the current variant of the codec.\n\n"
    "NOTE:\n"
    "Applications normally save the current codec settings while they are running, which override the "
    "defaults!"};

inline constexpr ToolRow kAfterburnerTool = {
    CONTROL_OK, "MSI Afterburner workaround\n\n"
                "MSI Afterburner doesn't store VFW codec settings by itself as it should,\n"
                "so for the changes to take effect the settings must be stored globally in the registry!\n\n"
                "NOTE: This affects all applications using this variant of the codec!"};

} // namespace surroundings
