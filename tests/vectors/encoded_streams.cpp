// Streams of the codec's own encoder: every format, predictor and scan, and the payloads that it chooses.

#include "support/codec_run.h"
#include "vectors/frame_parts.h"

namespace vectors {

namespace {

struct Layout {
    FormatId host;
    FormatId code;
    const char* name;
    const char* text;
};
constexpr Layout kLayouts[] = {
    {kHostBgr, kCodeRgb, "rgb", "RGB (O8RG)"},
    {kHostBgra, kCodeRgba, "rgba", "RGB with alpha (O8RA)"},
    {kHostI444, kCodeYuv444, "yuv444", "YUV 4:4:4 (O8Y4)"},
    {kHostYuy2, kCodeYuv422, "yuv422", "YUV 4:2:2 (O8Y2)"},
    {kHostI420, kCodeYuv420, "yuv420", "YUV 4:2:0 (O8Y0)"},
    {kHostAyuvOrderAyuv, kCodeYuva, "yuva444", "YUV 4:4:4 with alpha (O8YA)"},
    {kHostY8, kCodeGray, "gray", "YUV 4:0:0 (O8G0)"},
};

enum class Drawing : uint8_t { Slopes, Flat, Noise, Rare };

/// Slopes with a little noise and stripes; one value; values without a pattern; one value with few others.
Bytes Draw(Drawing drawing, size_t size, size_t rowBytes, uint32_t seed)
{
    Numbers numbers(seed);
    Bytes picture(size, 77);
    for (size_t i = 0; i < size && drawing != Drawing::Flat; ++i) {
        const uint32_t value = numbers.Next();
        const size_t x = i % rowBytes, y = i / rowBytes;
        const size_t slope = 2 * x + 3 * y + seed + (x / 16 + y / 20) % 2 * 50 + value % 4;
        const size_t stripes = x % 4 * 30 + (y % 5 == 0 ? 90 : 20) + value % 2;
        if (drawing == Drawing::Noise)
            picture[i] = static_cast<uint8_t>(value);
        else if (drawing == Drawing::Slopes)
            picture[i] = static_cast<uint8_t>(x < rowBytes / 2 ? slope : stripes);
        else if (value % 97 == 0)
            picture[i] = static_cast<uint8_t>(77 + value / 97 % 5);
    }
    return picture;
}

/// Adds a frame to the stream and holds it against the picture that it was made from.
void Encode(Stream& stream, const StreamSpec& spec, Drawing drawing, uint32_t seed)
{
    CodecRun run(spec);
    const Bytes picture = Draw(drawing, run.InputBytes(), run.InputBytes() / spec.height, seed);
    stream.record.assign(run.RecordBytes(), run.RecordBytes() + kFrameHeaderSize);
    stream.frames.push_back(run.Encode(picture));
    const auto decoded = run.Decode(stream.frames.back());
    if (decoded.status != FrameStatus::Ok || decoded.picture != picture)
        throw std::logic_error("a frame that does not come back");
}

void AddFormats(std::vector<Vector>& all)
{
    for (const Layout& layout : kLayouts)
        for (const bool interlaced : {false, true}) {
            Stream stream;
            for (const auto method : {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median,
                                      PredictMethod::Dynamic})
                Encode(stream,
                       {.host = layout.host,
                        .code = layout.code,
                        .width = 24,
                        .height = 60,
                        .method = method,
                        .interlaced = interlaced},
                       Drawing::Slopes, static_cast<uint32_t>(method));
            Add(all, std::string(layout.name) + (interlaced ? "_interlaced" : ""),
                std::string(layout.text) + (interlaced ? ", interlaced" : "") +
                    ", two bands and one of four rows. Frames: Left, Gradient, Median, and the best for each "
                    "block.",
                stream);
        }
}

void AddPayloads(std::vector<Vector>& all)
{
    const auto add = [&](const char* name, const char* text, Drawing drawing) {
        Stream stream;
        Encode(stream, {.width = 16, .height = 32}, drawing, 5);
        Add(all, name, text, stream);
    };
    add("raw_blocks", "Noise, so that every block is raw.", Drawing::Noise);
    add("one_symbol", "Planes of one value: the residual 0 has a code of one bit.", Drawing::Flat);
    add("rare_symbols", "Few residuals but 0, so that symbols have codes of 10 bits and more.",
        Drawing::Rare);
}

void AddSizes(std::vector<Vector>& all)
{
    const auto add = [&](const char* name, const char* text, StreamSpec spec) {
        Stream stream;
        Encode(stream, spec, Drawing::Slopes, 3);
        Add(all, name, text, stream);
    };
    add("size_smallest", "A picture of 4 x 4.",
        {.host = kHostY8, .code = kCodeGray, .width = 4, .height = 4});
    add("size_odd", "An odd width and height.",
        {.host = kHostI444, .code = kCodeYuv444, .width = 13, .height = 31});
    add("size_one_band", "Exactly one band.", {.width = 20, .height = 28});
    add("size_last_band", "A last band of two rows, one row in planes 1 and 2.", {.width = 20, .height = 30});
    add("size_wide", "Wide and low.", {.host = kHostY8, .code = kCodeGray, .width = 1500, .height = 4});
}

void AddColors(std::vector<Vector>& all)
{
    struct Color {
        const char* name;
        const char* text;
        uint32_t matrix;
        bool full;
    };
    for (const Color& color : {Color{"color_601", "Rec.601 in the header.", 1, false},
                               Color{"color_709_full", "Rec.709 and full range in the header.", 2, true}}) {
        Stream stream;
        Encode(stream, {.width = 16, .height = 16, .colorMatrix = color.matrix, .fullRange = color.full},
               Drawing::Slopes, 4);
        Add(all, color.name, color.text, stream);
    }
}

} // namespace

void AddEncodedStreams(std::vector<Vector>& all)
{
    AddFormats(all);
    AddPayloads(all);
    AddSizes(all);
    AddColors(all);
}

} // namespace vectors
