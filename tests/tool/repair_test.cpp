// repair: rewritten heads, lost indexes, cut files, and what stands beside the video.
#include "files/avi_repair.h"
#include "files/bitmap_info.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "tool/avi_bytes.h"
#include "tool/run_command.h"
#include "tool_error.h"

#include <nlohmann/json.hpp>

#include <random>

namespace {

constexpr int kFrames = 5;
constexpr size_t kFrameBytes = 32 * 56 * 3 / 2;

class RepairTest : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi")},
                MakeY4m(32, 56, "F25:1 Ib A10:11 C420mpeg2", kFrameBytes, kFrames));
        good = ReadFile(Name("clip.avi"));
        file = ReadAviBytes(good);
    }

    CommandResult Repair(const Bytes& bytes)
    {
        WriteFile(Name("bad.avi"), bytes);
        const CommandResult result = Run({"repair", Name("bad.avi"), "-o", Name("out.avi")});
        EXPECT_EQ(ReadFile(Name("bad.avi")), bytes) << "the input stays as it is";
        return result;
    }

    /// What has to become the very file that encode wrote.
    void ExpectWholeAgain(const Bytes& bytes, const std::string& line)
    {
        const CommandResult result = Repair(bytes);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_NE(result.out.find(line), std::string::npos) << result.out;
        EXPECT_TRUE(ReadFile(Name("out.avi")) == good) << line;
        EXPECT_FALSE(Exists("out.avi.part"));
    }

    Bytes good;
    AviFile file;
};

/// A file as a recorder writes it: two streams of sound around the video, texts before and behind.
OtherWriter MakeFileWithSound(const std::vector<Bytes>& frames, const Bytes& bitmapInfo)
{
    OtherWriter file;
    file.List(avi::kRiff, avi::kAvi, 0);
    file.List(avi::kList, avi::kHdrl, 0);
    file.Stream(MakeFourCC("auds"), 1, Bytes(18, 1));
    file.Chunk(avi::kStrn, {'d', 'e', 's', 'k', 0});
    file.Stream(avi::kVids, 0, bitmapInfo);
    file.Chunk(avi::kVprp, Bytes(68, 3));
    file.Stream(MakeFourCC("auds"), 1, Bytes(18, 2));
    file.List(avi::kList, MakeFourCC("INFO"), 4 + 8 + 6);
    file.Chunk(MakeFourCC("ISFT"), Bytes(6, 'x'));
    file.List(avi::kList, avi::kMovi, 0);
    for (size_t i = 0; i < frames.size(); ++i) {
        file.Chunk(MakeFourCC("00wb"), Bytes(31 + i, static_cast<uint8_t>(i)));
        file.Chunk(MakeFourCC("01dc"), frames[i]);
        if (i % 2 == 0)
            file.Chunk(MakeFourCC("02wb"), Bytes(9, static_cast<uint8_t>(100 + i)));
    }
    file.Chunk(MakeFourCC("00wb"), Bytes(5, 77)); // behind the last frame
    file.Chunk(MakeFourCC("IDIT"), Bytes(10, 'd'));
    return file;
}

/// The payloads of all chunks that are not the video stream's own, by id, in file order.
std::vector<std::pair<uint32_t, Bytes>> OthersOf(const Bytes& bytes)
{
    std::vector<std::pair<uint32_t, Bytes>> list;
    for (const AviChunk& chunk : ReadAviBytes(bytes).others)
        if ((chunk.id & 0xFFFF) != ('i' | 'x' << 8) && chunk.id != avi::kIndx)
            list.emplace_back(chunk.id, MemorySource(bytes).ReadBytes(chunk.offset, chunk.size));
    return list;
}

} // namespace

