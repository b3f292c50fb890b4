// Checksums from the chunk to what verify says: damage is located, and editing a file raises no alarm.
#include "files/avi_records.h"
#include "files/checksum_table.h"
#include "files/frame_structure.h"
#include "files/little_endian.h"
#include "files/video_stream.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "tool/run_command.h"

#include <nlohmann/json.hpp>

#include <random>

namespace {

constexpr int kWidth = 32, kHeight = 84, kFrames = 6; // three bands
constexpr size_t kFrameBytes = kWidth * kHeight * 3 / 2;

class Checksums : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi")},
                MakeY4m(kWidth, kHeight, "C420jpeg", kFrameBytes, kFrames));
        bytes = ReadFile(Name("clip.avi"));
        file = ReadAviBytes(bytes);
        frames = FramesOf(bytes, file);
        const auto chunk = std::ranges::find(file.others, avi::kChecksums, &AviChunk::id);
        ASSERT_NE(chunk, file.others.end());
        table = MemorySource(bytes).ReadBytes(chunk->offset, chunk->size);
    }

    /// A file of these frames and that table, as a tool would make it that copies chunks.
    Bytes Rewrite(const std::vector<Bytes>& newFrames, const Bytes& newTable) const
    {
        MemorySink sink;
        AviWriter writer(sink, {file.handler, kWidth, kHeight, file.rate, file.bitmapInfo});
        for (const Bytes& frame : newFrames)
            writer.WriteFrame(frame);
        const std::vector<AviExtraChunk> extras{{avi::kChecksums, newTable}};
        writer.Finish(extras);
        return sink.bytes;
    }

    CommandResult Verify(const Bytes& avi)
    {
        WriteFile(Name("other.avi"), avi);
        return Run({"verify", Name("other.avi")});
    }

    FrameStructure StructureOf(const Bytes& frame) const
    {
        return ReadFrameStructure(MemorySource(frame), 0, static_cast<uint32_t>(frame.size()),
                                  ReadHeader(file.bitmapInfo.data() + 40), 3);
    }

    /// The frame with one bit turned over in the middle of a block's payload.
    Bytes DamagedIn(const Bytes& frame, size_t block) const
    {
        Bytes damaged = frame;
        const BlockStructure place = StructureOf(frame).blocks[block];
        damaged[place.offset + place.size / 2] ^= 0x10;
        return damaged;
    }

    Bytes bytes;
    AviFile file;
    std::vector<Bytes> frames;
    Bytes table; // the chunk
};

} // namespace

TEST_F(Checksums, TableKeepsWhatFramesAndPicturesAre)
{
    const auto parsed = ChecksumTable::Parse(table, 3, 9);
    ASSERT_TRUE(parsed);
    ASSERT_EQ(parsed->Count(), size_t{kFrames});
    EXPECT_EQ(parsed->Chunk(), table);
    const std::string pictures = PicturesOf(RunGood({"decode", Name("clip.avi"), "-o", "-"}));
    const FrameHasher hasher(*FindCompressedFormat(kCodeYuv420), ReadHeader(file.bitmapInfo.data() + 40));
    for (size_t i = 0; i < frames.size(); ++i) {
        const std::span picture(reinterpret_cast<const uint8_t*>(pictures.data()) + i * (kFrameBytes + 6) + 6,
                                kFrameBytes);
        const FrameChecksums actual = hasher.Hash(picture, frames[i]);
        const FrameChecksums stored = parsed->At(i);
        EXPECT_EQ(stored.size, frames[i].size());
        EXPECT_EQ(stored.frame, actual.frame);
        EXPECT_EQ(stored.picture, actual.picture);
        EXPECT_EQ(stored.bands, actual.bands);
        EXPECT_EQ(stored.blocks, actual.blocks);
    }
}

TEST_F(Checksums, HashIsThePublishedOne)
{
    // XXH3, 64 bits, seed 0, of no bytes at all.
    EXPECT_EQ(FrameHasher::HashBytes({}), 0x2D06800538D394C2u);
}

