// What `verify --strict` says of our own files, and of those of other writers.
#include "files/little_endian.h"
#include "tool/avi_bytes.h"
#include "tool/run_command.h"

namespace {

constexpr int kWidth = 32, kHeight = 60;
constexpr size_t kFrameBytes = kWidth * kHeight * 3 / 2;
constexpr size_t kRecord = avi::kBitmapHeaderSize; // in the bitmap information

class Strict : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi")},
                MakeY4m(kWidth, kHeight, "C420jpeg", kFrameBytes, 2));
        bytes = ReadFile(Name("clip.avi"));
        const AviFile file = ReadAviBytes(bytes);
        info = file.bitmapInfo;
        frames = FramesOf(bytes, file);
    }

    /// The complaints about a file.
    std::string ComplaintsAbout(const Bytes& file)
    {
        WriteFile(Name("changed.avi"), file);
        const CommandResult result = Run({"verify", Name("changed.avi"), "--strict", "-q"});
        EXPECT_EQ(result.code, result.err.empty() ? 0 : 1);
        EXPECT_EQ(result.code == 0, result.out.ends_with("the file is as a writer has to write it\n"));
        return result.out;
    }

    /// The complaints about a file with these frames and no checksums.
    std::string Complaints(const std::vector<Bytes>& changed)
    {
        MemorySink sink;
        AviStreamFormat format;
        format.handler = handler;
        format.width = kWidth;
        format.height = kHeight;
        format.rate = {30, 1};
        format.bitmapInfo = info;
        AviWriter writer(sink, format);
        for (const Bytes& frame : changed)
            writer.WriteFrame(frame);
        writer.Finish();
        return ComplaintsAbout(sink.bytes);
    }

    /// Expects that a byte of the bitmap header or of the record after it is named.
    void ExpectNamedInfo(const std::string& rule, size_t at, uint8_t value)
    {
        const Bytes good = info;
        info[at] = value;
        const std::string lines = Complaints(frames);
        EXPECT_NE(lines.find(rule + "\n"), std::string::npos) << rule << "\n" << lines;
        info = good;
    }

    /// Expects that a change of frame 1 is named.
    template <class Change>
    void ExpectNamed(const std::string& rule, Change change)
    {
        std::vector<Bytes> changed = frames;
        change(changed[1]);
        const std::string lines = Complaints(changed);
        EXPECT_NE(lines.find("frame 1: " + rule), std::string::npos) << rule << "\n" << lines;
        EXPECT_EQ(lines.find("frame 0"), std::string::npos) << lines;
    }

    /// Where block `block` starts in a frame.
    static size_t BlockAt(const Bytes& frame, size_t block) { return 32 + WordAt(frame, 36 + 4 * block); }

    /// Replaces the table of the first coder, and moves what follows.
    static void SetFirstTable(Bytes& frame, const Bytes& table)
    {
        constexpr size_t kBlocks = 9, kTables = 32 + 4 * (kBlocks + 1) + 1 + kBlocks;
        size_t end = kTables;
        for (size_t entries = 0; entries < 256; ++entries) {
            const uint8_t token = frame[end++];
            entries += token >= 128 ? frame[end++] : 0;
        }
        const auto moved = static_cast<uint32_t>(table.size() - (end - kTables));
        frame.erase(frame.begin() + kTables, frame.begin() + static_cast<ptrdiff_t>(end));
        frame.insert(frame.begin() + kTables, table.begin(), table.end());
        for (size_t word = 0; word <= kBlocks; ++word)
            SetWord(frame, 32 + 4 * word, WordAt(frame, 32 + 4 * word) + moved);
    }

    uint32_t handler = MakeFourCC("O8Y0");
    Bytes bytes;
    Bytes info;
    std::vector<Bytes> frames;
};

} // namespace

