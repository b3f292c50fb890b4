// The pictures of inspect and plot: what stands where, and which colours mean what.
#include "drawing/block_map.h"
#include "drawing/size_plot.h"
#include "support/picture_maker.h"
#include "tool/run_command.h"

#include <map>

namespace {

class Drawing : public CommandTest
{
  protected:
    /// 4:4:4 of three bands and the given content.
    void Encode(Content content)
    {
        const auto pixels = MakePicture(content, size_t{3} * 96 * 84, 96, 3);
        WriteFile(Name("in.raw"), pixels);
        RunGood({"encode", Name("in.raw"), "--raw", "96x84:I444", "-o", Name("clip.avi")});
    }

    StillImage Inspect()
    {
        RunGood({"inspect", Name("clip.avi"), "--frame", "0", "-o", Name("map.png")});
        return DecodeStill(ReadFile(Name("map.png")), "map.png");
    }
};

/// How many pixels have each colour.
std::map<uint32_t, size_t> CountColors(const StillImage& image)
{
    std::map<uint32_t, size_t> counts;
    for (size_t i = 0; i < image.pixels.size(); i += 3)
        ++counts[static_cast<uint32_t>(image.pixels[i] | image.pixels[i + 1] << 8 |
                                       image.pixels[i + 2] << 16)];
    return counts;
}

BlockMapSubject SubjectOf(std::vector<BlockStructure> blocks, int width, int height, uint32_t blockHeight)
{
    BlockMapSubject subject;
    subject.title = "test";
    subject.format = FindCompressedFormat(kCodeYuv420);
    subject.picture.info.layout = &LayoutNamed("RGB24");
    subject.picture.info.width = width;
    subject.picture.info.height = height;
    subject.picture.pixels.resize(subject.picture.info.FrameBytes());
    subject.structure.blockHeight = blockHeight;
    subject.structure.blocks = std::move(blocks);
    return subject;
}

size_t CountOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

SizePlotSubject PlotOf(std::vector<uint32_t> sizes)
{
    return {.title = "a<b>&c\x01.avi",
            .facts = "facts",
            .sizes = std::move(sizes),
            .rawBytes = 10000,
            .rate = {25, 1}};
}

} // namespace

TEST_F(Drawing, RawBlocksAreHatchedAndOthersAreNot)
{
    constexpr uint32_t kHatch = 105 | 70 << 8 | 170 << 16;
    Encode(Content::Noise);
    const size_t raw = CountColors(Inspect())[kHatch];
    Encode(Content::Smooth);
    const size_t coded = CountColors(Inspect())[kHatch];
    EXPECT_GT(coded, 0u) << "the legend shows it";
    EXPECT_GT(raw, 20 * coded) << "nine blocks against one sample in the legend";
}

TEST_F(Drawing, MapTellsWhatItShows)
{
    Encode(Content::Smooth);
    const std::string out = RunGood({"inspect", Name("clip.avi"), "--frame", "0", "-o", Name("map.png")});
    EXPECT_NE(out.find("clip.avi, frame 0 (of 1, counted from 0), 24192 bytes became"), std::string::npos)
        << out;
    EXPECT_FALSE(Exists("map.png.part"));
    ExpectError(Run({"inspect", Name("clip.avi"), "--frame", "1", "-o", Name("map.png")}), 1, "has 1 frame,");
    ExpectError(Run({"inspect", Name("clip.avi"), "--frame", "0", "-o", Name("clip.avi") + "/x.png"}), 1,
                "cannot create");
}

TEST_F(Drawing, DamagedAndEmptyFramesHaveNoMap)
{
    Encode(Content::Smooth);
    Bytes bytes = ReadFile(Name("clip.avi"));
    const AviFile file = ReadAviBytes(bytes);
    bytes[static_cast<size_t>(file.frames[0].offset) + 16] ^= 1;
    WriteFile(Name("bad.avi"), bytes);
    ExpectError(Run({"inspect", Name("bad.avi"), "--frame", "0", "-o", Name("map.png")}), 1, "another size");
    MemorySink sink;
    AviWriter writer(sink, {file.handler, 96, 84, file.rate, file.bitmapInfo});
    writer.WriteFrame({});
    writer.Finish();
    WriteFile(Name("empty.avi"), sink.bytes);
    ExpectError(Run({"inspect", Name("empty.avi"), "--frame", "0", "-o", Name("map.png")}), 1, "is empty");
    EXPECT_FALSE(Exists("map.png"));
}

