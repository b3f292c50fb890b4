#include "files/avi_writer.h"

#include "files/avi_records.h"
#include "files/little_endian.h"
#include "tool_error.h"

#include <algorithm>

namespace {

constexpr uint32_t kFrameChunk = FourCC("00dc");
constexpr uint32_t kSegmentIndexChunk = FourCC("ix00");
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

/// Head of indx and ix00; `base` is 0 in indx.
void PutIndexHead(std::vector<uint8_t>& bytes, uint32_t entrySize, uint8_t type, size_t entryCount,
                  uint64_t base)
{
    Put<uint16_t>(bytes, static_cast<uint16_t>(entrySize / 4));
    Put<uint8_t>(bytes, 0); // sub-type
    Put<uint8_t>(bytes, type);
    Put<uint32_t>(bytes, static_cast<uint32_t>(entryCount));
    Put<uint32_t>(bytes, kFrameChunk);
    Put<uint64_t>(bytes, base);
    Put<uint32_t>(bytes, 0);
}

} // namespace

AviWriter::AviWriter(ByteSink& sink_, AviStreamFormat format_, uint64_t segmentLimit_)
    : sink(sink_), format(std::move(format_)), segmentLimit(segmentLimit_)
{
    const std::vector<uint8_t> head = MakeHead();
    moviStart = head.size() - avi::kListHead;
    sink.Write(head);
}

