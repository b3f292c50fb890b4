// Inputs that ask for memory or time out of proportion to their size: the tool, as a process, stays within
// bounds that follow from one picture and the length of the file.
#include "files/bitmap_info.h"
#include "files/little_endian.h"
#include "reliability/posix/tool_process_test.h"
#include "support/long_tests.h"
#include "tool/avi_bytes.h"

#include <zlib.h>

namespace {

// Sanitizers keep shadow memory and freed blocks, and run several times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double kMore = 12;
#else
constexpr double kMore = 1;
#endif

const std::vector<std::vector<std::string>> kReaders = {
    {"info", "in.avi"},
    {"info", "in.avi", "--json"},
    {"info", "in.avi", "--frames"},
    {"verify", "in.avi"},
    {"decode", "in.avi", "-o", "/dev/null", "--frames", "0"},
    {"repair", "in.avi", "-o", "fixed.avi", "--force"},
    {"plot", "in.avi", "-o", "sizes.svg", "--force"},
    {"inspect", "in.avi", "--frame", "0", "-o", "map.png", "--force"}};

class Bounds : public ToolProcessTest
{
  protected:
    /// What the tool takes for nothing.
    Bounds() : idle(RunToolProcess(folder, {"--version"}).peakMiB) {}

    ToolEnd Run(const std::vector<std::string>& line, double mebibytes, double seconds)
    {
        ToolEnd end = RunToolProcess(folder, line);
        EXPECT_LE(end.peakMiB, idle + mebibytes * kMore) << line.front();
        EXPECT_LE(end.seconds, seconds * kMore) << line.front();
        return end;
    }

    /// Bitmap header and record of a picture of that size.
    static Bytes InfoOf(int size) { return MakeBitmapInfo(size, size); }

    /// A frame of `size` bytes with the header that belongs to a record.
    static Bytes FrameOf(const Bytes& info, size_t size)
    {
        Bytes frame(info.begin() + avi::kBitmapHeaderSize, info.end());
        frame.resize(size);
        return frame;
    }

    static Bytes FileOf(const Bytes& info, const std::vector<Bytes>& frames, const Bytes& index = {})
    {
        OtherWriter made;
        made.List(avi::kRiff, avi::kAvi, 0);
        made.List(avi::kList, avi::kHdrl, 0);
        made.Stream(avi::kVids, MakeFourCC("O8Y0"), info);
        made.List(avi::kList, avi::kMovi, 0);
        for (const Bytes& frame : frames)
            made.Chunk(MakeFourCC("00dc"), frame);
        if (!index.empty())
            made.Chunk(avi::kIdx1, index);
        return made.bytes;
    }

    const double idle;
};

/// So many zeros, compressed. They are gone when this returns: a process begins with what its parent holds.
Bytes Deflated(size_t size)
{
    const Bytes zeros(size);
    Bytes data(1 << 20);
    uLongf dataSize = data.size();
    EXPECT_EQ(compress2(data.data(), &dataSize, zeros.data(), zeros.size(), 9), Z_OK);
    data.resize(dataSize);
    return data;
}

} // namespace

TEST_F(Bounds, ASmallFileDoesNotMakeRoomForALargePicture)
{
    const Bytes info = InfoOf(16384); // 384 MiB of samples
    struct Case {
        Bytes file;
        const char* repair; ///< what it says
    };
    const char* const kTooShort = "every frame is shorter than a picture of 16384x16384 can be";
    const Case cases[] = {{FileOf(info, {}), "there is not a single frame"},
                          {FileOf(info, {FrameOf(info, 40)}), kTooShort},
                          {FileOf(info, std::vector<Bytes>(1000, FrameOf(info, 500))), kTooShort}};
    for (const Case& example : cases) {
        WriteFile(Name("in.avi"), example.file);
        for (const auto& line : kReaders)
            ExpectError(Run(line, 16, 1), line.front() == "repair"
                                              ? example.repair
                                              : "shorter than a picture of 16384x16384 can be");
    }
}

