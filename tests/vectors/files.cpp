// AVI files: what the tool writes, and what it makes of files that others wrote or changed.

#include "common/compressed_formats.h"
#include "files/avi_chunks.h"
#include "files/avi_records.h"
#include "files/avi_writer.h"
#include "files/checksum_table.h"
#include "files/little_endian.h"
#include "support/memory_sink.h"
#include "vectors/describe.h"
#include "vectors/frame_parts.h"

#include <algorithm>

namespace vectors {

namespace {

constexpr uint32_t kWidth = 16, kHeight = 36;

Bytes BitmapInfo(const FrameHeader& record)
{
    Bytes info;
    Put<uint32_t>(info, 72);
    Put<uint32_t>(info, record.width);
    Put<uint32_t>(info, record.height);
    Put<uint16_t>(info, 1);
    Put<uint16_t>(info, FindFormatDescriptor(record.formatCode)->bitCount);
    Put<uint32_t>(info, FindFormatDescriptor(record.formatCode)->FourCC());
    info.resize(40);
    PutBytes(info, BytesOf(record));
    return info;
}

/// Different frames of one stream.
std::vector<Bytes> Frames(const FrameHeader& record, size_t count)
{
    std::vector<Bytes> frames;
    for (size_t i = 0; i < count; ++i)
        frames.push_back(SomeFrame(record, static_cast<uint32_t>(100 * (i + 1))).Join());
    return frames;
}

Bytes ChecksumsOf(const FrameHeader& record, const std::vector<Bytes>& frames)
{
    const FrameHasher hasher(*FindCompressedFormat(record.formatCode), record);
    ChecksumTable table(hasher.Bands(), hasher.Blocks());
    StreamReader reader(BytesOf(record));
    for (const Bytes& frame : frames)
        if (!frame.empty() && reader.Decode(frame) == FrameStatus::Ok)
            table.Add(hasher.Hash(reader.Picture(), frame));
    return table.Chunk();
}

AviStreamFormat FormatOf(const FrameHeader& record)
{
    AviStreamFormat format;
    format.handler = FindFormatDescriptor(record.formatCode)->FourCC();
    format.width = static_cast<int>(record.width);
    format.height = static_cast<int>(record.height);
    format.rate = {25, 1};
    format.bitmapInfo = BitmapInfo(record);
    return format;
}

struct FileParts {
    FrameHeader record = UsualHeader(105, kWidth, kHeight);
    std::vector<Bytes> frames = Frames(record, 3);
    std::vector<AviExtraChunk> extras;
    uint64_t segmentLimit = AviWriter::kDefaultSegmentLimit;
};

/// A file as the tool writes it.
Bytes Written(const FileParts& parts)
{
    MemorySink sink;
    AviWriter writer(sink, FormatOf(parts.record), parts.segmentLimit);
    for (const Bytes& frame : parts.frames)
        writer.WriteFrame(frame);
    writer.Finish(parts.extras);
    return sink.bytes;
}

void AddFile(std::vector<Vector>& all, std::string name, std::string text, Bytes bytes)
{
    all.push_back({"avi_" + std::move(name), std::move(text), std::move(bytes), true});
}

AviExtraChunk Checksums(const FileParts& parts)
{
    return {avi::kChecksums, ChecksumsOf(parts.record, parts.frames)};
}

void AddWritten(std::vector<Vector>& all)
{
    for (const FormatDescriptor& format : kCompressedFormats) {
        if (format.code > kCodeGray)
            continue;
        FileParts parts{
            .record = UsualHeader(static_cast<uint8_t>(format.code), 8, 30), .frames = {}, .extras = {}};
        parts.frames = Frames(parts.record, 1);
        parts.extras = {Checksums(parts)};
        AddFile(all, std::string("fourcc_") + format.fourCC,
                std::string("A file with FourCC ") + format.fourCC + ", one frame and its checksums.",
                Written(parts));
    }

    FileParts parts;
    parts.extras = {Checksums(parts)};
    parts.segmentLimit = 1;
    AddFile(all, "segments", "A segment for each frame, checksums in the last.", Written(parts));

    parts = {};
    AddFile(all, "no_checksums", "A file without checksums.", Written(parts));

    parts = {};
    parts.extras = {Checksums(parts)};
    parts.frames.insert(parts.frames.begin() + 1, {Bytes(), Bytes()});
    parts.frames.insert(parts.frames.begin(), Bytes());
    AddFile(all, "empty_frames",
            "Empty frames: the first has no picture, those after a frame repeat its picture.",
            Written(parts));

    parts = {};
    parts.extras = {Checksums(parts),
                    {MakeFourCC("Oy4m"), {'A', '1', '0', ':', '1', '1'}},
                    {MakeFourCC("Ocnv"), {'c', 'o', 'l', 'o', 'u', 'r', '!'}}};
    AddFile(all, "other_chunks", "The chunks Oy4m and Ocnv behind the checksums.", Written(parts));
}

void AddChecked(std::vector<Vector>& all)
{
    const auto add = [&](const char* name, const char* text, auto change) {
        FileParts parts;
        parts.extras = {Checksums(parts)};
        change(parts);
        AddFile(all, name, text, Written(parts));
    };
    const auto damage = [](Bytes& frame) { frame[frame.size() - 40] ^= 0x10; };
    add("damaged_frame", "A bit turned in the payload of the middle frame.",
        [&](FileParts& parts) { damage(parts.frames[1]); });
    add("damaged_first",
        "A bit turned in the first frame: it takes the entry in front of that of its successor.",
        [&](FileParts& parts) { damage(parts.frames[0]); });
    add("damaged_refused", "A frame whose offset table is damaged.",
        [](FileParts& parts) { SetWord(parts.frames[1], 36, 0x7FFFFFFF); });
    add("damaged_tail",
        "A byte of the tail that is not 0: the frame's bytes are others, its picture is right.",
        [](FileParts& parts) { parts.frames[2].back() = 1; });
    add("reordered", "The same frames in another order, one of them twice.", [&](FileParts& parts) {
        parts.frames = {parts.frames[2], parts.frames[0], parts.frames[2], parts.frames[1]};
    });
    add("strange_frame", "A frame from elsewhere between the others: it has no checksums.",
        [&](FileParts& parts) {
            parts.frames.insert(parts.frames.begin() + 1, SomeFrame(parts.record, 999).Join());
        });
    add("damaged_checksums", "A bit turned in the checksums: they are not used.",
        [](FileParts& parts) { parts.extras[0].payload[40] ^= 1; });

    // Two chunks of checksums count as one.
    const FileParts parts;
    MemorySink sink;
    AviWriter writer(sink, FormatOf(parts.record));
    writer.WriteFrame(parts.frames[0]);
    writer.WriteExtra({avi::kChecksums, ChecksumsOf(parts.record, {parts.frames[0]})});
    writer.WriteFrame(parts.frames[1]);
    writer.WriteFrame(parts.frames[2]);
    const AviExtraChunk last{avi::kChecksums, ChecksumsOf(parts.record, {parts.frames[1], parts.frames[2]})};
    writer.Finish({&last, 1});
    AddFile(all, "two_checksums", "Checksums in two chunks, one of them between the frames.", sink.bytes);
}

/// Chunk by chunk, as other writers do.
struct OtherWriter {
    Bytes bytes;

