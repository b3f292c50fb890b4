// Files of many segments, and one of more than 4 GiB: written by the tool, read back, sought in.
#include "driver/message_table.h"
#include "files/avi_writer.h"
#include "files/pixel_layout.h"
#include "host/codec_host.h"
#include "support/long_tests.h"
#include "tool/run_command.h"

#include <algorithm>
#include <iostream>
#include <random>
#include <streambuf>

using namespace driver;

namespace {

/// Noise that differs from frame to frame and cannot be coded smaller.
std::string NoisePicture(size_t size, uint64_t number)
{
    static std::string noise;
    if (noise.size() != size) {
        std::mt19937_64 random(11);
        noise.resize(size);
        std::ranges::generate(noise, [&] { return static_cast<char>(random()); });
    }
    std::string picture = noise;
    std::rotate(picture.begin(), picture.begin() + static_cast<ptrdiff_t>(number * 997 % size),
                picture.end());
    return picture;
}

/// A Y4M stream of any length that never lies anywhere as a whole.
class NoiseStream final : public std::streambuf
{
  public:
    NoiseStream(std::string head, size_t pictureBytes_, uint64_t frames_)
        : chunk(std::move(head)), pictureBytes(pictureBytes_), frames(frames_)
    {
        setg(chunk.data(), chunk.data(), chunk.data() + chunk.size());
    }

  protected:
    int_type underflow() override
    {
        if (next == frames)
            return traits_type::eof();
        chunk = "FRAME\n" + NoisePicture(pictureBytes, next++);
        setg(chunk.data(), chunk.data(), chunk.data() + chunk.size());
        return traits_type::to_int_type(chunk[0]);
    }

  private:
    std::string chunk;
    size_t pictureBytes;
    uint64_t frames;
    uint64_t next = 0;
};

class BigFiles : public CommandTest
{};

} // namespace

TEST_F(BigFiles, EveryFrameOfEverySegmentIsFoundByItsNumber)
{
    constexpr int kFrames = 24;
    const PixelLayout& layout = LayoutNamed("I420");
    const CompressedFormat& format = *FindFormatByOption("yuv420");
    const size_t bytes = static_cast<size_t>(PictureBytes(layout, 64, 48));
    {
        OutputFile file(PathOf(Name("segments.avi")), {});
        FrameCompressor coder(&HandleMessage, format, layout, 64, 48);
        AviWriter writer(file, {format.fourcc, 64, 48, Rational{}, coder.BitmapInfo()}, 30'000);
        for (uint64_t number = 0; number < kFrames; ++number) {
            const std::string picture = NoisePicture(bytes, number);
            writer.WriteFrame(
                coder.Compress({reinterpret_cast<const uint8_t*>(picture.data()), picture.size()}));
        }
        writer.Finish();
        file.Commit();
    }
    const Bytes file = ReadFile(Name("segments.avi"));
    const Bytes mark = {'A', 'V', 'I', 'X'};
    int segments = 0;
    for (auto at = file.begin(); (at = std::search(at, file.end(), mark.begin(), mark.end())) != file.end();
         ++at)
        ++segments;
    EXPECT_GE(segments, 3);
    for (uint64_t number = 0; number < kFrames; ++number) {
        RunGood({"decode", Name("segments.avi"), "-o", Name("one.raw"), "--frames", std::to_string(number)});
        const Bytes one = ReadFile(Name("one.raw"));
        EXPECT_EQ(std::string(one.begin(), one.end()), NoisePicture(bytes, number)) << "frame " << number;
    }
}

TEST_F(BigFiles, BeyondFourGigabytesAreWrittenReadAndSoughtIn)
{
    constexpr int kSide = 2048;
    constexpr size_t kPictureBytes = size_t{3} * kSide * kSide;
    constexpr uint64_t kFrames = 360;
    if (!LongTests())
        GTEST_SKIP() << "writes 4.5 GB";
    if (std::filesystem::space(folder.Path()).available < (uint64_t{8} << 30))
        GTEST_SKIP() << "the disk has no room for it";

    NoiseStream noise("YUV4MPEG2 W2048 H2048 F25:1 Ip C444\n", kPictureBytes, kFrames);
    std::istream input(&noise);
    std::ostringstream out, err;
    ToolContext context{&HandleMessage, input, out, err};
    ASSERT_EQ(RunTool({"encode", "-", "-o", Name("big.avi")}, context), 0) << err.str();
    const uint64_t size = std::filesystem::file_size(PathOf(Name("big.avi")));
    EXPECT_GT(size, uint64_t{1} << 32);
    std::cout << out.str() << size << " bytes in the file\n";

    RunGood({"verify", Name("big.avi")});
    EXPECT_NE(RunGood({"info", Name("big.avi")}).find(std::to_string(kFrames)), std::string::npos);
    for (const uint64_t number : {uint64_t{0}, uint64_t{85}, kFrames / 2, kFrames - 20, kFrames - 1}) {
        RunGood({"decode", Name("big.avi"), "-o", Name("one.raw"), "--frames", std::to_string(number)});
        const Bytes one = ReadFile(Name("one.raw"));
        EXPECT_TRUE(std::string(one.begin(), one.end()) == NoisePicture(kPictureBytes, number))
            << "frame " << number;
    }

    // Cut off behind 4 GiB, as by a full disk: the frames before are there.
    std::filesystem::resize_file(PathOf(Name("big.avi")), (uint64_t{1} << 32) + 50'000'000);
    const CommandResult cut = Run({"info", Name("big.avi")});
    const uint64_t left = ((uint64_t{1} << 32) + 50'000'000) / (size / kFrames) - 1;
    const CommandResult last =
        Run({"decode", Name("big.avi"), "-o", Name("one.raw"), "--frames", std::to_string(left - 1)});
    EXPECT_TRUE(last.code == 0 || last.code == 3) << last.err << cut.out;
    const Bytes one = ReadFile(Name("one.raw"));
    EXPECT_TRUE(std::string(one.begin(), one.end()) == NoisePicture(kPictureBytes, left - 1));
}
