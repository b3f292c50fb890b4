// Salvage: frames are found by their own headers wherever the container is broken, and everything that can be
// had comes back.
#include "files/avi_repair.h"
#include "tool/avi_bytes.h"
#include "tool/run_command.h"

namespace {

constexpr int kFrames = 6;
constexpr size_t kPictureBytes = 32 * 56 * 3 / 2;

class Salvage : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi")},
                MakeY4m(32, 56, "F30000:1001 C420mpeg2", kPictureBytes, kFrames));
        good = ReadFile(Name("clip.avi"));
        file = ReadAviBytes(good);
        frames = FramesOf(good, file);
        y4m = RunGood({"decode", Name("clip.avi"), "-o", "-"});
    }

    CommandResult Repair(const Bytes& bytes)
    {
        WriteFile(Name("bad.avi"), bytes);
        return Run({"repair", Name("bad.avi"), "-o", Name("out.avi")});
    }

    /// Every frame comes back as it was, and repair and decode end with 0.
    void ExpectAllBack(const Bytes& bytes, const std::string& what)
    {
        const CommandResult result = Repair(bytes);
        EXPECT_EQ(result.code, 0) << what << ": " << result.err << result.out;
        EXPECT_EQ(result.out.find("nothing was wrong"), std::string::npos) << what;
        const Bytes out = ReadFile(Name("out.avi"));
        EXPECT_TRUE(FramesOf(out, ReadAviBytes(out)) == frames) << what;
        const std::string verified = RunGood({"verify", Name("out.avi")});
        EXPECT_NE(verified.find("match"), std::string::npos) << what << ": " << verified;
        const CommandResult decoded = Run({"decode", Name("bad.avi"), "-o", "-"});
        EXPECT_EQ(decoded.code, 0) << what << ": " << decoded.err;
        EXPECT_EQ(PicturesOf(decoded.out), PicturesOf(y4m)) << what;
    }

    Bytes good;
    AviFile file;
    std::vector<Bytes> frames;
    std::string y4m;
};

} // namespace

TEST_F(Salvage, AnyDamagedHeaderWordLosesNothing)
{
    const size_t movi = Find(good, avi::kMovi);
    struct Word {
        const char* what;
        size_t at;
    };
    const Word words[] = {{"RIFF", 0},
                          {"AVI", 8},
                          {"LIST of hdrl", 12},
                          {"hdrl", Find(good, avi::kHdrl)},
                          {"avih", Find(good, avi::kAvih)},
                          {"LIST of strl", Find(good, avi::kStrl) - 8},
                          {"strl", Find(good, avi::kStrl)},
                          {"strh", Find(good, avi::kStrh)},
                          {"vids", Find(good, avi::kStrh) + 8},
                          {"strf", Find(good, avi::kStrf)},
                          {"LIST of movi", movi - 8},
                          {"movi", movi},
                          {"ix00", Find(good, MakeFourCC("ix00"), movi)},
                          {"idx1", Find(good, avi::kIdx1)},
                          {"indx", Find(good, avi::kIndx)}};
    for (const Word& word : words)
        for (const uint32_t mask :
             {0x00000001u, 0x00000800u, 0x80000000u, 0xFFFFFFFFu, WordAt(good, word.at)}) {
            Bytes bytes = good;
            SetWord(bytes, word.at, WordAt(bytes, word.at) ^ mask); // the last mask makes it zero
            ExpectAllBack(bytes, std::string(word.what) + " with mask " + std::to_string(mask));
        }
}

TEST_F(Salvage, WipedHeadOfTheFileLosesNothing)
{
    for (const size_t count : {12u, 512u, 2048u}) {
        Bytes bytes = good;
        std::fill_n(bytes.begin(), count, uint8_t{0});
        ExpectAllBack(bytes, std::to_string(count) + " bytes");
    }
}

TEST_F(Salvage, WipedChunkHeadDoesNotLetTheFrameBeforeSwallowItsNeighbor)
{
    for (size_t i = 0; i < frames.size(); ++i)
        for (const size_t count : {4u, 8u}) {
            Bytes bytes = good;
            std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(file.frames[i].offset - count), count,
                        uint8_t{0});
            ExpectAllBack(bytes, std::to_string(count) + " bytes before frame " + std::to_string(i));
        }
}

