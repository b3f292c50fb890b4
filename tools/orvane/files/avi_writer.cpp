#include "files/avi_writer.h"

#include "files/avi_records.h"
#include "files/little_endian.h"
#include "tool_error.h"

#include <algorithm>

namespace {

constexpr uint32_t kFrameKind = 'd' | 'c' << 8;
constexpr uint32_t kDmlhSize = 248; // total frames, then reserved words

/// Builds nested chunks: Open notes where the size stands, Close fills it in.
class ChunkBuilder
{
  public:
    void Open(uint32_t id)
    {
        Put<uint32_t>(bytes, id);
        openChunks.push_back(bytes.size());
        Put<uint32_t>(bytes, 0);
    }
    void OpenList(uint32_t list, uint32_t type)
    {
        Open(list);
        Put<uint32_t>(bytes, type);
    }
    void Close()
    {
        const size_t at = openChunks.back();
        openChunks.pop_back();
        const auto size = static_cast<uint32_t>(bytes.size() - at - sizeof(uint32_t));
        std::memcpy(bytes.data() + at, &size, sizeof size);
        if (size & 1)
            bytes.push_back(0);
    }
    void Zeros(size_t count) { bytes.resize(bytes.size() + count); }

    std::vector<uint8_t> bytes;

  private:
    std::vector<size_t> openChunks;
};

void PutListHead(std::vector<uint8_t>& bytes, uint32_t list, uint32_t size, uint32_t type)
{
    Put<uint32_t>(bytes, list);
    Put<uint32_t>(bytes, size);
    Put<uint32_t>(bytes, type);
}

constexpr uint32_t DigitsOf(uint32_t stream)
{
    return ('0' + stream / 10) | ('0' + stream % 10) << 8;
}

constexpr uint32_t ChunkId(uint32_t stream, uint32_t kind)
{
    return DigitsOf(stream) | kind << 16;
}

constexpr uint32_t SegmentIndexId(uint32_t stream)
{
    return 'i' | 'x' << 8 | DigitsOf(stream) << 16;
}

/// Head of indx and ix##; `base` is 0 in indx.
void PutIndexHead(std::vector<uint8_t>& bytes, uint32_t entrySize, uint8_t type, size_t entryCount,
                  uint32_t chunkId, uint64_t base)
{
    Put<uint16_t>(bytes, static_cast<uint16_t>(entrySize / 4));
    Put<uint8_t>(bytes, 0); // sub-type
    Put<uint8_t>(bytes, type);
    Put<uint32_t>(bytes, static_cast<uint32_t>(entryCount));
    Put<uint32_t>(bytes, chunkId);
    Put<uint64_t>(bytes, base);
    Put<uint32_t>(bytes, 0);
}

/// A copied stream header with the length and buffer size of what was written. The length of sound counts its
/// own units, that of other streams chunks.
std::vector<uint8_t> HeaderOfOther(std::vector<uint8_t> header, uint64_t chunks, uint64_t bytes,
                                   uint32_t largest)
{
    constexpr size_t kLength = 32, kBufferSize = 36, kSampleSize = 44, kHeaderSize = 56;
    header.resize(std::max(header.size(), kHeaderSize));
    const auto sampleSize = Get<uint32_t>(header, kSampleSize);
    const auto length = static_cast<uint32_t>(sampleSize == 0 ? chunks : bytes / sampleSize);
    std::memcpy(header.data() + kLength, &length, sizeof length);
    std::memcpy(header.data() + kBufferSize, &largest, sizeof largest);
    return header;
}

} // namespace

AviWriter::AviWriter(ByteSink& sink_, AviStreamFormat format_, uint64_t segmentLimit_)
    : sink(sink_), format(std::move(format_)), segmentLimit(segmentLimit_), tracks(format.others.size() + 1)
{
    for (uint32_t i = 0; i < format.others.size(); ++i)
        tracks[i < format.number ? i : i + 1].copied = &format.others[i];
    const std::vector<uint8_t> head = MakeHead();
    moviStart = head.size() - avi::kListHead;
    sink.Write(head);
}

/// The characters that ids of chunks of a stream usually end in.
uint32_t AviWriter::KindOf(uint32_t stream) const
{
    const AviOtherStream* const copied = tracks[stream].copied;
    if (copied == nullptr || copied->header.size() < 4)
        return kFrameKind;
    const auto type = Get<uint32_t>(copied->header, 0);
    return type == MakeFourCC("auds")   ? 'w' | 'b' << 8
           : type == MakeFourCC("txts") ? 't' | 'x' << 8
                                        : kFrameKind;
}