std::vector<uint8_t> AviWriter::MakeHead() const
{
    const auto width = static_cast<uint32_t>(format.width);
    const auto height = static_cast<uint32_t>(format.height);
    const auto totalFrames = static_cast<uint32_t>(frameCount);
    const uint32_t firstFrames = segments.empty() ? 0 : segments.front().frames;
    const double bytesPerSecond = static_cast<double>(largestFrame) * format.rate.Value();
    constexpr uint32_t kHasIndex = 0x10;
    constexpr uint32_t kTrustChunkType = 0x800; // key frames are where the index says

    ChunkBuilder head;
    auto& bytes = head.bytes;
    PutListHead(bytes, avi::kRiff, firstRiffSize, avi::kAvi);
    head.OpenList(avi::kList, avi::kHdrl);

    head.Open(avi::kAvih);
    Put<uint32_t>(bytes, static_cast<uint32_t>(std::min(1e6 / format.rate.Value() + 0.5, 4e9)));
    Put<uint32_t>(bytes, static_cast<uint32_t>(std::min(bytesPerSecond, 4e9)));
    Put<uint32_t>(bytes, 0); // padding granularity
    Put<uint32_t>(bytes, kHasIndex | kTrustChunkType);
    Put<uint32_t>(bytes, firstFrames); // of this segment; dmlh has the total
    Put<uint32_t>(bytes, 0);           // initial frames
    Put<uint32_t>(bytes, 1);           // streams
    Put<uint32_t>(bytes, largestFrame);
    Put<uint32_t>(bytes, width);
    Put<uint32_t>(bytes, height);
    head.Zeros(16);
    head.Close();

    head.OpenList(avi::kList, avi::kStrl);
    head.Open(avi::kStrh);
    Put<uint32_t>(bytes, avi::kVids);
    Put<uint32_t>(bytes, format.handler);
    head.Zeros(12); // flags, priority, language, initial frames
    Put<uint32_t>(bytes, format.rate.denominator);
    Put<uint32_t>(bytes, format.rate.numerator);
    Put<uint32_t>(bytes, 0); // start
    Put<uint32_t>(bytes, totalFrames);
    Put<uint32_t>(bytes, largestFrame);
    Put<uint32_t>(bytes, 0xFFFFFFFF); // quality: the codec's own
    Put<uint32_t>(bytes, 0);          // sample size: varies
    Put<uint32_t>(bytes, 0);          // picture rectangle: left, top, right, bottom
    Put<uint16_t>(bytes, static_cast<uint16_t>(std::min(width, 0xFFFFU)));
    Put<uint16_t>(bytes, static_cast<uint16_t>(std::min(height, 0xFFFFU)));
    head.Close();

    head.Open(avi::kStrf);
    PutBytes(bytes, format.bitmapInfo);
    head.Close();

    head.Open(avi::kIndx);
    PutIndexHead(bytes, avi::kSuperEntrySize, avi::kIndexOfIndexes, segments.size(), 0);
    for (const Segment& segment : segments) {
        Put<uint64_t>(bytes, segment.indexOffset);
        Put<uint32_t>(bytes, segment.indexSize);
        Put<uint32_t>(bytes, segment.frames);
    }
    head.Zeros((kMaxSegments - segments.size()) * avi::kSuperEntrySize);
    head.Close();
    head.Close(); // strl

    head.OpenList(avi::kList, avi::kOdml);
    head.Open(avi::kDmlh);
    Put<uint32_t>(bytes, totalFrames);
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

/// The open segment's size with one more frame and its indexes.
uint64_t AviWriter::SegmentSizeWith(uint64_t frameSize) const
{
    const uint64_t frames = entries.size() + 1;
    const uint64_t frameEnd = sink.Position() - segmentStart + avi::kChunkHead + avi::Padded(frameSize);
    const uint64_t segmentIndex = avi::kChunkHead + avi::kIndexHeadSize + frames * avi::kIndexEntrySize;
    const uint64_t idx1 = segments.empty() ? avi::kChunkHead + frames * avi::kIdx1EntrySize : 0;
    return frameEnd + segmentIndex + idx1;
}

void AviWriter::WriteFrame(std::span<const uint8_t> frame)
{
    if (frame.size() > avi::kIndexSizeMask)
        throw ToolError("a compressed frame of " + std::to_string(frame.size()) +
                            " bytes does not fit an AVI file",
                        "frame " + std::to_string(frameCount), "use smaller pictures");
    if (!entries.empty() && SegmentSizeWith(frame.size()) > segmentLimit) {
        EndSegment();
        BeginSegment();
    }
    entries.push_back({sink.Position() + avi::kChunkHead, static_cast<uint32_t>(frame.size())});
    WriteChunk(kFrameChunk, frame);
    largestFrame = std::max(largestFrame, static_cast<uint32_t>(frame.size()));
    ++frameCount;
}

void AviWriter::BeginSegment()
{
    if (segments.size() == kMaxSegments)
        throw ToolError("an AVI file cannot grow further", "frame " + std::to_string(frameCount),
                        "encode the rest into another file");
    segmentStart = sink.Position();
    moviStart = segmentStart + avi::kListHead;
    std::vector<uint8_t> head;
    PutListHead(head, avi::kRiff, 0, avi::kAvix);
    PutListHead(head, avi::kList, 0, avi::kMovi);
    sink.Write(head);
}

void AviWriter::EndSegment()
{
    const bool first = segments.empty();

    std::vector<uint8_t> index;
    PutIndexHead(index, avi::kIndexEntrySize, avi::kIndexOfChunks, entries.size(), segmentStart);
    for (const Entry& entry : entries) {
        Put<uint32_t>(index, static_cast<uint32_t>(entry.offset - segmentStart));
        Put<uint32_t>(index, entry.size);
    }
    const uint64_t indexOffset = sink.Position();
    WriteChunk(kSegmentIndexChunk, index);
    const auto moviSize = static_cast<uint32_t>(sink.Position() - moviStart - avi::kChunkHead);

    if (first) {
        std::vector<uint8_t> idx1;
        const uint64_t base = moviStart + avi::kChunkHead; // offsets count from the type "movi"
        for (const Entry& entry : entries) {
            Put<uint32_t>(idx1, kFrameChunk);
            Put<uint32_t>(idx1, avi::kKeyFrame);
            Put<uint32_t>(idx1, static_cast<uint32_t>(entry.offset - avi::kChunkHead - base));
            Put<uint32_t>(idx1, entry.size);
        }
        WriteChunk(avi::kIdx1, idx1);
    }
    const auto riffSize = static_cast<uint32_t>(sink.Position() - segmentStart - avi::kChunkHead);

    segments.push_back({indexOffset, static_cast<uint32_t>(avi::kChunkHead + index.size()),
                        static_cast<uint32_t>(entries.size())});
    entries.clear();
    if (first) { // its sizes stand in the head, which Finish writes again
        firstRiffSize = riffSize;
        firstMoviSize = moviSize;
        return;
    }
    std::vector<uint8_t> head;
    PutListHead(head, avi::kRiff, riffSize, avi::kAvix);
    PutListHead(head, avi::kList, moviSize, avi::kMovi);
    sink.WriteAt(segmentStart, head);
}

void AviWriter::Finish()
{
    EndSegment();
    sink.WriteAt(0, MakeHead());
}
