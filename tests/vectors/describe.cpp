#include "vectors/describe.h"

#include "files/checksum_table.h"
#include "files/video_stream.h"
#include "support/exact_buffer.h"
#include "support/sha256.h"

#include <algorithm>

using namespace imgproc;

namespace vectors {

namespace {

/// The layout of pictures whose hashes are given, by compressed format.
FormatId LayoutOf(uint8_t code)
{
    constexpr FormatId layouts[] = {kHostBgr,  kHostBgra,          kHostI444, kHostYuy2,
                                    kHostI420, kHostAyuvOrderAyuv, kHostY8};
    return code >= kCodeRgb && code <= kCodeGray ? layouts[code - kCodeRgb] : kUnknownFormat;
}

} // namespace

StreamReader::StreamReader(const Bytes& record)
{
    codec.SetThreadCount(1);
    const ExactBuffer bytes(record);
    const FormatId wanted = record.size() > 9 ? LayoutOf(record[9]) : kUnknownFormat;
    if (wanted == kUnknownFormat || !codec.CanDecompress(bytes.data(), bytes.size(), wanted))
        return;
    layout = wanted;
    codec.BeginDecompress(info, bytes.data(), bytes.size(), layout);
}

FrameStatus StreamReader::Decode(const Bytes& frame)
{
    const FrameHeader& header = info.header;
    PlaneRecords planes;
    uint32_t size = 0;
    codec.ComputePlanes(planes, nullptr, layout, header.width, header.height, &size);
    ExactBuffer bytes(frame), target(size);
    info.frame = bytes.Bytes();
    codec.SetImage(info, target.data());
    const FrameStatus status = codec.Decompress(info);
    if (status == FrameStatus::Ok)
        picture.assign(target.Bytes().begin(), target.Bytes().end());
    return status;
}

std::string AnswerTo(StreamReader& reader, const Bytes& frame, bool unspecified)
{
    if (frame.empty())
        return reader.Picture().empty() ? "no picture" : "repeated " + Sha256(reader.Picture());
    const FrameStatus status = reader.Decode(frame);
    if (status != FrameStatus::Ok)
        return std::to_string(static_cast<int>(status));
    return unspecified ? "0 unspecified" : "0 " + Sha256(reader.Picture());
}

namespace {

std::string AnswersToStream(const Vector& vector)
{
    const Stream stream = SplitStream(vector.bytes);
    StreamReader reader(stream.record);
    if (!reader.Accepts())
        return "record: refused\n";
    std::string text = "record: accepted\n";
    for (size_t i = 0; i < stream.frames.size(); ++i)
        text += "frame " + std::to_string(i) + ": " +
                AnswerTo(reader, stream.frames[i], vector.unspecified.size() > i && vector.unspecified[i]) +
                "\n";
    return text;
}

/// What a decoded frame is by its checksums.
std::string Compare(const FrameChecksums& found, const FrameChecksums& stored)
{
    std::string wrong;
    const auto compare = [&](const char* name, bool equal) {
        if (!equal)
            wrong += (wrong.empty() ? "" : ", ") + std::string(name);
    };
    compare("size", found.size == stored.size);
    compare("hash", found.frame == stored.frame);
    compare("picture", found.picture == stored.picture);
    compare("bands", found.bands == stored.bands);
    compare("blocks", found.blocks == stored.blocks);
    return wrong.empty() ? " checksums hold" : " contradicts its " + wrong;
}

std::string AnswersToFile(const Vector& vector)
{
    VideoStream stream(std::make_unique<MemorySource>(vector.bytes), vector.name);
    const std::vector<uint8_t>& info = stream.BitmapInfo();
    StreamReader reader({info.begin() + 40, info.end()});
    std::string text = "record: accepted\n";
    const StoredChecksums stored = stream.ReadChecksums();
    std::vector<Bytes> frames;
    std::vector<std::optional<size_t>> entries(stream.FrameCount());
    for (size_t i = 0; i < stream.FrameCount(); ++i) {
        const auto frame = stream.ReadFrame(i);
        frames.emplace_back(frame.begin(), frame.end());
    }
    if (stored.table) {
        FrameMatcher matcher(*stored.table);
        for (const Bytes& frame : frames)
            if (!frame.empty())
                matcher.Add(FrameHasher::HashBytes(frame), static_cast<uint32_t>(frame.size()));
        auto match = matcher.Finish();
        auto next = match.begin();
        for (size_t i = 0; i < frames.size(); ++i)
            if (!frames[i].empty())
                entries[i] = *next++;
    }
    if (stored.unreadable)
        text += "checksums: damaged\n";
    const FrameHasher hasher(stream.Format(), stream.Record());
    for (size_t i = 0; i < frames.size(); ++i) {
        const std::string answer = AnswerTo(reader, frames[i], false);
        text += "frame " + std::to_string(i) + ": " + answer;
        if (entries[i] && answer.starts_with("0 "))
            text += Compare(hasher.Hash(reader.Picture(), frames[i]), stored.table->At(*entries[i]));
        text += "\n";
    }
    return text;
}

} // namespace

std::string Answers(const Vector& vector)
{
    return vector.isAvi ? AnswersToFile(vector) : AnswersToStream(vector);
}

std::string TextOf(const Vector& vector)
{
    return vector.text + "\n\n" + Answers(vector);
}

} // namespace vectors