TEST_F(Checksums, BandsCoverTheirRowsInEveryPlane)
{
    FrameHasher hasher(*FindCompressedFormat(kCodeYuv420), ReadHeader(file.bitmapInfo.data() + 40));
    Bytes picture(kFrameBytes, 7);
    const auto before = hasher.HashBands(picture);
    const size_t luma = kWidth * kHeight, chroma = luma / 4;
    const size_t starts[] = {0, luma, luma + chroma}, pitches[] = {kWidth, kWidth / 2, kWidth / 2};
    for (size_t plane = 0; plane < 3; ++plane)
        for (size_t row = 0; row < (plane == 0 ? 84u : 42u); ++row) {
            uint8_t& sample = picture[starts[plane] + row * pitches[plane] + row % 7];
            sample ^= 1;
            const auto after = hasher.HashBands(picture);
            for (size_t band = 0; band < 3; ++band)
                EXPECT_EQ(after[band] != before[band], band == row / (plane == 0 ? 28 : 14))
                    << "plane " << plane << " row " << row;
            sample ^= 1;
        }
}

TEST_F(Checksums, EveryKindOfInputGetsThemAndPassesVerify)
{
    const auto rawFile = [&](const char* layout, int width, int height) {
        Bytes raw(static_cast<size_t>(PictureBytes(LayoutNamed(layout), width, height)) * 2);
        for (size_t i = 0; i < raw.size(); ++i)
            raw[i] = static_cast<uint8_t>(i * i / 7);
        WriteFile(Name("in.raw"), raw);
        return std::to_string(width) + "x" + std::to_string(height) + ":" + layout;
    };
    for (const char* layout : {"RGB24", "RGB32", "RGBA", "YV12", "UYVY", "v308", "v408", "AYUV", "Y800"})
        for (const int height : {4, 28, 58}) {
            RunGood({"encode", Name("in.raw"), "--raw", rawFile(layout, 10, height), "-o", Name("o.avi")});
            EXPECT_EQ(RunGood({"verify", Name("o.avi")}), "2 frames are sound and match their checksums\n")
                << layout;
        }
    // With a conversion on the way they are those of what is stored.
    EXPECT_EQ(Run({"encode", Name("in.raw"), "--raw", rawFile("RGB24", 8, 40), "--format", "yuv420", "-o",
                   Name("o.avi")})
                  .code,
              0);
    EXPECT_EQ(RunGood({"verify", Name("o.avi")}), "2 frames are sound and match their checksums\n");
    const auto json = nlohmann::json::parse(RunGood({"info", Name("o.avi"), "--json"}));
    EXPECT_EQ(json["checksums"], true);
}

TEST_F(Checksums, DamageIsLocatedToTheBlock)
{
    const struct {
        size_t block;
        const char* text;
    } cases[] = {{0, "block 0 (Y, rows 0-27); the picture is wrong in rows 0-"},
                 {2, "block 2 (Y, rows 56-83); the picture is wrong in rows 56-83"},
                 {4, "block 4 (U, rows 28-55); the picture is wrong in rows 28-55"},
                 {6, "block 6 (V, rows 0-27); the picture is wrong in rows 0-27"}};
    for (const auto& [block, text] : cases) {
        std::vector<Bytes> damaged = frames;
        damaged[3] = DamagedIn(frames[3], block);
        const CommandResult result = Verify(Rewrite(damaged, table));
        ExpectError(result, 1, "1 fault found");
        EXPECT_TRUE(result.out.starts_with("frame 3: damaged in " + std::string(text).substr(0, 24)))
            << result.out;
    }
    std::vector<Bytes> damaged = frames;
    damaged[0] = DamagedIn(DamagedIn(DamagedIn(frames[0], 0), 1), 7);
    damaged[5] = DamagedIn(frames[5], 8);
    damaged[5].back() ^= 1; // in the tail
    damaged[2].back() ^= 1;
    const CommandResult result = Verify(Rewrite(damaged, table));
    ExpectError(result, 1, "3 faults found");
    EXPECT_NE(result.out.find("frame 0: damaged in blocks 0-1 (Y, rows 0-55), block 7 (V, rows 28-55); the "
                              "picture is wrong in rows 0-55\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(
        result.out.find(
            "frame 2: damaged in block 8 (V, rows 56-83); the picture is still right\nframe 5: damaged"),
        std::string::npos)
        << result.out;
}

TEST_F(Checksums, AnyBitOfAnyFrameIsNoticed)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (int round = 0; round < (LongTests() ? 3000 : 60); ++round) {
        std::vector<Bytes> damaged = frames;
        const size_t number = random() % frames.size();
        damaged[number][random() % frames[number].size()] ^= static_cast<uint8_t>(1 << random() % 8);
        const CommandResult result = Verify(Rewrite(damaged, table));
        ExpectError(result, 1, "1 fault found");
        EXPECT_TRUE(result.out.starts_with("frame " + std::to_string(number) + ": damaged"))
            << result.out << " seed " << seed;
    }
}