TEST_F(Strict, OwnFilesKeepAllRules)
{
    EXPECT_NE(RunGood({"verify", Name("clip.avi"), "--strict", "-q"}).find("as a writer has to write it"),
              std::string::npos);
    EXPECT_EQ(Complaints(frames).find("frame 0"), std::string::npos);
    std::string pixels;
    for (int i = 0; i < 3 * kWidth * kHeight * 4; ++i)
        pixels += static_cast<char>(i % 4 == 3 ? 255 : i < 9000 ? i * i / 7 : i / 50);
    WriteText(Name("pixels.raw"), pixels);
    for (const char* const format : {"rgb", "rgba", "yuv444", "yuv422", "yuv420", "yuva444", "gray"})
        for (const char* const method : {"median", "dynamic"})
            for (const char* const scan : {"--interlaced", "--no-interlaced"}) {
                EXPECT_EQ(Run({"encode", Name("pixels.raw"), "-o", Name("own.avi"), "--raw", "32x60:RGBA",
                               "--format", format, "--method", method, scan})
                              .code,
                          0);
                RunGood({"verify", Name("own.avi"), "--strict", "-q"});
            }
}

TEST_F(Strict, EveryRuleOfFramesIsNamed)
{
    ExpectNamed("it has no header", [](Bytes& frame) { frame.erase(frame.begin(), frame.begin() + 32); });
    ExpectNamed("its header is not the configuration record", [](Bytes& frame) { frame[24] = 1; });
    ExpectNamed("its header is not the configuration record", [](Bytes& frame) { SetWord(frame, 28, 0); });
    ExpectNamed("word 0 of the offset table is not word 1", [](Bytes& frame) { frame[32] ^= 1; });
    ExpectNamed("block 3: the next block does not follow on it",
                [](Bytes& frame) { SetWord(frame, 36 + 4 * 4, WordAt(frame, 36 + 4 * 3) - 1); });
    ExpectNamed("it has not one coder for each plane", [](Bytes& frame) { frame[32 + 40 + 1] = 2; });
    ExpectNamed("the runs of code lengths 0 are not the longest", [](Bytes& frame) {
        SetFirstTable(frame, {0x88, 0x00, 0x88, 0xFE});
    });
    ExpectNamed("code lengths 0 leave code space unused", [](Bytes& frame) {
        SetFirstTable(frame, {0x89, 0xFF});
    });
    ExpectNamed("block 0 does not follow on the code lengths", [](Bytes& frame) {
        frame.insert(frame.begin() + static_cast<ptrdiff_t>(BlockAt(frame, 0)), {1, 2});
        for (size_t word = 0; word <= 9; ++word)
            SetWord(frame, 32 + 4 * word, WordAt(frame, 32 + 4 * word) + 2);
    });
    ExpectNamed("block 2: flag bits without a meaning are set",
                [](Bytes& frame) { frame[BlockAt(frame, 2)] |= 0x80; });
    ExpectNamed("block 2: no predictor from 1 to 3", [](Bytes& frame) { frame[BlockAt(frame, 2) + 1] = 0; });
    ExpectNamed("damaged in block 2 (Y, rows 56-59): unknown predictor 4",
                [](Bytes& frame) { frame[BlockAt(frame, 2) + 1] = 4; });
    ExpectNamed("damaged in block 8", [](Bytes& frame) { frame.resize(frame.size() + 2); });
    ExpectNamed("damaged in block 8", [](Bytes& frame) { frame[frame.size() - 8] = 1; });
}

TEST_F(Strict, RawBlocksHaveToBeThoseThatNoCodeMakesSmaller)
{
    // The last block is made raw, of zeros, which have the shortest code.
    ExpectNamed("block 8: raw, though its code is smaller", [](Bytes& frame) {
        const size_t at = BlockAt(frame, 8);
        frame.resize(at);
        frame.insert(frame.end(), {1, 1});
        frame.resize(frame.size() + 16 * 2);
        frame.resize((frame.size() + 16) / 2 * 2);
    });
}

TEST_F(Strict, ACodeOfTheSizeOfItsSamplesIsNamed)
{
    RunGood({"encode", "-", "-o", Name("gray.avi")}, MakeY4m(kWidth, 28, "Cmono", kWidth * 28, 1));
    const Bytes gray = ReadFile(Name("gray.avi"));
    const AviFile file = ReadAviBytes(gray);
    info = file.bitmapInfo;
    Bytes frame = FramesOf(gray, file).front();
    frame.resize(32);
    Put<uint32_t>(frame, 12);
    Put<uint32_t>(frame, 12);
    frame.insert(frame.end(), {1, 0, 0x88, 0xFF, 0, 1}); // all codes have 8 bits
    frame.resize((frame.size() + kWidth * 28 + 16) / 2 * 2);
    EXPECT_NE(Complaints({frame}).find("frame 0: block 0: coded, though that is not smaller than raw"),
              std::string::npos);
}