TEST_F(Salvage, BareFramesAreAFile)
{
    Bytes bytes;
    for (const Bytes& frame : frames)
        PutBytes(bytes, frame);
    const CommandResult result = Repair(bytes);
    EXPECT_EQ(result.code, 0) << result.err << result.out;
    const Bytes out = ReadFile(Name("out.avi"));
    EXPECT_TRUE(FramesOf(out, ReadAviBytes(out)) == frames);
    EXPECT_EQ(PicturesOf(RunGood({"decode", Name("bad.avi"), "-o", "-"})), PicturesOf(y4m));
}

TEST_F(Salvage, BareFramesOfManyBlocksAreAFile)
{
    constexpr int kHeight = 800 * 28; // 2,400 blocks: their offsets take far more than code tables
    RunGood({"encode", "-", "-o", Name("tall.avi")},
            MakeY4m(4, kHeight, "F25:1 C420mpeg2", 4 * kHeight * 3 / 2, 2));
    const Bytes tall = ReadFile(Name("tall.avi"));
    const std::vector<Bytes> expected = FramesOf(tall, ReadAviBytes(tall));
    Bytes bytes;
    for (const Bytes& frame : expected)
        PutBytes(bytes, frame);
    EXPECT_TRUE(FramesOf(bytes, ReadAviBytes(bytes)) == expected);
}

TEST_F(Salvage, ZeroedHeadOfTheSecondSegmentLosesNothing)
{
    MemorySink sink;
    AviWriter writer(sink, {file.handler, 32, 56, file.rate, file.bitmapInfo}, 22000);
    for (const Bytes& frame : frames)
        writer.WriteFrame(frame);
    std::vector<AviExtraChunk> extras;
    for (const AviChunk& chunk : file.others)
        extras.push_back({chunk.id, MemorySource(good).ReadBytes(chunk.offset, chunk.size)});
    writer.Finish(extras);
    const size_t second = Find(sink.bytes, avi::kAvix) - 8;
    for (const size_t count : {4u, 12u, 24u}) {
        Bytes bytes = sink.bytes;
        std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(second), count, uint8_t{0});
        ExpectAllBack(bytes, std::to_string(count) + " bytes");
    }
}

TEST_F(Salvage, FourCharactersInAFrameAreNoChunk)
{
    std::vector<Bytes> speaking = frames;
    constexpr uint32_t kHeads[] = {avi::kStrh, avi::kIdx1, avi::kChecksums, MakeFourCC("ix00"), avi::kList};
    for (size_t i = 0; i < std::size(kHeads); ++i)
        SetWord(speaking[i], speaking[i].size() / 2, kHeads[i]);
    MemorySink sink;
    AviWriter writer(sink, {file.handler, 32, 56, file.rate, file.bitmapInfo});
    for (const Bytes& frame : speaking)
        writer.WriteFrame(frame);
    writer.Finish({});
    Bytes& bytes = sink.bytes;
    std::fill_n(bytes.begin(), 12, uint8_t{0});
    EXPECT_TRUE(FramesOf(bytes, ReadAviBytes(bytes)) == speaking);
}

TEST_F(Salvage, IndexDecidesTheOrderAndBothAreSaid)
{
    OtherWriter made;
    made.List(avi::kRiff, avi::kAvi, 0);
    made.List(avi::kList, avi::kHdrl, 0);
    made.Stream(avi::kVids, file.handler, file.bitmapInfo);
    const size_t movi = made.bytes.size() + 8;
    made.List(avi::kList, avi::kMovi, 0);
    std::vector<uint32_t> places;
    for (const Bytes& frame : frames) {
        places.push_back(static_cast<uint32_t>(made.bytes.size() - movi));
        made.Chunk(MakeFourCC("00dc"), frame);
    }
    Bytes idx1;
    for (size_t n = 0; n < frames.size(); ++n) {
        const size_t i = n == 0 ? 0 : frames.size() - n;
        for (const uint32_t word :
             {MakeFourCC("00dc"), 0x10u, places[i], static_cast<uint32_t>(frames[i].size())})
            Put<uint32_t>(idx1, word);
    }
    made.Chunk(avi::kIdx1, idx1);
    const CommandResult result = Repair(made.bytes);
    EXPECT_NE(
        result.out.find("the index plays the frames in another order than they were stored in: it decides"),
        std::string::npos)
        << result.out;
    const Bytes out = ReadFile(Name("out.avi"));
    const std::vector<Bytes> played = FramesOf(out, ReadAviBytes(out));
    ASSERT_EQ(played.size(), frames.size());
    EXPECT_EQ(played[1], frames.back());
}

TEST_F(Salvage, FileWithoutAFrameIsAnError)
{
    const Bytes bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(file.frames[0].offset));
    ExpectError(Repair(bytes), 1, "not a single frame");
}
