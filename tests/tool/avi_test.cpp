// Writer and reader against each other, and the reader against files that other writers, tools and accidents
// leave.
#include "files/avi_records.h"
#include "files/little_endian.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "tool/avi_bytes.h"
#include "tool/tool_test_support.h"
#include "tool_error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace {

size_t CountSegments(const Bytes& bytes)
{
    size_t count = 0;
    for (size_t at = 0; at + 8 <= bytes.size(); at += 8 + WordAt(bytes, at + 4)) {
        EXPECT_EQ(WordAt(bytes, at), avi::kRiff);
        ++count;
    }
    return count;
}

/// The names of the chunks from `at` to `end`, of lists with what is in them, by their own sizes alone.
std::string ChunksOf(const Bytes& bytes, size_t at, size_t end)
{
    std::string names;
    for (size_t size = 0; at < end; at += 8 + size + size % 2) {
        if (end - at < 8 || (size = WordAt(bytes, at + 4)) > end - at - 8)
            return names + " broken";
        const uint32_t id = WordAt(bytes, at);
        names += " " + PrintableFourCC(id);
        if (id == avi::kRiff || id == avi::kList)
            names += " " + PrintableFourCC(WordAt(bytes, at + 8)) + " (" +
                     ChunksOf(bytes, at + 12, at + 8 + size) + " )";
    }
    return names;
}

} // namespace

TEST(Avi, EveryChunkLiesInItsList)
{
    const Bytes bytes = MakeAvi(SomeFrames(2));
    EXPECT_EQ(ChunksOf(bytes, 0, bytes.size()),
              " RIFF AVI  ( LIST hdrl ( avih LIST strl ( strh strf indx ) LIST odml ( dmlh ) )"
              " LIST movi ( 00dc 00dc ix00 ) idx1 )");
}

TEST(Avi, FilesOfEveryLengthReadBackWhole)
{
    for (const size_t count : {0u, 1u, 2u, 7u, 300u}) {
        const auto frames = SomeFrames(count);
        const Bytes bytes = MakeAvi(frames);
        const AviFile file = ReadAviBytes(bytes);
        EXPECT_EQ(FramesOf(bytes, file), frames) << count << " frames";
        EXPECT_TRUE(file.IsWhole()) << count << " frames";
        EXPECT_EQ(file.rate, (Rational{30000, 1001}));
        EXPECT_EQ(file.handler, MakeFourCC("O8Y0"));
        EXPECT_EQ(file.bitmapInfo, MakeBitmapInfo(64, 48));
        EXPECT_TRUE(file.others.empty());
        EXPECT_EQ(CountSegments(bytes), 1u);
    }
}

TEST(Avi, SegmentsKeepTheirLimitAndReadBackWhole)
{
    const auto frames = SomeFrames(200);
    for (const uint64_t limit : {20000u, 17500u, 18000u, 1000u, 1u}) {
        const Bytes bytes = MakeAvi(frames, limit);
        const AviFile file = ReadAviBytes(bytes);
        EXPECT_EQ(FramesOf(bytes, file), frames) << "limit " << limit;
        EXPECT_TRUE(file.IsWhole()) << "limit " << limit;
        EXPECT_GT(CountSegments(bytes), 1u);
        size_t segment = 0;
        for (size_t at = 0; at < bytes.size(); at += 8 + WordAt(bytes, at + 4), ++segment) {
            EXPECT_EQ(WordAt(bytes, at + 8), segment == 0 ? avi::kAvi : avi::kAvix);
            if (limit >= 17500) {
                EXPECT_LE(8 + WordAt(bytes, at + 4), limit);
            }
        }
    }
}