TEST(BlockMap, BitsCountThePayloadAlone)
{
    // Two bands of 28 and 12 rows; chroma of half size.
    const auto subject = SubjectOf({{0, 2 + 40, 0, 3, false},
                                    {0, 2 + 384, 0, 3, true},
                                    {0, 2, 1, 3, false},
                                    {0, 2 + 48, 1, 2, false},
                                    {0, 1, 2, 9, false},
                                    {0, 2 + 12 + 15, 2, 1, false}},
                                   32, 40, 28);
    const uint64_t samples[] = {32 * 28, 32 * 12, 16 * 14, 16 * 6, 16 * 14, 16 * 6};
    const double bits[] = {8.0 * 40 / (32 * 28), 8, 0, 4, 0, 1};
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(SamplesOf(subject, i), samples[i]);
        EXPECT_DOUBLE_EQ(BitsOf(subject, i), bits[i]);
    }
    EXPECT_FALSE(DrawBlockMap(subject).EncodePng().empty());
}

TEST(BlockMap, AnyShapeOfPictureFits)
{
    struct Shape {
        int width, height;
        uint32_t blockHeight;
    };
    for (const Shape& shape : {Shape{4, 4, 28}, Shape{4, 2, 1}, Shape{20000, 4, 28}, Shape{4, 60000, 28},
                               Shape{8, 3000, 1}, Shape{64, 64, 0x7FFFFFFF}}) {
        const size_t bands = (static_cast<size_t>(shape.height) + shape.blockHeight - 1) / shape.blockHeight;
        const auto subject = SubjectOf(std::vector<BlockStructure>(3 * bands, {0, 10, 0, 3, false}),
                                       shape.width, shape.height, shape.blockHeight);
        const Canvas canvas = DrawBlockMap(subject);
        EXPECT_GE(canvas.Width(), 600);
        EXPECT_LE(canvas.Width(), 2200);
        EXPECT_GE(canvas.Height(), 300);
        EXPECT_LE(canvas.Height(), 4500) << shape.width << "x" << shape.height;
    }
}

TEST(CanvasTest, NothingIsDrawnOutside)
{
    Canvas canvas(20, 10, {1, 2, 3});
    canvas.Fill({-5, -5, 100, 7}, {9, 9, 9});
    canvas.Hatch({15, 5, 50, 50}, {9, 9, 9});
    canvas.Outline({-3, -3, 40, 40}, {9, 9, 9});
    canvas.Tint({100, 100, 5, 5}, {9, 9, 9});
    canvas.Text(-30, -4, "long text \xC3\xA4 that leaves the canvas on both sides", {9, 9, 9});
    canvas.Text(3, 3, "", {9, 9, 9});
    const StillImage image = DecodeStill(canvas.EncodePng(), "test");
    EXPECT_EQ(image.pixels[0], 9);
    EXPECT_EQ(image.pixels[(6 * 20 + 2) * 3], 3);
}

TEST(SizePlot, TitleIsEscapedAndAxesHaveUnits)
{
    const std::string svg = DrawSizePlot(PlotOf({4000, 5000, 2500}));
    EXPECT_TRUE(svg.starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    for (const char* part : {"a&lt;b&gt;&amp;c?.avi", "Compressed size of each frame, KB", "mean 3.83 KB",
                             "of the whole 2.61", "time in seconds", ">frame<"})
        EXPECT_NE(svg.find(part), std::string::npos) << part;
}

TEST(SizePlot, AnyFramesMakeAPlot)
{
    for (const std::vector<uint32_t>& sizes :
         {std::vector<uint32_t>{1}, {0}, {0, 0, 0}, {0, 5, 0, 4000000000}, std::vector<uint32_t>(5000, 77)}) {
        const std::string svg = DrawSizePlot(PlotOf(sizes));
        EXPECT_EQ(CountOf(svg, "<text"), CountOf(svg, "</text>"));
        EXPECT_EQ(svg.find("nan"), std::string::npos);
        EXPECT_EQ(svg.find("inf"), std::string::npos);
        EXPECT_LT(svg.size(), 200000u);
        EXPECT_LT(CountOf(svg, "<text"), 60u);
    }
}

TEST(SizePlot, ManyFramesShareColumnsWithTheirRange)
{
    std::vector<uint32_t> sizes(3000, 1000);
    EXPECT_EQ(DrawSizePlot(PlotOf(sizes)).find("fill-opacity"), std::string::npos);
    sizes[1234] = 5000;
    EXPECT_NE(DrawSizePlot(PlotOf(sizes)).find("fill-opacity"), std::string::npos);
    EXPECT_NE(DrawSizePlot(PlotOf(std::vector<uint32_t>(9000, 5))).find("time in minutes"),
              std::string::npos);
}

TEST_F(Drawing, PlotIsWrittenForAFile)
{
    Encode(Content::Smooth);
    EXPECT_NE(RunGood({"plot", Name("clip.avi"), "-o", Name("p.svg")}).find("YUV 4:4:4, 96x84, 1 frame;"),
              std::string::npos);
    const Bytes svg = ReadFile(Name("p.svg"));
    EXPECT_NE(std::string(svg.begin(), svg.end()).find("clip.avi"), std::string::npos);
}