TEST_F(Checksums, CuttingJoiningAndReorderingRaiseNoAlarm)
{
    using List = std::vector<size_t>;
    for (const List& order :
         {List{2, 3, 4}, List{0, 1}, List{5, 4, 3, 2, 1, 0}, List{0, 1, 2, 3, 4, 5, 0, 1, 2}, List{3}}) {
        std::vector<Bytes> edited;
        for (const size_t number : order)
            edited.push_back(frames[number]);
        const CommandResult result = Verify(Rewrite(edited, table));
        EXPECT_EQ(result.code, 0) << result.err << result.out;
        EXPECT_EQ(result.out, order.size() == 1 ? "1 frame is sound and matches its checksums\n"
                                                : std::to_string(order.size()) +
                                                      " frames are sound and match their checksums\n");
    }
    // Damage is still found in them.
    const CommandResult result = Verify(Rewrite({frames[2], DamagedIn(frames[3], 4), frames[4]}, table));
    ExpectError(result, 1, "1 fault found");
    EXPECT_TRUE(result.out.starts_with("frame 1: damaged in block 4")) << result.out;
}

TEST_F(Checksums, DamagedFrameAtTheCutOfAFileIsKnownByItsNeighbors)
{
    for (const size_t damagedFrame : {2, 4}) {
        std::vector<Bytes> cut = {frames[2], frames[3], frames[4]};
        cut[damagedFrame - 2] = DamagedIn(frames[damagedFrame], 4);
        const CommandResult result = Verify(Rewrite(cut, table));
        ExpectError(result, 1, "1 fault found");
        EXPECT_TRUE(result.out.starts_with("frame " + std::to_string(damagedFrame - 2) +
                                           ": damaged in block 4 (U, "
                                           "rows 28-55); the picture is wrong in rows 28-55"))
            << result.out;
    }
}

TEST_F(Checksums, ForeignFramesHaveNone)
{
    RunGood({"encode", "-", "-o", Name("noise.avi"), "--method", "gradient"},
            MakeY4m(kWidth, kHeight, "C420jpeg", kFrameBytes, 20));
    const Bytes other = ReadFile(Name("noise.avi"));
    std::vector<Bytes> foreign = FramesOf(other, ReadAviBytes(other));
    std::vector<Bytes> edited = frames;
    // One that happens to have the size of its neighbour, in the middle: the neighbour itself is still there.
    Bytes twin = frames[3];
    twin[StructureOf(twin).blocks[0].offset] ^= 2; // a block flag that no reader uses
    edited.insert(edited.begin() + 3, twin);
    edited.insert(edited.end(), {foreign[18], foreign[19]});
    const CommandResult result = Verify(Rewrite(edited, table));
    EXPECT_EQ(result.code, 0) << result.err << result.out;
    EXPECT_EQ(result.out, "remark: frame 3: block flags that no reader uses\n"
                          "structure only for 3 of 9 frames: no checksums for them; frames that match their "
                          "checksums: 6\n");
}