TEST_F(Strict, EveryRuleOfHeadersIsNamed)
{
    ExpectNamedInfo("the bitmap header: biSize is not 72", 0, 40);
    ExpectNamedInfo("the bitmap header: biWidth or biHeight is not that of the record", 4, 16);
    ExpectNamedInfo("the bitmap header: biPlanes is not 1", 12, 0);
    ExpectNamedInfo("the bitmap header: biBitCount is not that of the format", 14, 12);
    ExpectNamedInfo("the bitmap header: biCompression is not the FourCC of the format", 16, 'o');
    ExpectNamedInfo("the bitmap header: fields after biSizeImage are not 0", 39, 1);
    ExpectNamedInfo("the configuration record: the version is not 7", kRecord + 8, 6);
    ExpectNamedInfo("the configuration record: the matrix is not 1 or 2", kRecord + 11, 0);
    ExpectNamedInfo("the configuration record: flag bits without a meaning are set", kRecord + 12, 0x80);
    ExpectNamedInfo("the configuration record: flag bit 17 is clear", kRecord + 14, 0x20);
    ExpectNamedInfo("the configuration record: the coder type is not 2", kRecord + 14, 0x12);
    ExpectNamedInfo("the configuration record: width or height is below 4", kRecord + 16, 2);
    ExpectNamedInfo("the configuration record: width or height is below 4", kRecord + 20, 2);
    ExpectNamedInfo("the configuration record: codedWidth is not the width", kRecord + 24, 1);
    ExpectNamedInfo("the configuration record: the block height is not 28", kRecord + 28, 27);
    info.insert(info.end(), 4, 0);
    EXPECT_NE(Complaints(frames).find("it is not followed by a record of 32 bytes alone"), std::string::npos);
    ExpectNamedInfo("the configuration record: headerSize is not 32", kRecord + 4, 36);
}

TEST_F(Strict, FullRangeAndTheMatrixOfRgbAreNamed)
{
    WriteText(Name("rgb.raw"), std::string(size_t{3} * 32 * 28, 'x'));
    RunGood({"encode", Name("rgb.raw"), "-o", Name("rgb.avi"), "--raw", "32x28:RGB24"});
    const Bytes rgb = ReadFile(Name("rgb.avi"));
    const AviFile file = ReadAviBytes(rgb);
    info = file.bitmapInfo;
    frames = FramesOf(rgb, file);
    handler = MakeFourCC("O8RG");
    EXPECT_EQ(Complaints(frames).find("RGB"), std::string::npos);
    ExpectNamedInfo("the configuration record: RGB of full range", kRecord + 12, 4);
    ExpectNamedInfo("the configuration record: the matrix is not 1 or 2", kRecord + 11, 1);
}

TEST_F(Strict, NamesOfTheStreamAndItsChunksAreNamed)
{
    constexpr char kHandlerRule[] = "the handler is not the FourCC of the format\n";
    constexpr char kNameRule[] = "chunks of frames are not named ##dc\n";
    const std::string good = Complaints(frames);
    EXPECT_EQ(good.find(kHandlerRule), std::string::npos);
    EXPECT_EQ(good.find(kNameRule), std::string::npos);
    for (const uint32_t other : {uint32_t{0}, MakeFourCC("o8y0"), MakeFourCC("O8RG")}) {
        handler = other;
        EXPECT_NE(Complaints(frames).find(kHandlerRule), std::string::npos);
    }
    Bytes renamed = bytes;
    for (size_t at = 0; at + 4 <= bytes.size(); ++at)
        if (WordAt(bytes, at) == MakeFourCC("00dc"))
            SetWord(renamed, at, MakeFourCC("00db"));
    EXPECT_NE(ComplaintsAbout(renamed).find(kNameRule), std::string::npos);
}