TEST_F(RepairTest, RewrittenHeadsBecomeWhole)
{
    const size_t strf = Find(good, avi::kStrf) + 8, strh = Find(good, avi::kStrh) + 8;
    Bytes bytes = good;
    SetWord(bytes, strf, 40);
    ExpectWholeAgain(bytes, "put right: the bitmap header gave its size as 40 bytes\n");
    SetWord(bytes, strh + 4, 0);
    SetWord(bytes, strf + 4, 31);
    SetWord(bytes, strf + 16, MakeFourCC("o8y0"));
    ExpectWholeAgain(bytes, "put right: the bitmap header gave the size as 31x56\n");
    SetWord(bytes, strh + 4, MakeFourCC("o8y0"));
    SetWord(bytes, strf + 16, 0);
    ExpectWholeAgain(bytes, "put right: the bitmap header named the codec ????\n");
}

TEST_F(RepairTest, RecordIsTakenFromTheFrames)
{
    const size_t strf = Find(good, avi::kStrf) + 8;
    // A record that is overwritten, byte by byte where it matters, or gone altogether.
    for (const size_t at : {40u, 49u, 50u, 52u, 56u, 60u}) {
        Bytes bytes = good;
        bytes[strf + at] ^= 2;
        ExpectWholeAgain(bytes, at == 40
                                    ? "there was no configuration record: taken from the frames"
                                    : "the configuration record did not fit the frames: taken from them");
    }
    // Size and version that no reader takes.
    for (const auto& [at, value] : {std::pair(44u, 31), std::pair(44u, 33), std::pair(48u, 8)}) {
        Bytes bytes = good;
        bytes[strf + at] = static_cast<uint8_t>(value);
        ExpectWholeAgain(bytes, "the configuration record did not fit the frames: taken from them");
    }
    MemorySink sink;
    AviWriter writer(sink, {file.handler, 32, 56, file.rate,
                            Bytes(file.bitmapInfo.begin(), file.bitmapInfo.begin() + 40)});
    for (const Bytes& frame : FramesOf(good, file))
        writer.WriteFrame(frame);
    std::vector<AviExtraChunk> extras;
    for (const AviChunk& chunk : file.others)
        extras.push_back({chunk.id, MemorySource(good).ReadBytes(chunk.offset, chunk.size)});
    writer.Finish(extras);
    const Bytes& bytes = sink.bytes;
    WriteFile(Name("short.avi"), bytes);
    EXPECT_EQ(RunGood({"decode", Name("short.avi"), "-o", "-"}),
              RunGood({"decode", Name("clip.avi"), "-o", "-"}));
    ExpectWholeAgain(bytes, "there was no configuration record: taken from the frames");
}

TEST_F(RepairTest, IndexesAreWrittenAnew)
{
    const size_t indx = Find(good, avi::kIndx), movi = Find(good, avi::kMovi);
    const size_t ix = Find(good, MakeFourCC("ix00"), movi), idx1 = Find(good, avi::kIdx1);
    Bytes bytes = good;
    SetWord(bytes, indx, avi::kJunk);
    SetWord(bytes, ix, avi::kJunk);
    SetWord(bytes, idx1, avi::kJunk);
    ExpectWholeAgain(bytes, "put right: there is no index\n");
    bytes = good;
    SetWord(bytes, ix + 12, 3); // entries
    ExpectWholeAgain(bytes, "put right: the index has gaps: it lacks 2 of 5 frames\n");
    SetWord(bytes, ix + 8 + avi::kIndexHeadSize, 1); // place of the first frame
    ExpectWholeAgain(bytes, "put right: the index does not fit the frames\n");
}

TEST_F(RepairTest, WholeFileIsCopiedAndSaidToBeWhole)
{
    ExpectWholeAgain(good, "nothing was wrong\n");
}