TEST_F(Checksums, FileWithoutThemIsVerifiedStructurally)
{
    MemorySink sink;
    AviWriter writer(sink, {file.handler, kWidth, kHeight, file.rate, file.bitmapInfo});
    for (const Bytes& frame : frames)
        writer.WriteFrame(frame);
    writer.Finish();
    const CommandResult result = Verify(sink.bytes);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out,
              "structure only: no checksums in this file; 6 frames decode, and all blocks end where "
              "their samples do\n");
    EXPECT_EQ(nlohmann::json::parse(RunGood({"info", Name("other.avi"), "--json"}))["checksums"], false);
}

TEST_F(Checksums, DamagedTableIsSaidAndNotBelieved)
{
    for (size_t at = 0; at < table.size(); at += 5) {
        Bytes damaged = table;
        damaged[at] ^= 0x40;
        EXPECT_FALSE(ChecksumTable::Parse(damaged, 3, 9)) << at;
    }
    for (size_t size = 0; size < table.size(); ++size)
        EXPECT_FALSE(ChecksumTable::Parse(std::span(table).first(size), 3, 9)) << size;
    EXPECT_FALSE(ChecksumTable::Parse(table, 2, 9));
    EXPECT_FALSE(ChecksumTable::Parse(table, 3, 12));

    Bytes damaged = table;
    damaged[100] ^= 1;
    const CommandResult result = Verify(Rewrite(frames, damaged));
    ExpectError(result, 1, "1 fault found");
    EXPECT_EQ(result.out, "the checksums are damaged or belong to another video\n");
}

