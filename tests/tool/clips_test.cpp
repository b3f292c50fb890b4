// Real clips and pictures, from the folder that ORVANE_CLIPS names, through the commands and through the
// core.
#include "files/frame_source.h"
#include "files/open_files.h"
#include "support/codec_run.h"
#include "tool/run_command.h"

#include <cstdlib>
#include <filesystem>

namespace {

/// Samples of more than 8 bits, by the file's name.
bool IsDeep(const std::string& name)
{
    return name.find("p10.") != std::string::npos || name.find("16.ppm") != std::string::npos;
}

class Clips : public CommandTest
{
  protected:
    void SetUp() override
    {
        const char* root = std::getenv("ORVANE_CLIPS");
        if (!root)
            GTEST_SKIP() << "ORVANE_CLIPS names no folder of clips";
        for (const auto& entry : std::filesystem::directory_iterator(root)) {
            const std::string name = entry.path().string();
            const std::string ending = entry.path().extension().string();
            if (entry.is_directory())
                sequences.push_back(name + "/%04d.png");
            else if (ending == ".y4m")
                clips.push_back(name);
            else if (ending == ".png" || ending == ".ppm")
                stills.push_back(name);
        }
        ASSERT_FALSE(clips.empty()) << root;
    }

    VideoInfo InfoOf(const std::string& name)
    {
        std::istringstream none;
        return OpenSource(name, {}, none)->Info();
    }

    Bytes Encode(const std::string& input, const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments{"encode", input, "-o", Name("clip.avi"), "-q"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        RunGood(arguments);
        return ReadFile(Name("clip.avi"));
    }

    std::vector<std::string> clips;
    std::vector<std::string> stills;
    std::vector<std::string> sequences;
};

TEST_F(Clips, EveryClipMethodAndThreadCountGivesTheSameFileAndComesBackIdentical)
{
    for (const std::string& clip : clips) {
        if (IsDeep(clip))
            continue;
        const VideoInfo info = InfoOf(clip);
        for (const char* const method : {"gradient", "median", "dynamic"})
            for (const bool interlaced : {false, true}) {
                if (interlaced && info.height % (2 * info.layout->vertical) != 0)
                    continue;
                const std::string scan = interlaced ? "--interlaced" : "--no-interlaced";
                const Bytes single = Encode(clip, {"--method", method, scan, "--threads", "1"});
                EXPECT_NE(RunGood({"verify", Name("clip.avi"), "--against", clip, "-q"}).find("identical"),
                          std::string::npos)
                    << clip << ' ' << method << ' ' << scan;
                for (const char* const threads : {"2", "5", "64"})
                    EXPECT_TRUE(Encode(clip, {"--method", method, scan, "--threads", threads}) == single)
                        << clip << ' ' << method << ' ' << scan << ' ' << threads << " threads";
            }
    }
}

TEST_F(Clips, LeftBringsEveryClipBackToo)
{
    for (const std::string& clip : clips) {
        if (IsDeep(clip))
            continue;
        const VideoInfo info = InfoOf(clip);
        std::istringstream none;
        const auto source = OpenSource(clip, {}, none);
        // 4:2:2 clips come as YUY2.
        const FormatId host = info.layout->IsGray()                ? FormatId{kHostY8}
                              : info.layout->vertical == 2         ? FormatId{kHostI420}
                              : info.layout->family == kCodeYuv422 ? FormatId{kHostYuy2}
                                                                   : FormatId{kHostI444};
        CodecRun run({.host = host,
                      .code = info.layout->family,
                      .width = static_cast<uint32_t>(info.width),
                      .height = static_cast<uint32_t>(info.height),
                      .method = PredictMethod::Left,
                      .threads = 2});
        Bytes picture(info.FrameBytes());
        int frames = 0;
        for (; source->Next(picture); ++frames) {
            ASSERT_EQ(run.InputBytes(), picture.size()) << clip;
            const auto decoded = run.Decode(run.Encode(picture));
            ASSERT_EQ(decoded.status, FrameStatus::Ok);
            ASSERT_TRUE(decoded.picture == picture) << clip << " frame " << frames;
        }
        EXPECT_GT(frames, 0);
    }
}

TEST_F(Clips, StillsAndSequencesComeBackIdentical)
{
    std::vector<std::string> inputs = stills;
    inputs.insert(inputs.end(), sequences.begin(), sequences.end());
    for (const std::string& input : inputs) {
        if (IsDeep(input))
            continue;
        Encode(input, {"--verify"});
        EXPECT_NE(RunGood({"verify", Name("clip.avi"), "--against", input, "-q"}).find("identical"),
                  std::string::npos)
            << input;
    }
}

/// Real pictures in a layout: what a clip or still decodes to, or the bytes of another layout of the same
/// size, which any layout takes.
struct LayoutSource {
    const char* file;
    const char* decodedAs;
    const char* layout;
};
constexpr LayoutSource kLayoutSources[] = {
    {"photo_kodim01_768x512.png", "RGB24", "RGB24"}, {"photo_kodim23_768x512.png", "RGB32", "RGB32"},
    {"alpha_logo_512x512.png", "RGBA", "RGBA"},      {"alpha_logo_512x512.png", "RGBA", "AYUV"},
    {"alpha_logo_512x512.png", "RGBA", "v408"},      {"animfilm_1024x436_444.y4m", "v308", "v308"},
    {"animfilm_1024x436_444.y4m", "YV24", "YV24"},   {"animfilm_1024x436_444.y4m", "I444", "I444"},
    {"calendar_720x576_422.y4m", "YUY2", "YUY2"},    {"calendar_720x576_422.y4m", "UYVY", "UYVY"},
    {"calendar_720x576_422.y4m", "HDYC", "HDYC"},    {"bus_352x288_420.y4m", "YV12", "YV12"},
    {"bus_352x288_420.y4m", "I420", "I420"},         {"street_1226x370_mono.y4m", "Y800", "Y800"},
};

TEST_F(Clips, EveryLosslessLayoutOfRealPicturesComesBackThroughTheDriver)
{
    const std::string root = std::string(std::getenv("ORVANE_CLIPS")) + '/';
    for (const LayoutSource& source : kLayoutSources) {
        if (!std::filesystem::exists(root + source.file))
            continue;
        const VideoInfo info = InfoOf(root + source.file);
        const std::string size = std::to_string(info.width) + 'x' + std::to_string(info.height);
        RunGood({"encode", root + source.file, "-o", Name("first.avi")});
        RunGood({"decode", Name("first.avi"), "-o", Name("layout.raw"), "--to", source.decodedAs});
        RunGood(
            {"encode", Name("layout.raw"), "-o", Name("second.avi"), "--raw", size + ':' + source.layout});
        RunGood({"decode", Name("second.avi"), "-o", Name("back.raw"), "--to", source.layout});
        const Bytes sent = ReadFile(Name("layout.raw"));
        ASSERT_FALSE(sent.empty()) << source.layout;
        EXPECT_TRUE(ReadFile(Name("back.raw")) == sent) << source.layout;
    }
}

TEST_F(Clips, DeepSamplesGetAClearRefusal)
{
    int refused = 0;
    for (const auto* list : {&clips, &stills})
        for (const std::string& input : *list)
            if (IsDeep(input)) {
                ExpectError(Run({"encode", input, "-o", Name("deep.avi")}), 1, "bit");
                ++refused;
            }
    EXPECT_GE(refused, 1);
    EXPECT_FALSE(Exists("deep.avi"));
}

} // namespace
