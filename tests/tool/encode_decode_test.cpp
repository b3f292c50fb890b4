// The commands as users run them, over the codec itself.
#include "common/frame_header.h"
#include "driver/host_formats.h"
#include "files/byte_source.h"
#include "files/pixel_layout.h"
#include "files/still_image.h"
#include "platform/vfw.h"
#include "tool/run_command.h"

#include <algorithm>
#include <sstream>

using namespace driver;

namespace {

/// The driver, with one byte of each payload turned over once a frame is compressed.
LRESULT CALLBACK FaultyDriver(DWORD_PTR id, HDRVR driver, UINT message, LPARAM first, LPARAM second)
{
    const LRESULT result = HandleMessage(id, driver, message, first, second);
    if (message == ICM_COMPRESS && result == ICERR_OK) {
        const auto& record = *reinterpret_cast<const ICCOMPRESS*>(first);
        auto* const frame = static_cast<uint8_t*>(record.lpOutput);
        frame[record.lpbiOutput->biSizeImage - 40] ^= 0xFF;
    }
    return result;
}

struct Clip {
    const char* fields;
    const char* fourcc;
    size_t frameBytes; // of 32 x 24
};
constexpr Clip kClips[] = {{"C420jpeg", "O8Y0", 1152},
                           {"C422", "O8Y2", 1536},
                           {"C444", "O8Y4", 2304},
                           {"Cmono", "O8G0", 768},
                           {"C444alpha", "O8YA", 3072}};

std::string MakeClip(const Clip& clip, int frames = 3)
{
    return MakeY4m(32, 24, clip.fields, clip.frameBytes, frames);
}

class EncodeDecode : public CommandTest
{
  protected:
    /// Writes the clip as in.y4m and encodes it to out.avi.
    std::string EncodeClip(const Clip& clip, const std::vector<std::string>& options = {}, int frames = 3)
    {
        const std::string y4m = MakeClip(clip, frames);
        WriteText(Name("in.y4m"), y4m);
        std::vector<std::string> arguments = {"encode", Name("in.y4m"), "-o", Name("out.avi")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        RunGood(arguments);
        return y4m;
    }
};

} // namespace

TEST_F(EncodeDecode, EveryKindOfY4mComesBackIdentical)
{
    for (const Clip& clip : kClips) {
        const std::string y4m = EncodeClip(clip, {"--verify"});
        EXPECT_FALSE(Exists("out.avi.part"));
        RunGood({"decode", Name("out.avi"), "-o", Name("back.y4m")});
        const Bytes back = ReadFile(Name("back.y4m"));
        EXPECT_EQ(PicturesOf({back.begin(), back.end()}), PicturesOf(y4m)) << clip.fields;
        EXPECT_NE(RunGood({"info", Name("out.avi")}).find(clip.fourcc), std::string::npos);
        EXPECT_NE(RunGood({"verify", Name("out.avi")}).find("3 frames are sound and match their checksums"),
                  std::string::npos);
        EXPECT_NE(
            RunGood({"verify", Name("out.avi"), "--against", Name("in.y4m")}).find("3 frames are identical"),
            std::string::npos);
    }
}

TEST_F(EncodeDecode, StandardStreamsCarryY4m)
{
    const std::string y4m = MakeClip(kClips[0]);
    RunGood({"encode", "-", "-o", Name("out.avi")}, y4m);
    EXPECT_EQ(PicturesOf(RunGood({"decode", Name("out.avi"), "-o", "-"})), PicturesOf(y4m));
    EXPECT_NE(RunGood({"verify", Name("out.avi"), "--against", "-"}, y4m).find("identical"),
              std::string::npos);
}

/// The layouts of hosts that frames keep to the last byte, as users name them.
std::vector<std::string> LosslessLayouts()
{
    std::vector<std::string> names = {"RGB24", "RGBA"};
    for (const HostFormat& format : kHostFormats) {
        const std::string name = format.name;
        if (FamilyOf(format.id) != 0 && name != "RGB" && name != "DIB ")
            names.push_back(name.substr(0, name.find_last_not_of(' ') + 1));
    }
    return names;
}

TEST_F(EncodeDecode, TakesEveryLayoutOfTheDriver)
{
    std::vector<std::string> expected = LosslessLayouts();
    expected.push_back("RGB32");
    std::ranges::sort(expected);
    std::vector<std::string> names;
    std::istringstream list(LayoutNames());
    for (std::string name; std::getline(list >> std::ws, name, ',');)
        names.push_back(name);
    std::ranges::sort(names);
    EXPECT_EQ(names, expected);
}

TEST_F(EncodeDecode, RawFramesOfEveryLayoutComeBackIdentical)
{
    for (const std::string& layout : LosslessLayouts()) {
        const size_t frameBytes = PictureBytes(LayoutNamed(layout.c_str()), 30, 20);
        const std::string raw = PicturesOf(MakeY4m(30, 20, "", frameBytes, 2));
        std::string frames;
        for (size_t i = 0; i < 2; ++i)
            frames += raw.substr(6 + i * (frameBytes + 6), frameBytes);
        WriteText(Name("in.raw"), frames);
        const std::string form = "30x20:" + layout;
        RunGood({"encode", Name("in.raw"), "--raw", form, "-o", Name("out.avi"), "--verify"});
        RunGood({"decode", Name("out.avi"), "--to", layout, "-o", Name("back.raw")});
        EXPECT_EQ(ReadFile(Name("back.raw")), ReadFile(Name("in.raw"))) << layout;
        RunGood({"verify", Name("out.avi"), "--against", Name("in.raw"), "--raw", form});
    }
}

TEST_F(EncodeDecode, UnusedByteOfRgb32IsNotCompared)
{
    WriteFile(Name("in.raw"), Bytes(16 * 8 * 4, 0x5A));
    RunGood({"encode", Name("in.raw"), "--raw", "16x8:RGB32", "-o", Name("out.avi"), "--verify"});
    EXPECT_NE(RunGood({"info", Name("out.avi")}).find("O8RG"), std::string::npos);
    RunGood({"verify", Name("out.avi"), "--against", Name("in.raw"), "--raw", "16x8:RGB32"});
    RunGood({"encode", Name("in.raw"), "--raw", "16x8:RGB32", "--format", "rgba", "-o", Name("out.avi"),
             "--verify"});
    RunGood({"decode", Name("out.avi"), "--to", "RGBA", "-o", Name("back.raw")});
    EXPECT_EQ(ReadFile(Name("back.raw")), ReadFile(Name("in.raw")));
}

TEST_F(EncodeDecode, PicturesAndSequencesComeBackIdentical)
{
    VideoInfo info;
    info.width = 21;
    info.height = 9;
    for (const char* layout : {"RGB24", "RGBA", "Y800"}) {
        info.layout = &LayoutNamed(layout);
        std::vector<Bytes> pictures;
        for (uint8_t i = 0; i < 3; ++i) {
            Bytes pixels(info.FrameBytes());
            for (size_t k = 0; k < pixels.size(); ++k)
                pixels[k] = static_cast<uint8_t>(k * 5 + i);
            pictures.push_back(EncodeStill(StillKind::Png, info, pixels));
            WriteFile(Name("a" + std::to_string(i) + ".png"), pictures.back());
        }
        RunGood({"encode", Name("a%d.png"), "-o", Name("out.avi"), "--verify"});
        RunGood({"decode", Name("out.avi"), "-o", Name("b%d.png")});
        for (size_t i = 0; i < 3; ++i)
            EXPECT_EQ(ReadFile(Name("b" + std::to_string(i) + ".png")), pictures[i]) << layout;
        RunGood({"decode", Name("out.avi"), "-o", Name("one.png"), "--frames", "1"});
        EXPECT_EQ(ReadFile(Name("one.png")), pictures[1]);
        ExpectError(Run({"decode", Name("out.avi"), "-o", Name("one.png")}), 2, "number pattern");
    }
}

TEST_F(EncodeDecode, WhatAConversionLosesIsSaidBeforeItStarts)
{
    const struct {
        const char* layout;
        const char* format;
        const char* lost; ///< null: nothing
    } cases[] = {{"RGB24", "rgb", nullptr},
                 {"RGB32", "rgb", nullptr},
                 {"RGB24", "yuv444", "colour"},
                 {"RGB24", "yuv422", "colour, chroma subsampled"},
                 {"RGB24", "gray", "colour, chroma dropped"},
                 {"RGBA", "rgb", "alpha dropped"},
                 {"RGBA", "yuv420", "colour, chroma subsampled, alpha dropped"}};
    WriteText(Name("in.raw"), PicturesOf(MakeY4m(32, 24, "", 32 * 24 * 4, 1)).substr(6));
    for (const auto& [layout, format, lost] : cases) {
        Bytes pixels = ReadFile(Name("in.raw"));
        pixels.resize(PictureBytes(LayoutNamed(layout), 32, 24));
        WriteFile(Name("one.raw"), pixels);
        const std::string raw = "32x24:" + std::string(layout);
        const auto encode = [&](const std::vector<std::string>& options) {
            std::vector<std::string> line = {"encode",       Name("one.raw"), "--raw",    raw,
                                             "--format",     format,          "--verify", "-o",
                                             Name("out.avi")};
            line.insert(line.end(), options.begin(), options.end());
            std::filesystem::remove(PathOf(Name("out.avi")));
            return Run(line);
        };
        const CommandResult warned = encode({});
        EXPECT_EQ(warned.code, 0) << warned.err;
        EXPECT_NE(warned.out.find("verified"), std::string::npos);
        EXPECT_EQ(std::ranges::count(warned.err, '\n'), lost ? 1 : 0) << warned.err;
        const std::string info = RunGood({"info", Name("out.avi")});
        const auto json = RunGood({"info", Name("out.avi"), "--json"});
        const std::vector<std::string> verify = {"verify",        Name("out.avi"), "--against",
                                                 Name("one.raw"), "--raw",         raw};
        std::vector<std::string> afterConversion = verify;
        afterConversion.emplace_back("--after-conversion");
        if (lost == nullptr) {
            EXPECT_EQ(info.find("converted"), std::string::npos) << info;
            EXPECT_NE(json.find("\"converted\": null"), std::string::npos);
            EXPECT_NE(RunGood(verify).find("1 frame is identical"), std::string::npos);
            EXPECT_EQ(encode({"--lossless"}).code, 0);
            continue;
        }
        EXPECT_TRUE(warned.err.starts_with("orvane: warning: " + std::string(layout) + " to ")) << warned.err;
        EXPECT_NE(warned.err.find("not lossless: " + std::string(lost) + ","), std::string::npos)
            << warned.err;
        EXPECT_NE(info.find("converted  " + std::string(lost) + "\n"), std::string::npos) << info;
        EXPECT_NE(json.find("\"converted\": \"" + std::string(lost) + "\""), std::string::npos);
        const std::string line = "converted: " + std::string(lost) + "; equal after the same conversion\n";
        const CommandResult compared = Run(verify);
        ExpectError(compared, 1, "1 fault found");
        EXPECT_EQ(compared.out, line);
        EXPECT_EQ(RunGood(afterConversion), line);
        ExpectError(encode({"--lossless"}), 1, "not lossless: " + std::string(lost));
        EXPECT_FALSE(Exists("out.avi"));
        EXPECT_FALSE(Exists("out.avi.part")) << "refused before anything is written";
    }
    WriteFile(Name("one.raw"), Bytes(32 * 24 * 3, 7));
    ExpectError(
        Run({"encode", Name("one.raw"), "--raw", "32x24:RGB24", "--format", "yuva444", "-o", Name("o.avi")}),
        1, "no way from RGB24");
}

TEST_F(EncodeDecode, EitherWayToSubsampleChromaIsRecognized)
{
    WriteText(Name("in.raw"), PicturesOf(MakeY4m(32, 24, "", 32 * 24 * 3, 1)).substr(6));
    for (const char* format : {"yuv422", "yuv420"})
        for (const char* option : {"--interpolate", "--no-interpolate"}) {
            EXPECT_EQ(Run({"encode", Name("in.raw"), "--raw", "32x24:RGB24", "--format", format, option,
                           "--verify", "-o", Name(std::string(format) + option + ".avi")})
                          .code,
                      0);
            RunGood({"verify", Name(std::string(format) + option + ".avi"), "--against", Name("in.raw"),
                     "--raw", "32x24:RGB24", "--after-conversion"});
        }
}

TEST_F(EncodeDecode, DifferenceFromTheSourceStaysOneAfterTheConversion)
{
    WriteText(Name("in.raw"), PicturesOf(MakeY4m(32, 24, "", 32 * 24 * 3, 1)).substr(6));
    Run({"encode", Name("in.raw"), "--raw", "32x24:RGB24", "--format", "yuv420", "-o", Name("out.avi")});
    Bytes other = ReadFile(Name("in.raw"));
    other[300] ^= 0x80;
    WriteFile(Name("other.raw"), other);
    const CommandResult result = Run({"verify", Name("out.avi"), "--against", Name("other.raw"), "--raw",
                                      "32x24:RGB24", "--after-conversion"});
    ExpectError(result, 1, "1 fault found");
    EXPECT_EQ(result.out, "frame 0: differs from the source\n");
}

TEST_F(EncodeDecode, FieldsOfTheInputComeBack)
{
    const std::string y4m = MakeY4m(32, 24, "F30000:1001 It A0:0 C420jpeg XCOLORRANGE=FULL", 1152, 2);
    RunGood({"encode", "-", "-o", Name("out.avi")}, y4m);
    EXPECT_EQ(RunGood({"decode", Name("out.avi"), "-o", "-"}), y4m);
    // Options win over what the file says.
    RunGood({"encode", "-", "-o", Name("out.avi"), "--no-interlaced", "--no-full-range", "--fps", "10"}, y4m);
    EXPECT_EQ(FirstLineOf(RunGood({"decode", Name("out.avi"), "-o", "-"})),
              "YUV4MPEG2 W32 H24 F10:1 Ip A0:0 C420jpeg XCOLORRANGE=LIMITED");
}

TEST_F(EncodeDecode, StoredSettingsHoldWhereNoOptionIsGiven)
{
    RunGood({"config", "set", "O8Y0.ColorMatrix", "1"});
    RunGood({"config", "set", "O8Y0.CompMethod", "2"});
    RunGood({"config", "set", "O8Y0.Interlaced", "1"});
    EncodeClip(kClips[0]);
    std::string info = RunGood({"info", Name("out.avi")});
    EXPECT_NE(info.find("Rec.601"), std::string::npos) << info;
    EXPECT_NE(info.find("interlaced"), std::string::npos) << info;
    EXPECT_NE(info.find("left 0, gradient 9, median 0"), std::string::npos) << info;
    EncodeClip(kClips[0], {"--matrix", "709", "--method", "median", "--no-interlaced"});
    info = RunGood({"info", Name("out.avi")});
    EXPECT_NE(info.find("Rec.709"), std::string::npos) << info;
    EXPECT_NE(info.find("progressive"), std::string::npos) << info;
    EXPECT_NE(info.find("left 0, gradient 0, median 9"), std::string::npos) << info;
    // The user's store is as it was.
    EXPECT_EQ(RunGood({"config", "get", "O8Y0.ColorMatrix"}), "1\n");
    EXPECT_EQ(RunGood({"config", "get", "O8Y0.AutoEncodeThreads"}), "1\n");
}

TEST_F(EncodeDecode, ThreadsChangeNoByte)
{
    Bytes first;
    for (const char* threads : {"1", "2", "5", "64", "0"}) {
        EncodeClip(kClips[0], {"--threads", threads});
        const Bytes bytes = ReadFile(Name("out.avi"));
        if (first.empty())
            first = bytes;
        EXPECT_EQ(bytes, first) << threads << " threads";
    }
}

TEST_F(EncodeDecode, SizesThatDoNotFitTellTheMultiples)
{
    const std::string y4m = MakeY4m(32, 22, "C420", 1056, 1);
    ExpectError(Run({"encode", "-", "-o", Name("out.avi"), "--interlaced"}, y4m), 1, "the height of 4");
    EXPECT_FALSE(Exists("out.avi.part")) << "refused before anything is written";
    const std::string gray = MakeY4m(2, 22, "Cmono", 44, 1);
    ExpectError(Run({"encode", "-", "-o", Name("out.avi")}, gray), 1, "at least 4");
}

TEST_F(EncodeDecode, RangesOfFramesCountFromZero)
{
    const std::string y4m = EncodeClip(kClips[0], {}, 5);
    const size_t frame = 6 + 1152;
    EXPECT_EQ(PicturesOf(RunGood({"decode", Name("out.avi"), "-o", "-", "--frames", "1-3"})),
              PicturesOf(y4m).substr(frame, 3 * frame));
    EXPECT_EQ(PicturesOf(RunGood({"decode", Name("out.avi"), "-o", "-", "--frames", "4"})),
              PicturesOf(y4m).substr(4 * frame));
    ExpectError(Run({"decode", Name("out.avi"), "-o", "-", "--frames", "3-5"}), 1, "has 5 frames");
    ExpectError(Run({"decode", Name("out.avi"), "-o", "-", "--frames", "3-1"}), 2, "bad range");
    ExpectError(Run({"decode", Name("out.avi"), "-o", "-", "--frames", "x"}), 2, "bad range");
}

TEST_F(EncodeDecode, DecodeTakesEveryLayoutThatHasARoute)
{
    EncodeClip(kClips[0]);
    for (const char* layout : {"RGB24", "RGB32", "YV12", "YUY2", "UYVY", "HDYC", "I444", "YV24", "v308"}) {
        RunGood({"decode", Name("out.avi"), "-o", Name("back.raw"), "--to", layout});
        EXPECT_EQ(ReadFile(Name("back.raw")).size(), 3 * PictureBytes(LayoutNamed(layout), 32, 24)) << layout;
    }
    ExpectError(Run({"decode", Name("out.avi"), "-o", Name("x.raw"), "--to", "Y800"}), 1,
                "cannot be decoded to Y800");
    ExpectError(Run({"decode", Name("out.avi"), "-o", Name("x.raw"), "--to", "P010"}), 2, "unknown layout");
    ExpectError(Run({"decode", Name("out.avi"), "-o", Name("x.y4m"), "--to", "RGB24"}), 1, "Y4M cannot hold");
    EXPECT_FALSE(Exists("x.y4m.part"));
}

TEST_F(EncodeDecode, VerifyingWhileEncodingFindsADriverFault)
{
    WriteText(Name("in.y4m"), MakeClip(kClips[0]));
    const CommandResult result =
        Run({"encode", Name("in.y4m"), "-o", Name("out.avi"), "--verify"}, {}, &FaultyDriver);
    ExpectError(result, 1, "does not decode to what was coded");
    EXPECT_FALSE(Exists("out.avi"));
    EXPECT_EQ(result.out, "");
}

TEST_F(EncodeDecode, OutputStaysPartUntilItIsComplete)
{
    const std::string y4m = MakeClip(kClips[0], 5);
    WriteText(Name("out.avi"), "an older file");
    const CommandResult result =
        Run({"encode", "-", "-o", Name("out.avi")}, y4m.substr(0, y4m.size() - 1200)); // ends inside frame 3
    ExpectError(result, 1, "3 frames are in " + Name("out.avi.part"));
    EXPECT_EQ(ReadFile(Name("out.avi")).size(), 13u) << "the older file is untouched";

    // The unfinished file gives its frames.
    const CommandResult decoded = Run({"decode", Name("out.avi.part"), "-o", "-"});
    EXPECT_EQ(PicturesOf(decoded.out), PicturesOf(y4m).substr(0, 3 * (6 + 1152)));
    ExpectError(decoded, 3, "cut off");
    ExpectError(Run({"verify", Name("out.avi.part")}), 1, "fault");

    RunGood({"encode", "-", "-o", Name("out.avi")}, y4m);
    EXPECT_FALSE(Exists("out.avi.part"));
    EXPECT_GT(ReadFile(Name("out.avi")).size(), 1000u);
}

TEST_F(EncodeDecode, OutputThatCannotBeMadeIsAnError)
{
    WriteText(Name("in.y4m"), MakeClip(kClips[0]));
    ExpectError(Run({"encode", Name("in.y4m"), "-o", Name("no/such/folder/out.avi")}), 1, "cannot create");
    EncodeClip(kClips[0]);
    ExpectError(Run({"decode", Name("out.avi"), "-o", Name("no/such/folder/x.y4m")}), 1, "cannot create");
}

TEST_F(EncodeDecode, InputIsNeverOverwritten)
{
    EncodeClip(kClips[0]);
    WriteFile(Name("x.raw"), Bytes(48, 0));
    ExpectError(Run({"encode", Name("out.avi.part"), "--raw", "4x4:RGB24", "-o", Name("out.avi")}), 1,
                "cannot open");
    WriteFile(Name("out.avi.part"), Bytes(48, 0));
    RunGood({"encode", Name("out.avi.part"), "--raw", "4x4:RGB24", "-o", Name("out.avi")});
    EXPECT_EQ(ReadFile(Name("out.avi.part")), Bytes(48, 0));
}

TEST_F(EncodeDecode, DamagedFrameLeavesThePictureBefore)
{
    const std::string y4m = EncodeClip(kClips[0], {}, 4);
    Bytes bytes = ReadFile(Name("out.avi"));
    const AviFile file = ReadAviBytes(bytes);
    bytes[static_cast<size_t>(file.frames[2].offset) + 16] ^= 1; // width
    WriteFile(Name("bad.avi"), bytes);

    const CommandResult decoded = Run({"decode", Name("bad.avi"), "-o", "-"});
    ExpectError(decoded, 3, "1 of 4 frames is damaged (2)");
    const size_t frame = 6 + 1152;
    const std::string pictures = PicturesOf(y4m);
    EXPECT_EQ(PicturesOf(decoded.out),
              pictures.substr(0, 2 * frame) + pictures.substr(frame, frame) + pictures.substr(3 * frame));

    const CommandResult verified = Run({"verify", Name("bad.avi")});
    ExpectError(verified, 1, "1 fault found");
    EXPECT_EQ(verified.out, "frame 2: damaged, frame of another size\n");
    const std::string info = RunGood({"info", Name("bad.avi"), "--frames"});
    EXPECT_NE(info.find("index whole, 1 frame damaged in structure\n"), std::string::npos) << info;
    EXPECT_NE(info.find("  frame of another size\n"), std::string::npos) << info;
    const CommandResult compared = Run({"verify", Name("bad.avi"), "--against", Name("in.y4m")});
    ExpectError(compared, 1, "1 fault found");
    EXPECT_EQ(compared.out, "frame 2: damaged, the codec refuses it\n");
}

TEST_F(EncodeDecode, DifferencesAreFound)
{
    std::string y4m = EncodeClip(kClips[0], {}, 3);
    y4m[FirstLineOf(y4m).size() + 1 + (6 + 1152) + 6 + 700] ^= 1;
    WriteText(Name("other.y4m"), y4m);
    CommandResult result = Run({"verify", Name("out.avi"), "--against", Name("other.y4m")});
    ExpectError(result, 1, "1 fault found");
    EXPECT_EQ(result.out, "frame 1: differs from the source\n");

    WriteText(Name("short.y4m"), MakeClip(kClips[0], 2));
    result = Run({"verify", Name("out.avi"), "--against", Name("short.y4m")});
    ExpectError(result, 1, "1 fault found");
    EXPECT_EQ(result.out, "the source has 2 frames, the file 3\n");
    ExpectError(Run({"verify", Name("out.avi"), "--against", "-"}, MakeY4m(16, 16, "C420", 384, 1)), 1,
                "16x16");
}

TEST_F(EncodeDecode, RewrittenHeaderIsPutRight)
{
    const std::string y4m = EncodeClip(kClips[0]);
    Bytes bytes = ReadFile(Name("out.avi"));
    const Bytes strf = {'s', 't', 'r', 'f'};
    const auto at = std::ranges::search(bytes, strf).begin() + 8;
    ASSERT_EQ(*at, 72);
    *at = 40;
    const Bytes strh = {'s', 't', 'r', 'h'};
    std::fill_n(std::ranges::search(bytes, strh).begin() + 12, 4, uint8_t{0}); // no handler
    WriteFile(Name("odd.avi"), bytes);
    EXPECT_EQ(PicturesOf(RunGood({"decode", Name("odd.avi"), "-o", "-"})), PicturesOf(y4m));
}

TEST_F(EncodeDecode, FilesThatHostsCannotOpenAreNotWhole)
{
    EncodeClip(kClips[0]);
    const Bytes good = ReadFile(Name("out.avi"));
    const auto find = [&](const char* id) {
        return static_cast<size_t>(std::search(good.begin(), good.end(), id, id + 4) - good.begin());
    };
    const auto replaced = [&](size_t at, std::initializer_list<uint8_t> bytes) {
        Bytes other = good;
        std::ranges::copy(bytes, other.begin() + static_cast<ptrdiff_t>(at));
        return other;
    };
    const struct {
        Bytes bytes;
        const char* problem;
    } cases[] = {{replaced(find("strf") + 8, {40}),
                  "other programs cannot open this file: the bitmap header gave its size as 40 bytes"},
                 {replaced(find("ix00") + 12, {1}),
                  "other programs cannot seek in this file: the index has gaps: it lacks 2 of 3 frames"},
                 {replaced(find("ix00") + 8 + 24, {1}),
                  "other programs cannot seek in this file: the index does not fit the frames"}};
    for (const auto& [bytes, problem] : cases) {
        WriteFile(Name("odd.avi"), bytes);
        const CommandResult verified = Run({"verify", Name("odd.avi")});
        ExpectError(verified, 1, "1 fault found");
        EXPECT_EQ(
            verified.out.substr(verified.out.find("other")),
            problem +
                std::string("\nthe pictures are right; run orvane repair to have a file that other programs "
                            "read\n"));
        const std::string info = RunGood({"info", Name("odd.avi")});
        EXPECT_NE(info.find(problem), std::string::npos) << info;
        EXPECT_NE(info.find("the pictures are right"), std::string::npos) << info;
        EXPECT_NE(info.find("run orvane repair"), std::string::npos) << info;
        EXPECT_NE(RunGood({"info", Name("odd.avi"), "--json"}).find(problem), std::string::npos);
        std::filesystem::remove(PathOf(Name("mended.avi")));
        RunGood({"repair", Name("odd.avi"), "-o", Name("mended.avi")});
        RunGood({"verify", Name("mended.avi")});
    }
}

TEST_F(EncodeDecode, DeepAndForeignInputsAreRefused)
{
    ExpectError(Run({"encode", "-", "-o", Name("o.avi")}, MakeY4m(8, 8, "C420p10", 192, 1)), 1, "10 bits");
    ExpectError(Run({"encode", "-", "-o", Name("o.avi")}, "hello"), 1, "Y4M");
    WriteText(Name("x.avi"), "RIFF....AVI ");
    ExpectError(Run({"decode", Name("x.avi"), "-o", "-"}), 1, "no video stream");
    ExpectError(Run({"info", Name("none.avi")}), 1, "cannot open the file (No such file or directory)");
    ExpectError(Run({"encode", Name("in.mov"), "-o", Name("o.avi")}), 2, "no kind of input");
    WriteFile(Name("x.raw"), Bytes(100, 0));
    ExpectError(Run({"encode", Name("x.raw"), "-o", Name("o.avi")}), 2, "--raw");
    ExpectError(Run({"encode", Name("x.raw"), "--raw", "4x4:RGB24", "-o", Name("o.avi")}), 1, "48 bytes");
    ExpectError(Run({"encode", Name("x.raw"), "--raw", "4x4:XYZ", "-o", Name("o.avi")}), 2, "unknown layout");
    ExpectError(Run({"encode", Name("x.raw"), "--raw", "44:RGB24", "-o", Name("o.avi")}), 2,
                "bad frame size");
}
