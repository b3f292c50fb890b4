// The golden frames: frames that an earlier version of this codec has written, and the pictures that they
// come from and decode to. The list says what each one is; the bytes lie in data/.
//
//   data/NAME.frame     a configuration record of 32 bytes and the frame
//   data/LAYOUT.raw     the picture that all frames of a layout come from, tight
//   data/NAME.raw       what a frame decodes to, where that is another picture
#pragma once

#include "common/four_cc.h"
#include "support/codec_run.h"

#include <ostream>
#include <string>
#include <vector>

struct GoldenFrame {
    std::string name;
    std::string picture; ///< data/PICTURE.raw is compressed
    std::string decoded; ///< data/DECODED.raw comes back
    StreamSpec stream;
};

inline std::ostream& operator<<(std::ostream& out, const GoldenFrame& golden)
{
    return out << golden.name;
}

inline constexpr uint32_t kGoldenWidth = 40;
inline constexpr uint32_t kGoldenHeight = 60; ///< two whole bands and one of four rows

struct GoldenLayout {
    const char* name;
    FormatId host;
    const char* codeName;
    FormatId code;
};
/// For each compressed format the layout that it is made from without conversion.
inline constexpr GoldenLayout kGoldenLayouts[] = {
    {"BGR24", kHostBgr, "rgb", kCodeRgb},       {"BGRA", kHostBgra, "rgba", kCodeRgba},
    {"I444", kHostI444, "yuv444", kCodeYuv444}, {"YUY2", kHostYuy2, "yuv422", kCodeYuv422},
    {"I420", kHostI420, "yuv420", kCodeYuv420}, {"AYUV", kHostAyuvOrderAyuv, "yuva444", kCodeYuva},
    {"Y8", kHostY8, "gray", kCodeGray},
};

/// Every format by every method, interlaced and not.
inline void AddLosslessFrames(std::vector<GoldenFrame>& frames)
{
    struct Method {
        const char* name;
        PredictMethod method;
    };
    for (const GoldenLayout& layout : kGoldenLayouts)
        for (const Method& method :
             {Method{"left", PredictMethod::Left}, Method{"gradient", PredictMethod::Gradient},
              Method{"median", PredictMethod::Median}, Method{"dynamic", PredictMethod::Dynamic}})
            for (const bool interlaced : {false, true}) {
                GoldenFrame frame;
                frame.name =
                    std::string(layout.codeName) + "_" + method.name + (interlaced ? "_interlaced" : "");
                frame.picture = frame.decoded = layout.name;
                frame.stream = {.host = layout.host,
                                .code = layout.code,
                                .width = kGoldenWidth,
                                .height = kGoldenHeight,
                                .method = method.method,
                                .interlaced = interlaced};
                frames.push_back(frame);
            }
}

/// RGB as YUV and back, with the chroma reduced and restored.
inline void AddConvertedFrames(std::vector<GoldenFrame>& frames)
{
    struct Conversion {
        const char* name;
        FormatId code;
        uint32_t matrix;
        bool fullRange;
        bool interpolate;
        bool interlaced;
    };
    for (const Conversion& conversion :
         {Conversion{"rgb_as_yuv444_601", kCodeYuv444, 1, false, true, false},
          Conversion{"rgb_as_yuv422_709", kCodeYuv422, 2, false, true, false},
          Conversion{"rgb_as_yuv420_709_full", kCodeYuv420, 2, true, true, false},
          Conversion{"rgb_as_yuv420_601_full_interlaced", kCodeYuv420, 1, true, true, true},
          Conversion{"rgb_as_yuv420_601_nearest", kCodeYuv420, 1, false, false, false}}) {
        GoldenFrame frame;
        frame.name = frame.decoded = conversion.name;
        frame.picture = "BGR24";
        frame.stream = {.host = kHostBgr,
                        .code = conversion.code,
                        .width = kGoldenWidth,
                        .height = kGoldenHeight,
                        .interlaced = conversion.interlaced,
                        .colorMatrix = conversion.matrix,
                        .fullRange = conversion.fullRange,
                        .interpolate = conversion.interpolate};
        frames.push_back(frame);
    }
}

/// Shapes at the edges, and blocks that no code makes smaller.
inline void AddOddFrames(std::vector<GoldenFrame>& frames)
{
    frames.push_back(
        {"smallest", "smallest", "smallest", {.host = kHostY8, .code = kCodeGray, .width = 4, .height = 4}});
    frames.push_back({"noise", "noise", "noise", {.host = kHostI420, .width = 16, .height = 32}});
    frames.push_back({"flat", "flat", "flat", {.host = kHostI420, .width = 16, .height = 32}});
    frames.push_back({"odd_width",
                      "odd_width",
                      "odd_width",
                      {.host = kHostI444, .code = kCodeYuv444, .width = 13, .height = 31}});
    frames.push_back({"bottom_up",
                      "BGR24",
                      "BGR24",
                      {.host = kHostBgr,
                       .code = kCodeRgb,
                       .width = kGoldenWidth,
                       .height = kGoldenHeight,
                       .bottomUp = true}});
}

inline std::vector<GoldenFrame> GoldenFrames()
{
    std::vector<GoldenFrame> frames;
    AddLosslessFrames(frames);
    AddConvertedFrames(frames);
    AddOddFrames(frames);
    return frames;
}

/// The golden files: frames of the list above, decoded by the tool.
struct GoldenFile {
    const char* name;  ///< data/NAME.avi
    const char* frame; ///< of GoldenFrames
    uint32_t fourCC;
    const char* layout; ///< of data/PICTURE.raw, as the tool names it
    int frames;
    uint64_t segmentLimit;
    bool cut; ///< before its last frame ends
};
inline constexpr GoldenFile kGoldenFiles[] = {
    {"yuv420", "yuv420_dynamic", MakeFourCC("O8Y0"), "I420", 4, uint64_t{1} << 30, false},
    {"rgba_segments", "rgba_median_interlaced", MakeFourCC("O8RA"), "RGBA", 3, 1, false},
    {"gray_cut", "gray_gradient", MakeFourCC("O8G0"), "Y800", 4, uint64_t{1} << 30, true},
};