TEST(Avi, HeadTellsTotalAndFirstSegmentFrames)
{
    const Bytes bytes = MakeAvi(SomeFrames(200), 20000);
    const size_t avih = Find(bytes, avi::kAvih) + 8;
    const size_t strh = Find(bytes, avi::kStrh) + 8;
    const size_t dmlh = Find(bytes, avi::kDmlh) + 8;
    const size_t idx1 = Find(bytes, avi::kIdx1);
    EXPECT_EQ(WordAt(bytes, strh + 32), 200u);
    EXPECT_EQ(WordAt(bytes, dmlh), 200u);
    EXPECT_EQ(WordAt(bytes, avih + 16), WordAt(bytes, idx1 + 4) / 16);
    EXPECT_LT(WordAt(bytes, avih + 16), 200u);
    EXPECT_EQ(WordAt(bytes, avih), 33367u) << "microseconds a frame at 30000/1001";
}

TEST(Avi, EveryIndexEntryLeadsToItsFrame)
{
    const auto frames = SomeFrames(50);
    const Bytes bytes = MakeAvi(frames, 18500);
    // idx1 counts from the type of the list of frames.
    const size_t movi = Find(bytes, avi::kMovi);
    const size_t idx1 = Find(bytes, avi::kIdx1);
    for (size_t i = 0; i < WordAt(bytes, idx1 + 4) / 16; ++i) {
        const size_t entry = idx1 + 8 + i * 16;
        EXPECT_EQ(WordAt(bytes, entry + 4), avi::kKeyFrame);
        const size_t chunk = movi + WordAt(bytes, entry + 8);
        EXPECT_EQ(WordAt(bytes, chunk), MakeFourCC("00dc"));
        EXPECT_EQ(WordAt(bytes, chunk + 4), frames[i].size());
        EXPECT_EQ(WordAt(bytes, entry + 12), frames[i].size());
    }
    // indx leads to the index of each segment, and that to the payloads.
    const size_t indx = Find(bytes, avi::kIndx) + 8;
    size_t frame = 0;
    for (size_t s = 0; s < WordAt(bytes, indx + 4); ++s) {
        const size_t entry = indx + 24 + s * 16;
        const size_t ix = static_cast<size_t>(Get<uint64_t>(bytes, entry));
        EXPECT_EQ(WordAt(bytes, ix), MakeFourCC("ix00"));
        EXPECT_EQ(WordAt(bytes, entry + 8), 8 + WordAt(bytes, ix + 4));
        EXPECT_EQ(WordAt(bytes, entry + 12), WordAt(bytes, ix + 12));
        const auto base = Get<uint64_t>(bytes, ix + 20);
        for (size_t i = 0; i < WordAt(bytes, ix + 12); ++i, ++frame) {
            const size_t payload = static_cast<size_t>(base) + WordAt(bytes, ix + 32 + i * 8);
            ASSERT_LT(frame, frames.size());
            ASSERT_EQ(WordAt(bytes, ix + 36 + i * 8), frames[frame].size());
            EXPECT_TRUE(std::equal(frames[frame].begin(), frames[frame].end(), bytes.begin() + payload));
        }
    }
    EXPECT_EQ(frame, frames.size());
}

TEST(Avi, EmptyFramesStay)
{
    std::vector<Bytes> frames = SomeFrames(5);
    frames[2].clear();
    frames[4].clear();
    const Bytes bytes = MakeAvi(frames);
    const AviFile file = ReadAviBytes(bytes);
    EXPECT_EQ(FramesOf(bytes, file), frames);
    EXPECT_TRUE(file.IsWhole());
}

TEST(Avi, CutAnywhereGivesTheWholeFramesBefore)
{
    const auto frames = SomeFrames(12);
    for (const uint64_t limit : {AviWriter::kDefaultSegmentLimit, uint64_t{17400}}) {
        const Bytes bytes = MakeAvi(frames, limit);
        const AviFile whole = ReadAviBytes(bytes);
        const size_t movi = Find(bytes, avi::kMovi) + 4;
        for (size_t size = 0; size < bytes.size(); ++size) {
            const Bytes part(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size));
            const auto complete = std::ranges::count_if(
                whole.frames, [&](const AviFrame& frame) { return frame.offset + frame.size <= size; });
            try {
                const AviFile file = ReadAviBytes(part);
                EXPECT_EQ(file.frames.size(), static_cast<size_t>(complete)) << "cut at " << size;
                EXPECT_TRUE(
                    std::ranges::equal(file.frames, std::span(whole.frames).first(file.frames.size())));
                // Only idx1 may go unnoticed: the other index still names all frames.
                EXPECT_TRUE(file.cut || file.index == AviIndexState::Whole) << "cut at " << size;
                EXPECT_TRUE(file.cut || file.frames.size() == frames.size()) << "cut at " << size;
                EXPECT_EQ(file.brokenPlaces, 0u);
            } catch (const ToolError&) {
                EXPECT_LT(size, movi) << "a file with its head is always read";
            }
        }
    }
}