std::vector<uint8_t> AviWriter::MakeVideoHeader() const
{
    const Track& track = tracks[format.number];
    std::vector<uint8_t> bytes;
    Put<uint32_t>(bytes, avi::kVids);
    Put<uint32_t>(bytes, format.handler);
    bytes.resize(bytes.size() + 12); // flags, priority, language, initial frames
    Put<uint32_t>(bytes, format.rate.denominator);
    Put<uint32_t>(bytes, format.rate.numerator);
    Put<uint32_t>(bytes, 0); // start
    Put<uint32_t>(bytes, static_cast<uint32_t>(track.chunks));
    Put<uint32_t>(bytes, track.largest);
    Put<uint32_t>(bytes, 0xFFFFFFFF); // quality: the codec's own
    Put<uint32_t>(bytes, 0);          // sample size: varies
    Put<uint32_t>(bytes, 0);          // picture rectangle: left, top, right, bottom
    Put<uint16_t>(bytes, static_cast<uint16_t>(std::min(format.width, 0xFFFF)));
    Put<uint16_t>(bytes, static_cast<uint16_t>(std::min(format.height, 0xFFFF)));
    return bytes;
}

std::vector<uint8_t> AviWriter::MakeHead() const
{
    const Track& video = tracks[format.number];
    const double bytesPerSecond = static_cast<double>(video.largest) * format.rate.Value();
    constexpr uint32_t kHasIndex = 0x10;
    constexpr uint32_t kIsInterleaved = 0x100;
    constexpr uint32_t kTrustChunkType = 0x800; // key frames are where the index says

    ChunkBuilder head;
    auto& bytes = head.bytes;
    PutListHead(bytes, avi::kRiff, firstRiffSize, avi::kAvi);
    head.OpenList(avi::kList, avi::kHdrl);

    head.Open(avi::kAvih);
    Put<uint32_t>(bytes, static_cast<uint32_t>(std::min(1e6 / format.rate.Value() + 0.5, 4e9)));
    Put<uint32_t>(bytes, static_cast<uint32_t>(std::min(bytesPerSecond, 4e9)));
    Put<uint32_t>(bytes, 0); // padding granularity
    Put<uint32_t>(bytes, kHasIndex | kTrustChunkType | (format.others.empty() ? 0 : kIsInterleaved));
    Put<uint32_t>(bytes, firstFrames); // of this segment; dmlh has the total
    Put<uint32_t>(bytes, 0);           // initial frames
    Put<uint32_t>(bytes, static_cast<uint32_t>(tracks.size()));
    Put<uint32_t>(bytes, video.largest);
    Put<uint32_t>(bytes, static_cast<uint32_t>(format.width));
    Put<uint32_t>(bytes, static_cast<uint32_t>(format.height));
    head.Zeros(16);
    head.Close();

    for (uint32_t stream = 0; stream < tracks.size(); ++stream) {
        const Track& track = tracks[stream];
        head.OpenList(avi::kList, avi::kStrl);
        head.Open(avi::kStrh);
        PutBytes(bytes, track.copied
                            ? HeaderOfOther(track.copied->header, track.chunks, track.bytes, track.largest)
                            : MakeVideoHeader());
        head.Close();
        if (!track.copied) {
            head.Open(avi::kStrf);
            PutBytes(bytes, format.bitmapInfo);
            head.Close();
        }
        PutBytes(bytes, track.copied ? track.copied->chunks : format.chunks);
        head.Open(avi::kIndx);
        PutIndexHead(bytes, avi::kSuperEntrySize, avi::kIndexOfIndexes, track.indexes.size(),
                     ChunkId(stream, KindOf(stream)), 0);
        for (const SegmentIndex& index : track.indexes) {
            Put<uint64_t>(bytes, index.offset);
            Put<uint32_t>(bytes, index.size);
            Put<uint32_t>(bytes, index.entries);
        }
        head.Zeros((kMaxSegments - track.indexes.size()) * avi::kSuperEntrySize);
        head.Close();
        head.Close(); // strl
    }

    head.OpenList(avi::kList, avi::kOdml);
    head.Open(avi::kDmlh);
    Put<uint32_t>(bytes, static_cast<uint32_t>(video.chunks));
    head.Zeros(kDmlhSize - sizeof(uint32_t));
    head.Close();
    head.Close(); // odml
    head.Close(); // hdrl

    PutListHead(bytes, avi::kList, firstMoviSize, avi::kMovi);
    return std::move(bytes);
}

void AviWriter::WriteChunk(uint32_t id, std::span<const uint8_t> payload)
{
    std::vector<uint8_t> head;
    Put<uint32_t>(head, id);
    Put<uint32_t>(head, static_cast<uint32_t>(payload.size()));
    sink.Write(head);
    sink.Write(payload);
    if (payload.size() & 1) {
        const uint8_t zero = 0;
        sink.Write({&zero, 1});
    }
}

/// The open segment's size with one more chunk and its indexes.
uint64_t AviWriter::SegmentSizeWith(uint64_t chunkSize) const
{
    const uint64_t chunks = entries.size() + 1;
    const uint64_t chunkEnd = sink.Position() - segmentStart + avi::kChunkHead + avi::Padded(chunkSize);
    const uint64_t segmentIndexes =
        tracks.size() * (avi::kChunkHead + avi::kIndexHeadSize) + chunks * avi::kIndexEntrySize;
    const uint64_t idx1 = segments == 0 ? avi::kChunkHead + chunks * avi::kIdx1EntrySize : 0;
    return chunkEnd + segmentIndexes + idx1;
}