TEST_F(Bounds, AnIndexThatNamesOneFrameManyTimesIsReadOnce)
{
    const Bytes info = InfoOf(64);
    Bytes index;
    for (int i = 0; i < 100000; ++i)
        for (const uint32_t word : {MakeFourCC("00dc"), 0x10u, 4u, 2000u})
            Put<uint32_t>(index, word);
    WriteFile(Name("in.avi"), FileOf(info, {FrameOf(info, 2000)}, index));
    for (const auto& line : kReaders)
        Run(line, 32, 2);
    // One index for a segment, which the index of indexes names again and again.
    Bytes super, segment;
    for (const uint32_t word : {4u, ~0u, MakeFourCC("00dc"), 0u, 0u, 0u})
        Put<uint32_t>(super, word);
    for (int i = 0; i < 12; ++i)
        for (const uint32_t word : {400u, 0u, 64u, 0xFFFFFFu})
            Put<uint32_t>(super, word);
    OtherWriter made;
    made.bytes = FileOf(info, {FrameOf(info, 2000)});
    made.Chunk(avi::kIndx, super);
    WriteFile(Name("in.avi"), made.bytes);
    for (const auto& line : kReaders)
        Run(line, 16, 1);
}

TEST_F(Bounds, AMillionEmptyFramesTakeNoMemoryToTellOf)
{
    const size_t count = LongTests() ? 1 << 20 : 1 << 18; // 8 bytes each
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "one.avi"}, Y4mHead() + Y4mFrames(1)).code, 0);
    const Bytes one = ReadFile(Name("one.avi"));
    const AviFile file = ReadAviBytes(one);
    Bytes bytes = FileOf(file.bitmapInfo, FramesOf(one, file));
    for (size_t i = 0; i < count; ++i)
        for (const uint32_t word : {MakeFourCC("00dc"), 0u})
            Put<uint32_t>(bytes, word);
    WriteFile(Name("in.avi"), bytes);
    const std::string all = Name("all");
    WriteText(all, "");
    for (const auto& line : kReaders) // repair writes an index with three entries for each frame
        Run(line, line.front() == "repair" ? 128 : 48, 20);
    const ToolEnd json = RunToolProcess(folder, {"info", "in.avi", "--json"}, {}, {.output = all});
    EXPECT_EQ(json.code, 0);
    EXPECT_GT(std::filesystem::file_size(all), 100 * count) << "every frame is told";
}

TEST_F(Bounds, APictureThatCompressesWellTakesSomePicturesOfMemory)
{
    constexpr uint32_t kSize = 4096; // 64 MiB of RGBA, a file of some 64 KiB
    constexpr double kPictureMiB = 4.0 * kSize * kSize / (1 << 20);
    const Bytes data = Deflated(kSize * (1 + 4 * size_t{kSize}));
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    const auto putBigEndian = [](Bytes& bytes, uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<uint8_t>(value >> shift));
    };
    const auto put = [&](const char* type, const Bytes& payload) {
        Bytes chunk(type, type + 4);
        PutBytes(chunk, payload);
        putBigEndian(file, static_cast<uint32_t>(payload.size()));
        PutBytes(file, chunk);
        putBigEndian(file, static_cast<uint32_t>(crc32(0, chunk.data(), static_cast<uInt>(chunk.size()))));
    };
    Bytes header;
    putBigEndian(header, kSize);
    putBigEndian(header, kSize);
    PutBytes(header, Bytes{8, 6, 0, 0, 0});
    put("IHDR", header);
    put("IDAT", data);
    put("IEND", {});
    EXPECT_LT(file.size(), 1u << 17);
    WriteFile(Name("in.png"), file);
    EXPECT_EQ(Run({"encode", "in.png", "-o", "new.avi"}, 6 * kPictureMiB, 10).code, 0);
    ExpectError(Run({"encode", "in.png", "-o", "other.avi", "--max-pixels", "1000000"}, 16, 1),
                "--max-pixels");
}

TEST_F(Bounds, SettingsOfLineEndsAreReadInTimeOrNotAtAll)
{
    for (const size_t size : {size_t{1} << 19, size_t{16} << 20}) {
        WriteText(Name("store.reg"), std::string(size, '\n'));
        EXPECT_EQ(Run({"config", "get", "O8Y0.CompMethod"}, 32, 2).code, 0);
        Run({"encode", "-", "-o", "x.avi", "--force"}, 32, 5);
    }
}
