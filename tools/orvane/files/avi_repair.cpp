#include "files/avi_repair.h"

#include "counted.h"
#include "files/avi_records.h"
#include "files/avi_writer.h"
#include "files/bitmap_info.h"
#include "files/fourcc.h"
#include "files/little_endian.h"
#include "files/pixel_layout.h"
#include "tool_error.h"

#include <algorithm>

namespace {

constexpr size_t kMaxDescription = 1 << 20; // bytes that describe one stream
constexpr uint64_t kMaxExtras = 1 << 30;    // what the writer takes

bool IsIndex(uint32_t id)
{
    return id == avi::kIdx1 || id == avi::kIndx ||
           ((id & 0xFFFF) == ('i' | 'x' << 8) && avi::StreamOfDigits(id >> 16));
}

/// Chunks of the head that are made anew wherever they stand.
bool IsHead(uint32_t id)
{
    return id == avi::kAvih || id == avi::kDmlh || id == avi::kStrh || id == avi::kStrf;
}

} // namespace

AviRepair::AviRepair(const ByteSource& source_, const std::string& name, std::optional<Rational> rate)
    : source(source_), file(ReadAvi(source, name))
{
    if (rate)
        file.rate = *rate;
    if (file.frames.empty())
        throw ToolError("there is not a single frame in the file", name,
                        "there is nothing to repair it from");
    DescribeStreams(name);
    SortOthers();
    NoteState();
}

uint64_t AviRepair::Run(ByteSink& sink, const std::function<bool(uint32_t)>& goOn)
{
    AviWriter writer(sink, format);
    const uint64_t frames = WriteStreams(writer, goOn);
    writer.Finish(ReadExtras());
    return frames;
}

void AviRepair::DescribeStreams(const std::string& name)
{
    format.bitmapInfo = RebuildBitmapInfo(source, file, name, changes);
    record = *RecordIn(format.bitmapInfo);
    format.handler = Get<uint32_t>(format.bitmapInfo, 16);
    if (file.handler != format.handler)
        changes.push_back(file.handler == 0
                              ? "the stream header named no codec"
                              : "the stream header named the codec " + PrintableFourCC(file.handler));
    format.width = static_cast<int>(record.width);
    format.height = static_cast<int>(record.height);
    format.rate = file.rate;
    format.number = static_cast<uint32_t>(file.stream);
    file.streams.resize(std::max<size_t>(file.streams.size(), format.number + size_t{1}));
    for (size_t i = 0; i < file.streams.size(); ++i)
        if (i == format.number)
            format.chunks = Describe(i, false);
        else
            format.others.push_back({ReadHeaderOf(i), Describe(i, true)});
}

std::vector<uint8_t> AviRepair::ReadHeaderOf(size_t stream) const
{
    const auto& chunks = file.streams[stream];
    const auto header = std::ranges::find(chunks, avi::kStrh, &AviChunk::id);
    return header == chunks.end() ? std::vector<uint8_t>{}
                                  : source.ReadBytes(header->offset, std::min<size_t>(header->size, 256));
}

/// What stands behind strh in the list of a stream.
std::vector<uint8_t> AviRepair::Describe(size_t stream, bool withFormat) const
{
    std::vector<uint8_t> bytes;
    for (const AviChunk& chunk : file.streams[stream]) {
        if (chunk.id == avi::kStrh || (chunk.id == avi::kStrf && !withFormat) ||
            bytes.size() + chunk.size > kMaxDescription)
            continue;
        Put<uint32_t>(bytes, chunk.id);
        Put<uint32_t>(bytes, chunk.size);
        PutBytes(bytes, source.ReadBytes(chunk.offset, chunk.size));
        if (chunk.size % 2 != 0)
            bytes.push_back(0);
    }
    return bytes;
}

/// Which of the other chunks belong to streams, and which stand by themselves.
void AviRepair::SortOthers()
{
    const size_t streams = format.others.size() + 1;
    uint64_t bytes = 0;
    for (const AviChunk& chunk : file.others) {
        const auto stream = avi::StreamOfDigits(chunk.id);
        if (IsIndex(chunk.id) || IsHead(chunk.id) ||
            (stream && *stream == static_cast<uint32_t>(file.stream)))
            continue;
        if (stream && *stream < streams) {
            streamChunks.push_back(chunk);
        } else if (bytes + chunk.size <= kMaxExtras) {
            bytes += chunk.size;
            extras.push_back(chunk);
        } else {
            losses.push_back("a chunk " + PrintableFourCC(chunk.id) + " of " + Counted(chunk.size, "byte") +
                             " was left out");
        }
    }
}

void AviRepair::NoteState()
{
    changes.insert(changes.end(), file.headFaults.begin(), file.headFaults.end());
    if (!file.rateIsKnown)
        changes.push_back("the frame rate is now " + TextOf(file.rate, '/') + "; --fps sets another");
    if (const std::string fault = file.IndexFault(); !fault.empty())
        changes.push_back(fault);
    if (file.reordered)
        changes.emplace_back(
            "the index plays the frames in another order than they were stored in: it decides");
    if (file.brokenPlaces > 0)
        changes.push_back("the chain of chunks was broken in " + Counted(file.brokenPlaces, "place"));
    if (file.cut)
        losses.push_back("the file was cut off " + file.WhereCut());
    for (const AviGap& gap : file.gaps)
        losses.push_back(file.TextOf(gap));
    if (file.mayLackFrames)
        losses.emplace_back("bytes that are no chunk, and nothing says how many frames there were");
}

/// Frames in playing order; each chunk of another stream stays before the frame that it stood before. Returns
/// how many frames were written.
uint64_t AviRepair::WriteStreams(AviWriter& writer, const std::function<bool(uint32_t)>& goOn)
{
    size_t next = 0;
    const auto writeUpTo = [&](uint64_t offset) {
        for (; next < streamChunks.size() && streamChunks[next].offset < offset; ++next) {
            const AviChunk& chunk = streamChunks[next];
            writer.WriteOther(*avi::StreamOfDigits(chunk.id), chunk.id >> 16,
                              source.ReadBytes(chunk.offset, chunk.size));
        }
    };
    for (const AviFrame& frame : file.frames) {
        writeUpTo(frame.offset);
        writer.WriteFrame(source.ReadBytes(frame.offset, frame.size));
        if (!goOn(frame.size))
            return writer.FrameCount();
    }
    writeUpTo(UINT64_MAX);
    return writer.FrameCount();
}

std::vector<AviExtraChunk> AviRepair::ReadExtras() const
{
    std::vector<AviExtraChunk> read = added;
    for (const AviChunk& chunk : extras)
        read.push_back({chunk.id, source.ReadBytes(chunk.offset, chunk.size)});
    return read;
}
