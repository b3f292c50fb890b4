// Files that pass between hosts of Windows, the tool on Windows and the tool on the system that built them.
#include "hosts/avi_files.h"
#include "hosts/installed_driver.h"
#include "hosts/tool_runs.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

constexpr int kWidth = 72;
constexpr int kHeight = 116; // five blocks of rows, the last a short one
constexpr int kFrames = 4;

/// The tool's name of a layout.
std::string ToolLayout(const LosslessRoute& route)
{
    const std::string name = route.format->name;
    if (name == "RGB" || name == "DIB ")
        return route.format->bits == 24 ? "RGB24" : route.variant->alpha ? "RGBA" : "RGB32";
    return name.substr(0, name.find(' '));
}

/// The picture as the tool stores it raw: top-down, without padding.
Bytes AsRaw(const Clip& clip, const Bytes& picture)
{
    const auto rows = static_cast<size_t>(clip.header.biHeight);
    const size_t pitch = picture.size() / rows;
    const size_t row = HasPaddedRows(clip.hostId) ? static_cast<size_t>(clip.header.biWidth) * 3 : pitch;
    const bool bottomUp = clip.hostId <= 3;
    if (row == pitch && !bottomUp)
        return picture;
    Bytes raw;
    for (size_t i = 0; i < rows; ++i) {
        const auto from = picture.begin() + static_cast<ptrdiff_t>((bottomUp ? rows - 1 - i : i) * pitch);
        raw.insert(raw.end(), from, from + static_cast<ptrdiff_t>(row));
    }
    return raw;
}

/// All pictures of a clip in one piece, as the tool stores them raw. Bytes without meaning are 0.
Bytes AsRaw(const Clip& clip, const std::vector<Bytes>& pictures)
{
    Bytes all;
    for (const Bytes& picture : pictures) {
        const Bytes raw = AsRaw(clip, Meaningful(clip, picture));
        all.insert(all.end(), raw.begin(), raw.end());
    }
    return all;
}

/// What the tool has decoded, with 0 in the bytes without meaning.
Bytes Cleared(const Clip& clip, Bytes raw)
{
    return HasPaddedRows(clip.hostId) ? raw : Meaningful(clip, std::move(raw));
}

class ToolFiles : public testing::Test
{
  protected:
    void SetUp() override
    {
        if (!HasNativeTool())
            GTEST_SKIP() << "there is no other system beneath this one";
    }

    std::string Name(const std::string& file) const { return (folder.Path() / file).string(); }