void AviWriter::Append(uint32_t stream, uint32_t kind, std::span<const uint8_t> payload)
{
    if (!entries.empty() && SegmentSizeWith(payload.size()) > segmentLimit) {
        EndSegment({});
        BeginSegment();
    }
    const uint32_t id = ChunkId(stream, kind);
    const auto size = static_cast<uint32_t>(payload.size());
    entries.push_back({stream, id, size, sink.Position() + avi::kChunkHead});
    WriteChunk(id, payload);
    Track& track = tracks[stream];
    track.largest = std::max(track.largest, size);
    track.bytes += size;
    ++track.chunks;
}

void AviWriter::WriteFrame(std::span<const uint8_t> frame)
{
    if (frame.size() > avi::kIndexSizeMask)
        throw ToolError("a compressed frame of " + std::to_string(frame.size()) +
                            " bytes does not fit an AVI file",
                        "frame " + std::to_string(FrameCount()), "use smaller pictures");
    Append(format.number, kFrameKind, frame);
}

void AviWriter::WriteOther(uint32_t stream, uint32_t kind, std::span<const uint8_t> payload)
{
    if (payload.size() > avi::kIndexSizeMask)
        throw ToolError("a chunk of 2 GiB does not fit an AVI file", "stream " + std::to_string(stream),
                        "take the stream out of the file first");
    Append(stream, kind, payload);
}

void AviWriter::BeginSegment()
{
    if (segments == kMaxSegments)
        throw ToolError("an AVI file cannot grow further", "frame " + std::to_string(FrameCount()),
                        "encode the rest into another file");
    segmentStart = sink.Position();
    moviStart = segmentStart + avi::kListHead;
    std::vector<uint8_t> head;
    PutListHead(head, avi::kRiff, 0, avi::kAvix);
    PutListHead(head, avi::kList, 0, avi::kMovi);
    sink.Write(head);
}

/// The chunks of one stream in the open segment.
std::vector<uint8_t> AviWriter::MakeSegmentIndex(uint32_t stream) const
{
    std::vector<uint8_t> index;
    PutIndexHead(index, avi::kIndexEntrySize, avi::kIndexOfChunks,
                 static_cast<size_t>(std::ranges::count(entries, stream, &Entry::stream)),
                 ChunkId(stream, KindOf(stream)), segmentStart);
    for (const Entry& entry : entries) {
        if (entry.stream != stream)
            continue;
        Put<uint32_t>(index, static_cast<uint32_t>(entry.offset - segmentStart));
        Put<uint32_t>(index, entry.size);
    }
    return index;
}

/// idx1. Its offsets count from the type "movi".
std::vector<uint8_t> AviWriter::MakeOldIndex() const
{
    std::vector<uint8_t> index;
    const uint64_t base = moviStart + avi::kChunkHead;
    for (const Entry& entry : entries) {
        Put<uint32_t>(index, entry.id);
        Put<uint32_t>(index, avi::kKeyFrame);
        Put<uint32_t>(index, static_cast<uint32_t>(entry.offset - avi::kChunkHead - base));
        Put<uint32_t>(index, entry.size);
    }
    return index;
}

void AviWriter::EndSegment(std::span<const AviExtraChunk> extras)
{
    const bool first = segments == 0;
    for (uint32_t stream = 0; stream < tracks.size(); ++stream) {
        const std::vector<uint8_t> index = MakeSegmentIndex(stream);
        tracks[stream].indexes.push_back({sink.Position(),
                                          static_cast<uint32_t>(avi::kChunkHead + index.size()),
                                          Get<uint32_t>(index, 4)});
        WriteChunk(SegmentIndexId(stream), index);
    }
    const auto moviSize = static_cast<uint32_t>(sink.Position() - moviStart - avi::kChunkHead);
    if (first)
        WriteChunk(avi::kIdx1, MakeOldIndex());
    for (const AviExtraChunk& extra : extras)
        WriteChunk(extra.id, extra.payload);
    const auto riffSize = static_cast<uint32_t>(sink.Position() - segmentStart - avi::kChunkHead);
    ++segments;
    entries.clear();
    if (first) { // its sizes stand in the head, which Finish writes again
        firstRiffSize = riffSize;
        firstMoviSize = moviSize;
        firstFrames = static_cast<uint32_t>(FrameCount());
        return;
    }
    std::vector<uint8_t> head;
    PutListHead(head, avi::kRiff, riffSize, avi::kAvix);
    PutListHead(head, avi::kList, moviSize, avi::kMovi);
    sink.WriteAt(segmentStart, head);
}

void AviWriter::Finish(std::span<const AviExtraChunk> extras)
{
    EndSegment(extras);
    sink.WriteAt(0, MakeHead());
}
