#include "files/video_stream.h"

#include "files/avi_records.h"
#include "files/bitmap_info.h"
#include "files/fourcc.h"
#include "files/little_endian.h"
#include "files/y4m_header.h"
#include "tool_error.h"

#include <algorithm>

namespace {

/// Refuses a file of which no frame is long enough for a picture: no sample takes less than a bit. Without a
/// frame the file itself is too short.
void CheckPictureFits(const CompressedFormat& format, const FrameHeader& record, const AviFile& file,
                      uint64_t fileSize, const std::string& name)
{
    const auto width = static_cast<int>(record.width), height = static_cast<int>(record.height);
    const uint64_t least = PictureBytes(NativeLayout(format.code), width, height) / 8;
    const auto longest = std::ranges::max_element(file.frames, {}, &AviFrame::size);
    const bool hasBytes = longest != file.frames.end() && longest->size > 0;
    if (least > (hasBytes ? longest->size : fileSize))
        throw ToolError((hasBytes ? "every frame is shorter than a picture of "
                                  : "the file is shorter than a picture of ") +
                            std::to_string(width) + "x" + std::to_string(height) + " can be",
                        name, "its headers are damaged or its frames are lost");
}

} // namespace

VideoStream::VideoStream(const std::filesystem::path& path)
    : VideoStream(std::make_unique<FileSource>(path), TextOf(path))
{}

VideoStream::VideoStream(std::unique_ptr<ByteSource> source_, std::string name_)
    : source(std::move(source_)), name(std::move(name_)), file(ReadAvi(*source, name)),
      headFaults(file.headFaults), bitmapInfo(RebuildBitmapInfo(*source, file, name, headFaults)),
      record(ReadHeader(bitmapInfo.data() + avi::kBitmapHeaderSize)),
      format(FindCompressedFormat(record.formatCode))
{
    if (format == nullptr)
        throw ToolError("format " + std::to_string(record.formatCode) + " is not supported", name,
                        "only the 8-bit formats can be read");
    CheckPictureSize(NativeLayout(format->code), record.width, record.height, name);
    CheckPictureFits(*format, record, file, source->Size(), name);
    for (const AviChunk& chunk : file.others)
        if (chunk.id == avi::kY4mFields) {
            const std::vector<uint8_t> text =
                source->ReadBytes(chunk.offset, std::min<size_t>(chunk.size, kMaxY4mFields));
            y4mFields.assign(text.begin(), text.end());
        }
}

StoredChecksums VideoStream::ReadChecksums() const
{
    StoredChecksums stored;
    const FrameHasher hasher(*format, record);
    for (const AviChunk& chunk : file.others) {
        if (chunk.id != avi::kChecksums)
            continue;
        const auto table = ChecksumTable::Parse(source->ReadBytes(chunk.offset, chunk.size), hasher.Bands(),
                                                hasher.Blocks());
        if (!table)
            stored.unreadable = true;
        else if (stored.table)
            stored.table->Add(*table);
        else
            stored.table = table;
    }
    return stored;
}

VideoInfo VideoStream::InfoFor(const PixelLayout& layout) const
{
    VideoInfo info;
    info.layout = &layout;
    info.width = Width();
    info.height = Height();
    info.rate = file.rate;
    info.interlaced = IsInterlaced(record);
    if (IsYuvFamily(format->code))
        info.fullRange = IsFullRange(record);
    TakeY4mFields(y4mFields, info);
    return info;
}

std::span<const uint8_t> VideoStream::ReadFrame(size_t number)
{
    const AviFrame& frame = file.frames[number];
    frameBytes.resize(std::max<size_t>(frameBytes.size(), frame.size));
    const std::span<uint8_t> bytes(frameBytes.data(), frame.size);
    return bytes.first(source->Read(frame.offset, bytes));
}
