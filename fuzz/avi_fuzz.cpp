// Any bytes as an AVI file: the reader ends, stays inside the file, and what it finds is in order. What
// stands beside the frames is read: checksums, fields of Y4M. A repaired file is whole, and has the frames
// that were found.

#include "files/avi_records.h"
#include "files/avi_repair.h"
#include "files/frame_structure.h"
#include "files/payload_check.h"
#include "files/video_stream.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/memory_sink.h"
#include "support/y4m_fields.h"
#include "tool_error.h"

#include <algorithm>

namespace {

constexpr size_t kMaxFile = 1 << 16;
/// An index may name a frame many times.
constexpr uint64_t kMaxFrameBytes = 1 << 20;
/// Blocks of a frame are told by its height; a target does not need many.
constexpr size_t kMaxBlocks = 1 << 16;

void CheckFile(const AviFile& file, size_t size)
{
    Require(file.bitmapInfo.empty() ||
                (file.bitmapInfo.size() >= 40 && file.bitmapInfo.size() <= AviFile::kMaxBitmapInfo),
            "a stream format that is not lost has a bitmap header");
    Require(file.rate.numerator > 0 && file.rate.denominator > 0, "the rate is a rate");
    for (const AviFrame& frame : file.frames)
        Require(frame.offset <= size && frame.size <= size - frame.offset, "frames lie inside the file");
    for (const AviChunk& chunk : file.others)
        Require(chunk.offset <= size && chunk.size <= size - chunk.offset, "chunks lie inside the file");
    if (file.IsWhole())
        Require(!file.cut && file.index == AviIndexState::Whole, "a whole file has a whole index");
}

/// Gives each table of checksums the hash that it begins with: chance would never hit on it.
void SealChecksums(const AviFile& file, std::span<uint8_t> bytes)
{
    constexpr size_t kHash = sizeof(uint64_t);
    for (const AviChunk& chunk : file.others) {
        if (chunk.id != avi::kChecksums || chunk.size < kHash)
            continue;
        const std::span<uint8_t> table = bytes.subspan(static_cast<size_t>(chunk.offset), chunk.size);
        const uint64_t hash = FrameHasher::HashBytes(table.subspan(kHash));
        std::memcpy(table.data(), &hash, kHash);
    }
}

/// Tables are written as they were read, frames that they know are those.
void CheckChecksums(VideoStream& stream, std::span<const uint8_t> bytes) noexcept
{
    const FrameHasher hasher(stream.Format(), stream.Record());
    size_t count = 0;
    bool unreadable = false;
    for (const AviChunk& chunk : stream.File().others) {
        if (chunk.id != avi::kChecksums)
            continue;
        const auto place = bytes.subspan(static_cast<size_t>(chunk.offset), chunk.size);
        const auto table = ChecksumTable::Parse(place, hasher.Bands(), hasher.Blocks());
        unreadable = unreadable || !table;
        if (!table)
            continue;
        ChecksumTable again(hasher.Bands(), hasher.Blocks());
        for (size_t i = 0; i < table->Count(); ++i)
            again.Add(table->At(i));
        Require(std::ranges::equal(again.Chunk(), place), "a table is written as it was read");
        count += table->Count();
    }
    const StoredChecksums stored = stream.ReadChecksums();
    Require(stored.unreadable == unreadable, "a table that cannot be read is told");
    Require((stored.table ? stored.table->Count() : 0) == count, "all tables are one");
    if (!stored.table)
        return;

    FrameMatcher matcher(*stored.table);
    std::vector<uint64_t> hashes;
    for (size_t i = 0; i < stream.FrameCount(); ++i) {
        const std::span<const uint8_t> frame = stream.ReadFrame(i);
        hashes.push_back(FrameHasher::HashBytes(frame));
        const auto match = matcher.Add(hashes.back(), static_cast<uint32_t>(frame.size()));
        Require(!match || (*match < count && stored.table->FrameHashAt(*match) == hashes.back()),
                "a known frame has the hash of its entry");
    }
    const auto matches = matcher.Finish();
    Require(matches.size() == hashes.size(), "every frame is looked up");
    for (size_t i = 0; i < matches.size(); ++i)
        Require(!matches[i] || (*matches[i] < count &&
                                (stored.table->FrameHashAt(*matches[i]) == hashes[i] ||
                                 stored.table->SizeAt(*matches[i]) == stream.File().frames[i].size)),
                "a damaged frame has the size of its entry");
}

void CheckFrames(VideoStream& stream) noexcept
{
    const FrameHasher hasher(stream.Format(), stream.Record());
    PayloadCheck payload(stream.Format(), std::span(stream.BitmapInfo()).subspan(avi::kBitmapHeaderSize));
    for (size_t number = 0; number < stream.FrameCount(); ++number) {
        const AviFrame& place = stream.File().frames[number];
        const std::span<const uint8_t> frame = stream.ReadFrame(number);
        Require(frame.size() == place.size, "frames are read whole");
        if (hasher.Blocks() > kMaxBlocks)
            continue;
        Require(hasher.HashBlocks(frame).size() == hasher.Blocks(), "every block has a hash");
        const FrameStructure structure = ReadFrameStructure(stream.Source(), place.offset, place.size,
                                                            stream.Record(), stream.Format().planes);
        Require(structure.fault.empty() || structure.blocks.empty(), "a damaged frame has no blocks");
        for (const BlockStructure& block : structure.blocks)
            Require(block.offset <= place.size && block.size <= place.size - block.offset,
                    "blocks lie inside the frame");
        const FrameFindings findings = payload.Check(frame);
        Require(structure.fault.empty() || !findings.fault.empty(), "a frame without structure has a fault");
    }
}

/// A file that repair has written from `file` opens, and nothing is left to repair.
void CheckRepaired(const AviFile& file, const ByteSource& source,
                   const std::vector<uint8_t>& repaired) noexcept
{
    VideoStream stream(std::make_unique<MemorySource>(repaired), "output.avi");
    Require(stream.File().IsWhole(), "a repaired file is whole");
    Require(stream.FrameCount() == file.frames.size(), "all frames are in the repaired file");
    for (size_t i = 0; i < file.frames.size(); ++i)
        Require(std::ranges::equal(stream.ReadFrame(i),
                                   source.ReadBytes(file.frames[i].offset, file.frames[i].size)),
                "frames stay as they are");
    const MemorySource memory(repaired);
    AviRepair repair(memory, "output.avi");
    MemorySink again;
    repair.Run(again, [](uint32_t) { return true; });
    Require(repair.Changes().empty(), "a repaired file has nothing to put right");
    Require(again.bytes == repaired, "a second repair changes nothing");
}

/// As the command does: a file is repaired only if its stream can be opened. What was written, else the
/// error.
Transcript CheckRepair(const AviFile& file, std::span<const uint8_t> bytes)
{
    const MemorySource source(bytes);
    MemorySink sink;
    Transcript given;
    try {
        AviRepair repair(source, "input.avi");
        const VideoStream stream(std::make_unique<MemorySource>(bytes), "input.avi");
        repair.Run(sink, [](uint32_t) { return true; });
        given.Note(sink.bytes);
    } catch (const ToolError& error) {
        Require(ErrorLine(error).back() == '\n', "an error is a line");
        given.Note(ErrorLine(error));
        return given;
    }
    // Without a byte in any frame the file's size bounds the picture, and a repaired file may be smaller.
    if (std::ranges::any_of(file.frames, [](const AviFrame& frame) { return frame.size > 0; }))
        CheckRepaired(file, source, sink.bytes);
    return given;
}

Transcript Read(std::span<const uint8_t> input)
{
    static GuardedBuffer memory(kMaxFile);
    Transcript given;
    const std::span<uint8_t> bytes = memory.Place(input);
    const MemorySource source(bytes);
    try {
        SealChecksums(ReadAvi(source, "input.avi"), bytes);
        const AviFile file = ReadAvi(source, "input.avi");
        CheckFile(file, input.size());
        uint64_t frameBytes = 0;
        for (const AviFrame& frame : file.frames) {
            frameBytes += frame.size;
            given.NoteAll(frame.offset, frame.size);
        }
        if (frameBytes > kMaxFrameBytes)
            return given;
        given.Note(CheckRepair(file, bytes));
        VideoStream stream(std::make_unique<MemorySource>(bytes), "input.avi");
        Require(stream.BitmapInfo().size() >= 72, "header and record");
        CheckFrames(stream);
        CheckChecksums(stream, bytes);
        CheckY4mFields(stream.InfoFor(NativeLayout(stream.Format().code)));
    } catch (const ToolError& error) {
        Require(ErrorLine(error).back() == '\n', "an error is a line");
        given.Note(ErrorLine(error));
    }
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxFile)
        return 0;
    static History history;
    history.ReadTwice({data, size}, Read);
    return 0;
}