TEST(Avi, UnfinishedFileIsReadAndSaidToBeCut)
{
    const auto frames = SomeFrames(40);
    MemorySink sink;
    AviWriter writer(sink, {MakeFourCC("O8Y0"), 64, 48, {25, 1}, MakeBitmapInfo(64, 48)}, 18000);
    for (const Bytes& frame : frames)
        writer.WriteFrame(frame);
    const AviFile file = ReadAviBytes(sink.bytes); // Finish was never reached
    EXPECT_EQ(FramesOf(sink.bytes, file), frames);
    EXPECT_TRUE(file.cut);
    EXPECT_FALSE(file.IsWhole());
}

TEST(Avi, WriteErrorAtAnyByteLeavesTheFramesBefore)
{
    /// A disk with room for so many bytes.
    class FullSink final : public ByteSink
    {
      public:
        explicit FullSink(size_t room_) : room(room_) {}
        void Write(std::span<const uint8_t> bytes) override
        {
            const size_t fits = std::min(bytes.size(), room - memory.bytes.size());
            memory.Write(bytes.first(fits));
            if (fits < bytes.size())
                throw ToolError("full", "", "");
        }
        void WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override
        {
            memory.WriteAt(offset, bytes);
        }
        uint64_t Position() const override { return memory.Position(); }

        size_t room;
        MemorySink memory;
    };
    const auto frames = SomeFrames(12);
    const size_t wholeSize = MakeAvi(frames, 17400).size();
    const size_t headSize = Find(MakeAvi(frames, 17400), avi::kMovi) + 4;
    for (size_t room = headSize; room < wholeSize; ++room) {
        FullSink sink(room);
        size_t written = 0;
        try {
            AviWriter writer(sink, {MakeFourCC("O8Y0"), 64, 48, {25, 1}, MakeBitmapInfo(64, 48)}, 17400);
            for (const Bytes& frame : frames) {
                writer.WriteFrame(frame);
                ++written;
            }
            writer.Finish();
            FAIL() << "room for " << room;
        } catch (const ToolError&) {
            const AviFile file = ReadAviBytes(sink.memory.bytes);
            // A frame whose padding alone did not fit is there as well.
            ASSERT_GE(file.frames.size(), written) << "room for " << room;
            ASSERT_TRUE(std::ranges::equal(FramesOf(sink.memory.bytes, file),
                                           std::span(frames).first(file.frames.size())));
            EXPECT_TRUE(file.cut);
        }
    }
}

TEST(Avi, HandlerZeroIsFoundByItsCompression)
{
    const auto frames = SomeFrames(3);
    Bytes bytes = MakeAvi(frames);
    SetWord(bytes, Find(bytes, avi::kStrh) + 12, 0);
    EXPECT_EQ(ReadAviBytes(bytes).frames.size(), 3u);
    SetWord(bytes, Find(bytes, avi::kStrf) + 8 + 16, MakeFourCC("XYZW"));
    EXPECT_EQ(ReadAviBytes(bytes).frames.size(), 3u) << "by the frames themselves";
    SetWord(bytes, Find(bytes, avi::kStrh) + 12, MakeFourCC("o8y0"));
    EXPECT_EQ(ReadAviBytes(bytes).frames.size(), 3u);
}

TEST(Avi, RewrittenHeaderSizeLosesNoRecord)
{
    Bytes bytes = MakeAvi(SomeFrames(3));
    SetWord(bytes, Find(bytes, avi::kStrf) + 8, 40);
    const AviFile file = ReadAviBytes(bytes);
    EXPECT_EQ(file.bitmapInfo.size(), 72u);
    EXPECT_EQ(WordAt(file.bitmapInfo, 40), MakeFourCC("ORVN"));
}