TEST_F(Checksums, CountsThatLieAreRefusedBeforeTheyAreBelieved)
{
    const auto sealed = [](Bytes chunk) {
        const uint64_t hash = FrameHasher::HashBytes(std::span(chunk).subspan(8));
        std::memcpy(chunk.data(), &hash, sizeof hash);
        return chunk;
    };
    ASSERT_TRUE(ChecksumTable::Parse(sealed(table), 3, 9));
    for (const size_t at : {8u, 12u, 16u, 20u, 24u})
        for (const uint32_t value : {0u, 7u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Bytes lying = table;
            std::memcpy(lying.data() + at, &value, sizeof value);
            EXPECT_FALSE(ChecksumTable::Parse(sealed(lying), 3, 9)) << value << " at " << at;
        }
}

TEST_F(Checksums, WrongPictureOfSoundBytesIsAFault)
{
    auto parsed = *ChecksumTable::Parse(table, 3, 9);
    ChecksumTable other(3, 9);
    for (size_t i = 0; i < parsed.Count(); ++i) {
        FrameChecksums entry = parsed.At(i);
        if (i == 4) {
            entry.picture ^= 1;
            entry.bands[1] ^= 1;
        }
        other.Add(entry);
    }
    const CommandResult result = Verify(Rewrite(frames, other.Chunk()));
    ExpectError(result, 1, "1 fault found");
    EXPECT_EQ(result.out, "frame 4: its bytes are whole, but it decodes to another picture than was coded in "
                          "rows 28-55\n");
}

TEST_F(Checksums, CutFileLosesThemAndSaysSo)
{
    const Bytes part(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(file.frames[4].offset + 10));
    const CommandResult result = Verify(part);
    ExpectError(result, 1, "2 faults found");
    EXPECT_EQ(result.out,
              "the file is cut off after its first 4 frames\nother programs cannot seek in this file: the "
              "index does not fit the frames\nrun orvane repair to have a file that other programs read\n");
}

TEST_F(Checksums, KilledRecordingHasThoseOfItsFrames)
{
    RunGood({"encode", "-", "-o", Name("slow.avi"), "--fps", "1"},
            MakeY4m(kWidth, kHeight, "C420jpeg", kFrameBytes, 5)); // two seconds are two frames
    const Bytes whole = ReadFile(Name("slow.avi"));
    const AviFile slow = ReadAviBytes(whole);
    ASSERT_EQ(slow.frames.size(), 5u);
    EXPECT_EQ(VideoStream(std::make_unique<MemorySource>(whole), "whole").ReadChecksums().table->Count(), 5u);

    const auto end = static_cast<ptrdiff_t>(slow.frames[4].offset + slow.frames[4].size);
    const Bytes killed(whole.begin(), whole.begin() + end);
    const VideoStream stream(std::make_unique<MemorySource>(killed), "killed");
    EXPECT_EQ(stream.FrameCount(), 5u);
    EXPECT_EQ(stream.ReadChecksums().table->Count(), 4u);
}

TEST_F(Checksums, DecodeNamesFramesAndRowsThatDoNotMatch)
{
    std::vector<Bytes> damaged = frames;
    damaged[1] = DamagedIn(frames[1], 4);
    damaged[3] = DamagedIn(DamagedIn(frames[3], 0), 2);
    WriteFile(Name("bad.avi"), Rewrite(damaged, table));
    const auto decode = [&](const std::vector<std::string>& options) {
        std::vector<std::string> line = {"decode", Name("bad.avi"), "-o", "-"};
        line.insert(line.end(), options.begin(), options.end());
        return Run(line);
    };
    const CommandResult whole = decode({});
    ExpectError(whole, 3, "2 of 6 frames are damaged (1 in rows 28-55, 3 in rows 0-27, 56-83)");
    EXPECT_EQ(PicturesOf(whole.out).size(),
              PicturesOf(RunGood({"decode", Name("clip.avi"), "-o", "-"})).size())
        << "all frames are there";
    EXPECT_EQ(decode({"--no-check"}).code, 0);
    EXPECT_EQ(decode({"--no-check"}).out, whole.out);
    EXPECT_EQ(decode({"--frames", "4-5"}).code, 0);
    ExpectError(decode({"--frames", "3"}), 3, "1 of 1 frame is damaged (3 in rows 0-27, 56-83)");
    ExpectError(decode({"--frames", "2-5"}), 3, "1 of 4 frames is damaged (3 in rows 0-27, 56-83)");

    Bytes other = table;
    other[100] ^= 1;
    WriteFile(Name("bad.avi"), Rewrite(frames, other));
    ExpectError(decode({}), 3, "the checksums are damaged");
    EXPECT_EQ(decode({"--no-check"}).code, 0);
}

TEST_F(Checksums, DecodeLooksAtPayloadsWhereThereAreNone)
{
    std::vector<Bytes> damaged = frames;
    const BlockStructure block = StructureOf(frames[2]).blocks[1];
    std::fill_n(damaged[2].begin() + block.offset + 10, 40, uint8_t{0xA5});
    MemorySink sink;
    AviWriter writer(sink, {file.handler, kWidth, kHeight, file.rate, file.bitmapInfo});
    for (const Bytes& frame : damaged)
        writer.WriteFrame(frame);
    writer.Finish();
    WriteFile(Name("bad.avi"), sink.bytes);
    ExpectError(Run({"decode", Name("bad.avi"), "-o", "-"}), 3, "1 of 6 frames is damaged (2 in rows 28-55)");
    EXPECT_EQ(Run({"decode", Name("bad.avi"), "-o", "-", "--no-check"}).code, 0);
    EXPECT_TRUE(
        Run({"verify", Name("bad.avi")}).out.starts_with("frame 2: damaged in block 1 (Y, rows 28-55): "));
}

TEST_F(Checksums, FileWithoutAPictureIsNotSound)
{
    EXPECT_EQ(Verify(Rewrite({}, table)).out, "the file has no frames\n");
    const CommandResult first = Verify(Rewrite({{}, frames[0], {}}, table));
    ExpectError(first, 1, "1 fault found");
    EXPECT_EQ(first.out, "frame 0: it has no bytes, and no picture comes before it\n");
    const CommandResult none = Verify(Rewrite({{}, {}}, table));
    ExpectError(none, 1, "2 faults found");
    EXPECT_EQ(none.out.find("sound"), std::string::npos);
    EXPECT_EQ(Verify(Rewrite({frames[0], {}, frames[1]}, table)).code, 0);
}