TEST_F(RepairTest, CutFilesKeepTheirWholeFrames)
{
    const std::string y4m = RunGood({"decode", Name("clip.avi"), "-o", "-"});
    const size_t movi = Find(good, avi::kMovi) + 4;
    for (size_t size = movi; size < good.size(); size += 97) {
        const CommandResult result = Repair(Bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(size)));
        const auto whole = static_cast<size_t>(std::ranges::count_if(
            file.frames, [&](const AviFrame& frame) { return frame.offset + frame.size <= size; }));
        if (whole == 0) {
            ExpectError(result, 1, "not a single frame");
            continue;
        }
        const AviFile out = ReadAviBytes(ReadFile(Name("out.avi")));
        EXPECT_TRUE(out.IsWhole()) << size;
        ASSERT_EQ(out.frames.size(), whole);
        if (whole < file.frames.size()) {
            EXPECT_EQ(result.code, 3) << size;
        }
        if (result.code == 3) {
            ExpectError(result, 3, "could not be made whole");
            const std::string count = whole == 1 ? "frame" : std::to_string(whole) + " frames";
            EXPECT_NE(result.out.find("lost: the file was cut off after its first " + count + "\n"),
                      std::string::npos)
                << result.out;
        }
        if (whole > 0)
            RunGood({"verify", Name("out.avi")});
        else
            EXPECT_EQ(Run({"verify", Name("out.avi")}).out, "the file has no frames\n");
        EXPECT_EQ(PicturesOf(RunGood({"decode", Name("out.avi"), "-o", "-"})),
                  PicturesOf(y4m).substr(0, whole * (6 + kFrameBytes)));
    }
}