    void Chunk(uint32_t id, const Bytes& payload)
    {
        Put<uint32_t>(bytes, id);
        Put<uint32_t>(bytes, static_cast<uint32_t>(payload.size()));
        PutBytes(bytes, payload);
        if (payload.size() % 2 != 0)
            bytes.push_back(0);
    }
    void List(uint32_t id, uint32_t type, const Bytes& content)
    {
        Put<uint32_t>(bytes, id);
        Put<uint32_t>(bytes, static_cast<uint32_t>(content.size() + 4));
        Put<uint32_t>(bytes, type);
        PutBytes(bytes, content);
    }
};

Bytes StreamHeader(uint32_t type, uint32_t handler)
{
    Bytes header;
    Put<uint32_t>(header, type);
    Put<uint32_t>(header, handler);
    header.resize(20);
    Put<uint32_t>(header, 1);  // scale
    Put<uint32_t>(header, 25); // rate
    header.resize(56);
    return header;
}

/// A file without an index: sound in stream 0, then the video, with lists and chunks as other writers make
/// them.
Bytes OfOtherWriter()
{
    const FileParts parts;
    Bytes main;
    Put<uint32_t>(main, 40000);
    main.resize(56);
    OtherWriter sound, video, head, file, group, movi, whole;
    sound.Chunk(avi::kStrh, StreamHeader(MakeFourCC("auds"), 0));
    sound.Chunk(avi::kStrf, Bytes(18, 1));
    video.Chunk(avi::kStrh, StreamHeader(avi::kVids, 0));
    Bytes info = BitmapInfo(parts.record);
    SetWord(info, 0, 40);
    SetWord(info, 16, MakeFourCC("o8y0"));
    info.resize(info.size() + 6, 0xAA);
    video.Chunk(avi::kStrf, info);
    head.Chunk(avi::kAvih, main);
    head.List(avi::kList, avi::kStrl, sound.bytes);
    head.List(avi::kList, avi::kStrl, video.bytes);
    group.Chunk(MakeFourCC("00wb"), Bytes(11, 2));
    group.Chunk(MakeFourCC("01dc"), parts.frames[0]);
    movi.List(avi::kList, avi::kRec, group.bytes);
    movi.Chunk(avi::kJunk, Bytes(7, 3));
    movi.Chunk(MakeFourCC("01db"), parts.frames[1]);
    movi.Chunk(MakeFourCC("01dc"), parts.frames[2]);
    file.List(avi::kList, avi::kHdrl, head.bytes);
    file.Chunk(avi::kJunk, Bytes(100));
    file.List(avi::kList, avi::kMovi, movi.bytes);
    whole.List(avi::kRiff, avi::kAvi, file.bytes);
    return whole.bytes;
}

/// The front of a file without sound of another writer, up to its list of frames, which follows.
Bytes FrontOfOtherWriter(const FrameHeader& record, uint32_t moviBytes)
{
    OtherWriter video, head, file, whole;
    video.Chunk(avi::kStrh, StreamHeader(avi::kVids, FindFormatDescriptor(record.formatCode)->FourCC()));
    video.Chunk(avi::kStrf, BitmapInfo(record));
    Bytes main;
    Put<uint32_t>(main, 40000);
    main.resize(56);
    head.Chunk(avi::kAvih, main);
    head.List(avi::kList, avi::kStrl, video.bytes);
    file.List(avi::kList, avi::kHdrl, head.bytes);
    whole.List(avi::kRiff, avi::kAvi, file.bytes);
    Put<uint32_t>(whole.bytes, avi::kList);
    Put<uint32_t>(whole.bytes, moviBytes + 4);
    Put<uint32_t>(whole.bytes, avi::kMovi);
    return whole.bytes;
}

/// An index that plays frames in this order. Its offsets count from `base`.
Bytes OldIndex(const std::vector<uint32_t>& places, const std::vector<Bytes>& frames,
               const std::vector<size_t>& order, uint32_t base)
{
    Bytes index;
    for (const size_t frame : order) {
        Put<uint32_t>(index, MakeFourCC("00dc"));
        Put<uint32_t>(index, 0x10); // a key frame
        Put<uint32_t>(index, places[frame] - base);
        Put<uint32_t>(index, static_cast<uint32_t>(frames[frame].size()));
    }
    return index;
}

void AddReordered(std::vector<Vector>& all, const char* name, const char* text, bool fromStart,
                  const std::vector<size_t>& order)
{
    const FileParts parts;
    OtherWriter movi;
    std::vector<uint32_t> places; // in the list
    for (const Bytes& frame : parts.frames) {
        places.push_back(static_cast<uint32_t>(movi.bytes.size()));
        movi.Chunk(MakeFourCC("00dc"), frame);
    }
    OtherWriter file{FrontOfOtherWriter(parts.record, static_cast<uint32_t>(movi.bytes.size()))};
    const auto front = static_cast<uint32_t>(file.bytes.size());
    for (uint32_t& place : places)
        place += front;
    PutBytes(file.bytes, movi.bytes);
    file.Chunk(avi::kIdx1, OldIndex(places, parts.frames, order, fromStart ? 0 : front - 4));
    file.Chunk(avi::kChecksums, ChecksumsOf(parts.record, parts.frames));
    SetWord(file.bytes, 4, static_cast<uint32_t>(file.bytes.size() - 8));
    AddFile(all, name, text, file.bytes);
}

/// A broken chain of chunks: the frames after the break are found by their own heads.
void AddSalvaged(std::vector<Vector>& all)
{
    const FileParts parts;
    OtherWriter file{FrontOfOtherWriter(parts.record, 0)};
    file.Chunk(MakeFourCC("00dc"), parts.frames[0]);
    const size_t broken = file.bytes.size();
    file.Chunk(avi::kJunk, Bytes(37, 5));
    SetWord(file.bytes, broken + 4, 0x7FFFFFFF);
    file.Chunk(MakeFourCC("00dc"), parts.frames[1]);
    file.Chunk(MakeFourCC("00dc"), parts.frames[2]);
    file.Chunk(avi::kChecksums, ChecksumsOf(parts.record, parts.frames));
    AddFile(all, "salvaged",
            "A chunk between the frames whose damaged size leads out of the file, and no index: the frames "
            "after it are found by their own heads.",
            file.bytes);
}

void AddForeign(std::vector<Vector>& all)
{
    AddFile(
        all, "other_writer",
        "Sound in stream 0, video in stream 1; handler 0, FourCC in small letters, biSize 40, bytes after "
        "the record, lists rec, JUNK, frames as 01db, no index.",
        OfOtherWriter());
    FileParts parts;
    Bytes cut = Written(parts);
    const size_t last = cut.size();
    // The last frame's chunk lies before ix00 and idx1.
    const Bytes& frame = parts.frames.back();
    const auto at = std::find_end(cut.begin(), cut.end(), frame.begin(), frame.end());
    cut.resize(static_cast<size_t>(at - cut.begin()) + frame.size() / 2);
    if (cut.size() == last)
        throw std::logic_error("nothing was cut off");
    AddFile(all, "cut", "A file that ends inside its last frame: that frame is lost.", cut);
    AddReordered(all, "index_order",
                 "An index that plays the frames in another order than they are stored in.", false,
                 {2, 0, 1});
    AddReordered(
        all, "index_order_from_start",
        "The same with offsets that count from the start of the file; the last frame is played twice.", true,
        {2, 1, 2, 0});
    AddSalvaged(all);
}

} // namespace

void AddFiles(std::vector<Vector>& all)
{
    AddWritten(all);
    AddChecked(all);
    AddForeign(all);
}

} // namespace vectors