TEST(Avi, LyingListSizesChangeNothing)
{
    const auto frames = SomeFrames(6);
    const Bytes good = MakeAvi(frames);
    const size_t places[] = {4, Find(good, avi::kHdrl) - 4, Find(good, avi::kStrl) - 4,
                             Find(good, avi::kMovi) - 4};
    for (const size_t at : places)
        for (const uint32_t size : {0u, 1u, 4u, 100u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Bytes bytes = good;
            SetWord(bytes, at, size);
            const AviFile file = ReadAviBytes(bytes);
            EXPECT_EQ(FramesOf(bytes, file), frames) << "size " << size << " at " << at;
            EXPECT_EQ(file.index, AviIndexState::Whole);
            EXPECT_FALSE(file.cut) << "the index names all frames";
        }
}

TEST(Avi, LyingFrameSizesLoseNoOtherFrame)
{
    const auto frames = SomeFrames(6);
    const Bytes good = MakeAvi(frames);
    const AviFile whole = ReadAviBytes(good);
    for (size_t i = 0; i + 1 < frames.size(); ++i)
        for (const uint32_t size : {0u, 1u, 2u, 17u, 90u, 250u, 100000u, 0xFFFFFFFFu}) {
            Bytes bytes = good;
            SetWord(bytes, static_cast<size_t>(whole.frames[i].offset) - 4, size);
            const AviFile file = ReadAviBytes(bytes);
            ASSERT_EQ(file.frames.size(), frames.size()) << "frame " << i << " size " << size;
            for (size_t k = 0; k < frames.size(); ++k) {
                EXPECT_EQ(file.frames[k].offset, whole.frames[k].offset);
                EXPECT_GE(file.frames[k].size, whole.frames[k].size) << "frame " << i << " size " << size;
            }
            EXPECT_EQ(file.brokenPlaces, 1u);
        }
}

TEST(Avi, LyingIndexIsSeenAndNotBelieved)
{
    const auto frames = SomeFrames(6);
    const Bytes good = MakeAvi(frames);
    const size_t ix = Find(good, MakeFourCC("ix00"), Find(good, avi::kMovi));
    const size_t indx = Find(good, avi::kIndx);
    // counts, offsets and sizes of both indexes
    for (const size_t at : {ix + 12, ix + 20, ix + 32, ix + 36, ix + 8 + 24 + 5 * 8, indx + 12, indx + 32})
        for (const uint32_t value : {0u, 3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Bytes bytes = good;
            SetWord(bytes, at, value);
            if (bytes == good)
                continue;
            const AviFile file = ReadAviBytes(bytes);
            EXPECT_EQ(FramesOf(bytes, file), frames) << value << " at " << at;
            EXPECT_EQ(file.index, AviIndexState::Wrong) << value << " at " << at;
        }
}

TEST(Avi, FileWithoutAnyIndexIsRead)
{
    const auto frames = SomeFrames(6);
    Bytes bytes = MakeAvi(frames);
    bytes.resize(Find(bytes, MakeFourCC("ix00"), Find(bytes, avi::kMovi)));
    SetWord(bytes, Find(bytes, avi::kIndx), avi::kJunk);
    SetWord(bytes, 4, static_cast<uint32_t>(bytes.size()) - 8);
    const AviFile file = ReadAviBytes(bytes);
    EXPECT_EQ(FramesOf(bytes, file), frames);
    EXPECT_EQ(file.index, AviIndexState::None);
    EXPECT_FALSE(file.cut);
}

TEST(Avi, FirstStreamOfOursAmongOthersIsTaken)
{
    const auto frames = SomeFrames(4);
    OtherWriter file;
    file.List(avi::kRiff, avi::kAvi, 0);
    file.List(avi::kList, avi::kHdrl, 0);
    file.Stream(MakeFourCC("auds"), 1, Bytes(18, 1));
    file.Stream(avi::kVids, MakeFourCC("MJPG"), OtherBitmapInfo(MakeFourCC("MJPG")));
    file.Stream(avi::kVids, 0, OtherBitmapInfo(MakeFourCC("O8Y0")));
    file.Stream(avi::kVids, MakeFourCC("O8Y2"), OtherBitmapInfo(MakeFourCC("O8Y2")));
    file.Chunk(avi::kJunk, Bytes(33, 0x55));
    file.List(avi::kList, MakeFourCC("INFO"), 4 + 8 + 6);
    file.Chunk(MakeFourCC("ISFT"), Bytes(6, 'x'));
    file.List(avi::kList, avi::kMovi, 0);
    for (const Bytes& frame : frames) {
        file.List(avi::kList, avi::kRec, 0);
        file.Chunk(MakeFourCC("00wb"), Bytes(31, 9));
        file.Chunk(MakeFourCC("01dc"), MakeFrame(50, 8));
        file.Chunk(MakeFourCC("02db"), frame);
        file.Chunk(MakeFourCC("03dc"), MakeFrame(44, 7));
    }
    const AviFile read = ReadAviBytes(file.bytes);
    EXPECT_EQ(FramesOf(file.bytes, read), frames);
    EXPECT_EQ(read.stream, 2);
    EXPECT_EQ(read.brokenPlaces, 0u);
    EXPECT_EQ(std::ranges::count(read.others, MakeFourCC("00wb"), &AviChunk::id), 4);
    EXPECT_EQ(std::ranges::count(read.others, MakeFourCC("03dc"), &AviChunk::id), 4);
    EXPECT_EQ(std::ranges::count(read.others, MakeFourCC("LIST"), &AviChunk::id), 1) << "the INFO list";
}

TEST(Avi, MissingPaddingAndForeignBytesBetweenFramesAreSurvived)
{
    const auto frames = SomeFrames(6);
    OtherWriter file;
    file.List(avi::kRiff, avi::kAvi, 0);
    file.List(avi::kList, avi::kHdrl, 0);
    file.Stream(avi::kVids, MakeFourCC("O8Y0"), OtherBitmapInfo(MakeFourCC("O8Y0")));
    file.List(avi::kList, avi::kMovi, 0);
    for (const Bytes& frame : frames)
        file.Chunk(MakeFourCC("00dc"), frame, false);
    EXPECT_EQ(FramesOf(file.bytes, ReadAviBytes(file.bytes)), frames);

    const size_t second = Find(file.bytes, MakeFourCC("00dc"), Find(file.bytes, MakeFourCC("00dc")) + 1);
    file.bytes.insert(file.bytes.begin() + static_cast<ptrdiff_t>(second), 5000, 0xEE);
    const AviFile read = ReadAviBytes(file.bytes);
    EXPECT_EQ(read.frames.size(), frames.size());
    EXPECT_EQ(read.brokenPlaces, 1u);
}

TEST(Avi, OldIndexOfEitherBaseIsUnderstood)
{
    const auto frames = SomeFrames(5);
    for (const bool fromFileStart : {false, true})
        for (const bool backwards : {false, true}) {
            OtherWriter file;
            file.List(avi::kRiff, avi::kAvi, 0);
            file.List(avi::kList, avi::kHdrl, 0);
            file.Stream(avi::kVids, 0, OtherBitmapInfo(MakeFourCC("O8Y0")));
            const size_t movi = file.bytes.size() + 8;
            file.List(avi::kList, avi::kMovi, 0);
            std::vector<uint32_t> places;
            for (const Bytes& frame : frames) {
                places.push_back(static_cast<uint32_t>(file.bytes.size() - (fromFileStart ? 0 : movi)));
                file.Chunk(MakeFourCC("00dc"), frame);
            }
            Bytes idx1;
            for (size_t n = 0; n < frames.size(); ++n) {
                const size_t i = backwards && n > 0 ? frames.size() - n : n;
                Put<uint32_t>(idx1, MakeFourCC("00dc"));
                Put<uint32_t>(idx1, 0); // some hosts mark no key frames
                Put<uint32_t>(idx1, places[i]);
                Put<uint32_t>(idx1, static_cast<uint32_t>(frames[i].size()));
            }
            file.Chunk(avi::kIdx1, idx1);
            const AviFile read = ReadAviBytes(file.bytes);
            EXPECT_EQ(read.index, AviIndexState::Whole);
            ASSERT_EQ(read.frames.size(), frames.size());
            EXPECT_EQ(FramesOf(file.bytes, read)[1], backwards ? frames.back() : frames[1])
                << "a whole index gives the playing order";
        }
}

TEST(Avi, BytesBehindTheLastSegmentAreNoCut)
{
    Bytes bytes = MakeAvi(SomeFrames(5));
    bytes.resize(bytes.size() + 1000);
    const AviFile file = ReadAviBytes(bytes);
    EXPECT_EQ(file.frames.size(), 5u);
    EXPECT_TRUE(file.IsWhole());
}

TEST(Avi, ForeignFilesAreRefused)
{
    EXPECT_THROW(ReadAviBytes({}), ToolError);
    EXPECT_THROW(ReadAviBytes(Bytes(100, 0)), ToolError);
    OtherWriter wave;
    wave.List(avi::kRiff, MakeFourCC("WAVE"), 4 + 8 + 16 + 8 + 100);
    wave.Chunk(MakeFourCC("fmt "), Bytes(16, 1));
    wave.Chunk(MakeFourCC("data"), Bytes(100, 'O'));
    EXPECT_THROW(ReadAviBytes(wave.bytes), ToolError);
    OtherWriter file;
    file.List(avi::kRiff, avi::kAvi, 0);
    file.List(avi::kList, avi::kHdrl, 0);
    file.Stream(avi::kVids, MakeFourCC("MJPG"), OtherBitmapInfo(MakeFourCC("MJPG")));
    file.List(avi::kList, avi::kMovi, 0);
    EXPECT_THROW(ReadAviBytes(file.bytes), ToolError);
}

TEST(Avi, NoBytesHarmTheReader)
{
    const uint32_t seed = TestSeed();
    std::mt19937 engine(seed);
    const auto random = [&] { return static_cast<uint32_t>(engine()); };
    const Bytes good = MakeAvi(SomeFrames(8), 17500);
    const auto check = [&](const Bytes& bytes) {
        try {
            const AviFile file = ReadAviBytes(bytes);
            uint64_t end = 0;
            for (const AviFrame& frame : file.frames) {
                ASSERT_LE(frame.offset + frame.size, bytes.size()) << "seed " << seed;
                if (file.index != AviIndexState::Whole) {
                    ASSERT_GE(frame.offset, end) << "seed " << seed;
                }
                end = frame.offset + frame.size;
            }
            for (const AviChunk& chunk : file.others)
                ASSERT_LE(chunk.offset + chunk.size, bytes.size()) << "seed " << seed;
        } catch (const ToolError&) { // a refusal is a good answer
        }
    };
    const size_t head = Find(good, avi::kIndx) + 80; // behind it stand the index's empty entries
    const size_t movi = Find(good, avi::kMovi) - 8;
    for (size_t at = 0; at < good.size(); at = at + 1 == head ? movi : at + 1)
        for (const int value : {0x00, 0x01, 0x30, 0x7F, 0x80, 0xFF}) {
            Bytes bytes = good;
            bytes[at] = static_cast<uint8_t>(value);
            check(bytes);
        }
    const int rounds = LongTests() ? 200000 : 3000;
    for (int round = 0; round < rounds; ++round) {
        Bytes bytes = good;
        for (uint32_t n = 1 + random() % 12; n > 0; --n) {
            const size_t at = random() % bytes.size();
            if (random() % 3 == 0 && at + 4 <= bytes.size())
                SetWord(bytes, at, random() % 2 ? MakeFourCC("00dc") : random());
            else
                bytes[at] = static_cast<uint8_t>(random());
        }
        if (random() % 4 == 0)
            bytes.resize(random() % bytes.size());
        check(bytes);
    }
}