TEST_F(RepairTest, DamageIsToldAndLeftAsItIs)
{
    Bytes bytes = good;
    bytes[static_cast<size_t>(file.frames[2].offset) + 16] ^= 1; // width
    CommandResult result = Repair(bytes);
    ExpectError(result, 3, "could not be made whole");
    EXPECT_NE(result.out.find("lost: frame 2: damaged, frame of another size; copied unchanged\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(ReadFile(Name("out.avi")), bytes);

    bytes = good;
    bytes[static_cast<size_t>(file.frames[3].offset) + file.frames[3].size - 40] ^= 1; // payload
    result = Repair(bytes);
    ExpectError(result, 3, "could not be made whole");
    EXPECT_NE(result.out.find("lost: frame 3: damaged in block"), std::string::npos) << result.out;

    bytes = good;
    bytes[Find(good, avi::kChecksums) + 60] ^= 1;
    result = Repair(bytes);
    ExpectError(result, 3, "could not be made whole");
    EXPECT_NE(result.out.find("lost: the checksums are damaged"), std::string::npos) << result.out;

    bytes = good;
    SetWord(bytes, static_cast<size_t>(file.frames[1].offset) - 4, 50);
    ExpectWholeAgain(bytes,
                     "put right: the chain of chunks was broken in 1 place\n"); // the index has the size
}

TEST_F(RepairTest, ChecksumsAreAddedToSoundFramesOnly)
{
    Bytes bytes = good;
    SetWord(bytes, Find(good, avi::kChecksums), avi::kJunk);
    WriteFile(Name("plain.avi"), bytes);
    const std::string said =
        RunGood({"repair", Name("plain.avi"), "-o", Name("with.avi"), "--add-checksums"});
    EXPECT_NE(said.find("checksums: added for 5 frames\n"), std::string::npos) << said;
    const Bytes with = ReadFile(Name("with.avi"));
    const AviFile read = ReadAviBytes(with);
    const auto chunkOf = [](const Bytes& from, const AviFile& in) {
        const auto at = std::ranges::find(in.others, avi::kChecksums, &AviChunk::id);
        return at == in.others.end() ? Bytes{} : MemorySource(from).ReadBytes(at->offset, at->size);
    };
    EXPECT_EQ(chunkOf(with, read), chunkOf(good, file)) << "those that encode stores";

    bytes[static_cast<size_t>(file.frames[2].offset) + 16] ^= 1; // width
    WriteFile(Name("damaged.avi"), bytes);
    const CommandResult result =
        Run({"repair", Name("damaged.avi"), "-o", Name("without.avi"), "--add-checksums"});
    EXPECT_EQ(result.code, 3);
    EXPECT_NE(result.out.find("checksums: not added"), std::string::npos) << result.out;
}

TEST_F(RepairTest, RateThatALibraryOfHostsTurnedOverInTheMainHeaderIsNoFault)
{
    Bytes bytes = good;
    SetWord(bytes, Find(bytes, avi::kAvih) + 8, static_cast<uint32_t>(1e6 * file.rate.Value()));
    WriteFile(Name("host.avi"), bytes);
    RunGood({"verify", Name("host.avi")});
    EXPECT_NE(RunGood({"repair", Name("host.avi"), "-o", Name("out.avi")}).find("nothing was wrong"),
              std::string::npos);
    SetWord(bytes, Find(bytes, avi::kAvih) + 8, 12345);
    WriteFile(Name("host.avi"), bytes);
    EXPECT_EQ(Run({"verify", Name("host.avi")}).code, 1);
}

TEST_F(RepairTest, RateComesFromWhatIsLeftOrFromTheOption)
{
    Bytes bytes = good;
    SetWord(bytes, Find(good, avi::kStrh) + 8 + 24, 0);
    EXPECT_EQ(Repair(bytes).code, 0);
    EXPECT_EQ(ReadAviBytes(ReadFile(Name("out.avi"))).rate, (Rational{25, 1})) << "the main header has it";
    RunGood({"repair", Name("bad.avi"), "-o", Name("fast.avi"), "--fps", "60000/1001"});
    EXPECT_EQ(ReadAviBytes(ReadFile(Name("fast.avi"))).rate, (Rational{60000, 1001}));
    ExpectError(Run({"repair", Name("bad.avi"), "-o", Name("x.avi"), "--fps", "0"}), 2, "bad frame rate");
}

TEST_F(RepairTest, SoundAndTextsAreKept)
{
    const std::vector<Bytes> frames = FramesOf(good, file);
    Bytes info = file.bitmapInfo;
    SetWord(info, 0, 40);
    const OtherWriter made = MakeFileWithSound(frames, info);
    const CommandResult result = Repair(made.bytes);
    EXPECT_EQ(result.code, 3) << "its segment has no size, as that of a recording that was broken off";
    EXPECT_NE(result.out.find("5 frames and 9 chunks of other streams\n"), std::string::npos) << result.out;

    const Bytes bytes = ReadFile(Name("out.avi"));
    const AviFile out = ReadAviBytes(bytes);
    EXPECT_TRUE(out.IsWhole());
    EXPECT_EQ(out.stream, 1);
    EXPECT_EQ(FramesOf(bytes, out), frames);
    EXPECT_EQ(out.bitmapInfo, file.bitmapInfo);
    ASSERT_EQ(out.streams.size(), 3u);
    const AviFile in = ReadAviBytes(made.bytes);
    for (const size_t stream : {0u, 2u}) {
        ASSERT_EQ(out.streams[stream].size(), in.streams[stream].size());
        for (size_t i = 1; i < out.streams[stream].size(); ++i) { // behind strh
            const AviChunk &a = out.streams[stream][i], &b = in.streams[stream][i];
            EXPECT_EQ(a.id, b.id);
            EXPECT_EQ(MemorySource(bytes).ReadBytes(a.offset, a.size),
                      MemorySource(made.bytes).ReadBytes(b.offset, b.size));
        }
    }
    EXPECT_EQ(out.streams[1].back().id, avi::kVprp);
    // The chunks of sound in their order, and then the texts.
    auto expected = OthersOf(made.bytes);
    std::ranges::stable_sort(expected, {},
                             [](const auto& chunk) { return chunk.first >> 16 != ('w' | 'b' << 8); });
    EXPECT_EQ(OthersOf(bytes), expected);
    // Each stands before the frame that it stood before.
    for (const auto& [id, payload] : expected) {
        const auto before = [&, &id = id, &payload = payload](const Bytes& avi) {
            const AviFile read = ReadAviBytes(avi);
            for (const AviChunk& chunk : read.others)
                if (chunk.id == id && MemorySource(avi).ReadBytes(chunk.offset, chunk.size) == payload)
                    return std::ranges::count_if(
                        read.frames, [&](const AviFrame& frame) { return frame.offset < chunk.offset; });
            return ptrdiff_t{-1};
        };
        if (id >> 16 == ('w' | 'b' << 8)) {
            EXPECT_EQ(before(bytes), before(made.bytes));
        }
    }
    // idx1 names the chunks of all streams.
    EXPECT_EQ(WordAt(bytes, Find(bytes, avi::kIdx1) + 4), 16u * (kFrames + 9));
    EXPECT_EQ(Repair(bytes).code, 0);
    EXPECT_EQ(ReadFile(Name("out.avi")), bytes) << "a second repair changes nothing";
}

TEST_F(RepairTest, FramesOfAStreamWithoutHeaderAreCopiedAsOtherChunks)
{
    Bytes bytes = good;
    SetWord(bytes, static_cast<size_t>(file.frames[3].offset) - avi::kChunkHead, MakeFourCC("01dc"));
    for (const uint32_t index : {avi::kIndx, MakeFourCC("ix00"), avi::kIdx1})
        SetWord(bytes, Find(bytes, index), 0);
    OtherWriter more{bytes};
    more.Chunk(MakeFourCC("one "), Bytes(8)); // salvage would doubt what two unknown chunks follow
    more.Chunk(MakeFourCC("two "), Bytes(8));
    more.Chunk(avi::kJunk, Bytes(8));
    EXPECT_EQ(Repair(more.bytes).code, 3);

    const Bytes repaired = ReadFile(Name("out.avi"));
    const AviFile out = ReadAviBytes(repaired);
    EXPECT_TRUE(out.IsWhole());
    EXPECT_EQ(out.frames.size(), 4u);
    const auto others = OthersOf(repaired);
    EXPECT_EQ(std::ranges::count(others, MakeFourCC("01dc"), [](const auto& chunk) { return chunk.first; }),
              1);
    EXPECT_EQ(Repair(repaired).code, 0);
    EXPECT_EQ(ReadFile(Name("out.avi")), repaired) << "a second repair changes nothing";
}

TEST_F(RepairTest, OtherStreamsAreIndexedInEverySegment)
{
    MemorySink sink;
    AviStreamFormat format{MakeFourCC("O8Y0"), 64, 48, {25, 1}, MakeBitmapInfo(64, 48)};
    format.number = 1;
    Bytes header;
    Put<uint32_t>(header, MakeFourCC("auds"));
    header.resize(56);
    SetWord(header, 44, 4); // sample size
    format.others.push_back({header, {}});
    const auto frames = SomeFrames(100);
    AviWriter writer(sink, format, 38000);
    for (const Bytes& frame : frames) {
        writer.WriteOther(0, 'w' | 'b' << 8, Bytes(20, 1));
        writer.WriteFrame(frame);
    }
    writer.Finish();
    const AviFile read = ReadAviBytes(sink.bytes);
    EXPECT_TRUE(read.IsWhole());
    EXPECT_EQ(FramesOf(sink.bytes, read), frames);
    EXPECT_EQ(WordAt(sink.bytes, Find(sink.bytes, avi::kStrh) + 8 + 32), 100u * 20 / 4) << "samples";
    // The index of the sound: every entry leads to one of its chunks.
    const size_t indx = Find(sink.bytes, avi::kIndx) + 8;
    EXPECT_EQ(WordAt(sink.bytes, indx + 8), MakeFourCC("00wb"));
    size_t entries = 0;
    ASSERT_GT(WordAt(sink.bytes, indx + 4), 1u);
    for (size_t s = 0; s < WordAt(sink.bytes, indx + 4); ++s) {
        const auto ix = static_cast<size_t>(Get<uint64_t>(sink.bytes, indx + 24 + s * 16));
        EXPECT_EQ(WordAt(sink.bytes, ix), MakeFourCC("ix00"));
        for (size_t i = 0; i < WordAt(sink.bytes, ix + 12); ++i, ++entries) {
            const size_t at =
                static_cast<size_t>(Get<uint64_t>(sink.bytes, ix + 20)) + WordAt(sink.bytes, ix + 32 + i * 8);
            EXPECT_EQ(WordAt(sink.bytes, at - 8), MakeFourCC("00wb"));
            EXPECT_EQ(WordAt(sink.bytes, at - 4), 20u);
        }
    }
    EXPECT_EQ(entries, 100u);
}

TEST_F(RepairTest, InputIsNeverTheOutput)
{
    const std::string input = Name("clip.avi");
    ExpectError(Run({"repair", input, "-o", input}), 2, "overwrite the input");
    ExpectError(Run({"repair", input, "-o", Name(".") + "/clip.avi"}), 2, "overwrite the input");
    std::error_code error;
    std::filesystem::create_hard_link(PathOf(input), PathOf(Name("hard.avi")), error);
    if (!error) {
        ExpectError(Run({"repair", input, "-o", Name("hard.avi")}), 2, "overwrite the input");
    }
    std::filesystem::create_symlink(PathOf(input), PathOf(Name("soft.avi")), error);
    if (!error) {
        ExpectError(Run({"repair", input, "-o", Name("soft.avi")}), 2, "overwrite the input");
    }
    ExpectError(Run({"repair", input, "-o", Name("out.y4m")}), 2, "ends in .avi");
    EXPECT_EQ(ReadFile(input), good);
}

TEST_F(RepairTest, NothingToRepairFromIsAnErrorAndLeavesNothing)
{
    WriteText(Name("x.avi"), "no video at all");
    ExpectError(Run({"repair", Name("x.avi"), "-o", Name("out.avi")}), 1, "not an AVI file");
    Bytes bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(file.frames[0].offset));
    bytes[Find(bytes, avi::kStrf) + 48] ^= 1; // the record's magic, and no frame is left
    WriteFile(Name("x.avi"), bytes);
    ExpectError(Run({"repair", Name("x.avi"), "-o", Name("out.avi")}), 1, "nothing to repair it from");
    EXPECT_FALSE(Exists("out.avi"));
    EXPECT_FALSE(Exists("out.avi.part"));
}

TEST_F(RepairTest, NoBytesHarmItAndWhatItWritesIsWhole)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const OtherWriter made = MakeFileWithSound(FramesOf(good, file), file.bitmapInfo);
    const Bytes* const sources[] = {&good, &made.bytes};
    for (int round = 0; round < (LongTests() ? 50000 : 400); ++round) {
        Bytes bytes = *sources[round % 2];
        const size_t reach = round % 3 == 0 ? 600 : bytes.size();
        for (size_t n = 1 + random() % 10; n > 0; --n)
            bytes[random() % reach] = static_cast<uint8_t>(random());
        if (random() % 4 == 0)
            bytes.resize(random() % bytes.size());
        const MemorySource source(bytes);
        try {
            AviRepair repair(source, "test.avi");
            MemorySink sink;
            repair.Run(sink, [](uint32_t) { return true; });
            const AviFile out = ReadAviBytes(sink.bytes);
            ASSERT_EQ(out.frames.size(), repair.FrameCount()) << "seed " << seed << " round " << round;
            ASSERT_TRUE(out.IsWhole()) << "seed " << seed << " round " << round
                                       << (out.headFaults.empty() ? "" : out.headFaults.front());
            ASSERT_TRUE(RecordIn(out.bitmapInfo)) << "seed " << seed << " round " << round;
        } catch (const ToolError&) { // a refusal is a good answer
        }
    }
}