    Bytes Read(const std::string& file) const
    {
        std::ifstream stream(folder.Path() / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void Write(const std::string& file, const std::string& head, const std::vector<Bytes>& pictures,
               const std::string& before = {}) const
    {
        std::ofstream stream(folder.Path() / file, std::ios::binary);
        stream << head;
        for (const Bytes& picture : pictures) {
            stream << before;
            stream.write(reinterpret_cast<const char*>(picture.data()),
                         static_cast<std::streamsize>(picture.size()));
        }
    }

    void Native(const std::vector<std::string>& arguments) const
    {
        Succeed(RunNativeTool(folder, arguments), arguments);
    }
    void Windows(const std::vector<std::string>& arguments) const
    {
        Succeed(RunWindowsTool(folder, arguments), arguments);
    }

    AviLibrary library;
    TestFolder folder;
    TestStore store;

  private:
    static void Succeed(const ToolRun& run, const std::vector<std::string>& arguments)
    {
        ASSERT_EQ(run.code, 0) << arguments.front() << ": " << run.err;
    }
};

/// What the tool is given: one kind of file for each family of layouts, and the layout in which hosts see it
/// without loss.
struct ToolInput {
    const char* file;
    std::vector<std::string> options; ///< of encode
    const char* variant;
    const char* hostLayout;
    int bits;
};

const ToolInput kToolInputs[] = {
    {"clip420.y4m", {}, "O8Y0", "I420", 12},   {"clip422.y4m", {}, "O8Y2", "YUY2", 16},
    {"clip444.y4m", {}, "O8Y4", "I444", 24},   {"mono.y4m", {}, "O8G0", "Y800", 8},
    {"shot_%02d.ppm", {}, "O8RG", "RGB", 24},  {"clip.raw", {"--raw", "72x116:RGBA"}, "O8RA", "RGB", 32},
    {"clipalpha.y4m", {}, "O8YA", "AYUV", 32},
};

const LosslessRoute& RouteOf(const ToolInput& input)
{
    static const std::vector<LosslessRoute> routes = LosslessRoutes();
    return *std::ranges::find_if(routes, [&](const LosslessRoute& route) {
        return std::string(input.variant) == route.variant->fourCC &&
               std::string(input.hostLayout) == route.format->name && input.bits == route.format->bits;
    });
}

class ToolInputs : public ToolFiles
{
  protected:
    void SetUp() override
    {
        ToolFiles::SetUp();
        WriteY4m("clip420.y4m", "C420jpeg", 12);
        WriteY4m("clip422.y4m", "C422", 16);
        WriteY4m("clip444.y4m", "C444", 24);
        WriteY4m("clipalpha.y4m", "C444alpha", 32);
        WriteY4m("mono.y4m", "Cmono", 8);
        Write("clip.raw", "", Pictures(32));
        const std::vector<Bytes> shots = Pictures(24);
        for (size_t i = 0; i < shots.size(); ++i)
            Write("shot_0" + std::to_string(i) + ".ppm", "P6\n72 116\n255\n", {shots[i]});
    }

    std::vector<std::string> EncodeArguments(const ToolInput& input, const std::string& output) const
    {
        std::vector<std::string> arguments = {"encode", "-q", "--force", input.file, "-o", output};
        arguments.insert(arguments.end(), input.options.begin(), input.options.end());
        return arguments;
    }

  private:
    static std::vector<Bytes> Pictures(int bits)
    {
        const auto rowBytes = static_cast<size_t>(kWidth * std::max(bits, 8) / 8);
        std::vector<Bytes> pictures;
        for (uint32_t frame = 0; frame < kFrames; ++frame)
            pictures.push_back(MakePicture(frame % 2 ? Content::Busy : Content::Smooth,
                                           static_cast<size_t>(kWidth * kHeight * bits / 8), rowBytes,
                                           frame));
        return pictures;
    }

    void WriteY4m(const std::string& file, const std::string& colour, int bits) const
    {
        Write(file, "YUV4MPEG2 W72 H116 F25:1 Ip A1:1 " + colour + "\n", Pictures(bits), "FRAME\n");
    }
};

} // namespace

TEST_F(ToolFiles, NativeToolReadsWhatAvifileCompressed)
{
    for (const auto& [fourCC, bits] : {std::pair("O8RG", 24), std::pair("O8RG", 32), std::pair("O8RA", 32)}) {
        const LosslessRoute route = RgbRoute(fourCC, bits);
        SCOPED_TRACE(route.Name());
        const Clip clip = MakeClip(route, kWidth, kHeight, kFrames);
        WriteByAviFile(Name("host.avi"), fourCC, clip);
        Native({"verify", "-q", "host.avi"});
        Native({"decode", "-q", "--force", "host.avi", "-o", "back.raw", "--to", ToolLayout(route)});
        EXPECT_TRUE(Cleared(clip, Read("back.raw")) == AsRaw(clip, clip.pictures));
    }
}

TEST_F(ToolFiles, NativeToolReadsWhatHostsCompressed)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        SCOPED_TRACE(route.Name());
        const char* const fourCC = route.variant->fourCC;
        const Clip clip = MakeClip(route, kWidth, kHeight, kFrames);
        WriteFrames(Name("host.avi"), fourCC, CompressClip(CodecHandle(fourCC, ICMODE_COMPRESS), clip));
        Native({"decode", "-q", "--force", "host.avi", "-o", "back.raw", "--to", ToolLayout(route)});
        EXPECT_TRUE(Cleared(clip, Read("back.raw")) == AsRaw(clip, clip.pictures));
    }
}

TEST_F(ToolInputs, AvifileReadsWhatTheNativeToolWrote)
{
    for (const ToolInput& input : kToolInputs) {
        SCOPED_TRACE(input.file);
        const LosslessRoute& route = RouteOf(input);
        Native(EncodeArguments(input, "tool.avi"));
        Native({"decode", "-q", "--force", "tool.avi", "-o", "tool.raw", "--to", ToolLayout(route)});
        const Clip clip = MakeClip(route, kWidth, kHeight, 0); // for its header
        const std::vector<Bytes> pictures = ReadPictures(Name("tool.avi"), &clip.header);
        EXPECT_EQ(pictures.size(), static_cast<size_t>(kFrames));
        EXPECT_TRUE(AsRaw(clip, pictures) == Read("tool.raw"));
        std::vector<std::string> verify = {"verify", "-q", "tool.avi", "--against", input.file};
        verify.insert(verify.end(), input.options.begin(), input.options.end());
        Native(verify);
    }
}

TEST_F(ToolInputs, BothToolsWriteTheSameBytes)
{
    for (const ToolInput& input : kToolInputs)
        for (const char* method : {"gradient", "median", "dynamic"}) {
            std::vector<Bytes> files;
            for (const char* threads : {"1", "3"}) {
                std::vector<std::string> arguments = EncodeArguments(input, "tool.avi");
                arguments.insert(arguments.end(), {"--method", method, "--threads", threads});
                Native(arguments);
                files.push_back(Read("tool.avi"));
                Windows(arguments);
                files.push_back(Read("tool.avi"));
            }
            ASSERT_FALSE(files.front().empty());
            for (const Bytes& file : files)
                EXPECT_TRUE(file == files.front()) << input.file << " " << method;
        }
}

TEST_F(ToolInputs, WindowsToolReadsWhatTheNativeToolWrote)
{
    for (const ToolInput& input : kToolInputs) {
        SCOPED_TRACE(input.file);
        Native(EncodeArguments(input, "tool.avi"));
        std::vector<std::string> verify = {"verify", "-q", "tool.avi", "--against", input.file};
        verify.insert(verify.end(), input.options.begin(), input.options.end());
        Windows(verify);
    }
}
