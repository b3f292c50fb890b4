#include "files/bitmap_info.h"

#include "files/avi_records.h"
#include "files/fourcc.h"
#include "files/frame_structure.h"
#include "files/little_endian.h"
#include "files/pixel_layout.h"
#include "tool_error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace {

constexpr size_t kHead = avi::kBitmapHeaderSize;
constexpr size_t kSize = 0, kWidth = 4, kHeight = 8, kPlanes = 12, kBitCount = 14, kCompression = 16;

template <class T>
void SetField(std::vector<uint8_t>& bytes, size_t offset, T value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

/// The header that most frames carry.
std::optional<FrameHeader> CommonHeader(const ByteSource& source, const AviFile& file)
{
    using Bytes = std::array<uint8_t, kFrameHeaderSize>;
    std::map<Bytes, size_t> counts;
    for (const AviFrame& frame : file.frames) {
        Bytes bytes{};
        if (frame.size < bytes.size() || source.Read(frame.offset, bytes) < bytes.size() ||
            !HasMagic(bytes.data()))
            continue;
        const FrameHeader header = ReadHeader(bytes.data());
        if (header.headerSize == kFrameHeaderSize && header.version <= kFrameVersion &&
            FindCompressedFormat(header.formatCode) != nullptr && CoderTypeOf(header) == CoderType::InFrame)
            ++counts[bytes];
    }
    const auto most = std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
    return most == counts.end() ? std::nullopt : std::optional(ReadHeader(most->first.data()));
}

} // namespace

std::optional<FrameHeader> RecordIn(const std::vector<uint8_t>& bitmapInfo)
{
    if (bitmapInfo.size() < kHead + kFrameHeaderSize || !HasMagic(bitmapInfo.data() + kHead))
        return std::nullopt;
    return ReadHeader(bitmapInfo.data() + kHead);
}

std::vector<uint8_t> PutRight(std::vector<uint8_t> bitmapInfo, uint32_t handler)
{
    const uint32_t recordSize = ReadHeader(bitmapInfo.data() + kHead).headerSize;
    if (recordSize >= kFrameHeaderSize && recordSize < bitmapInfo.size() - kHead)
        bitmapInfo.resize(kHead + recordSize);
    SetField(bitmapInfo, kSize, static_cast<uint32_t>(bitmapInfo.size()));
    if (const auto compression = Get<uint32_t>(bitmapInfo, kCompression);
        compression != UpperFourCC(compression) || !IsOurFourCC(compression))
        SetField(bitmapInfo, kCompression, UpperFourCC(IsOurFourCC(compression) ? compression : handler));
    return bitmapInfo;
}

std::vector<uint8_t> RebuildBitmapInfo(const ByteSource& source, const AviFile& file, const std::string& name,
                                       std::vector<std::string>& changes)
{
    std::vector<uint8_t> info = file.bitmapInfo;
    const std::optional<FrameHeader> stored = RecordIn(info);
    const std::optional<FrameHeader> common = CommonHeader(source, file);
    if (!stored && !common)
        throw ToolError("neither the stream nor a frame tells what the pictures are", name,
                        "there is nothing to repair it from");
    FrameHeader record = stored.value_or(FrameHeader{});
    if (common && (!stored || HeaderFault(*common, *stored))) {
        changes.push_back(stored ? "the configuration record did not fit the frames: taken from them"
                                 : "there was no configuration record: taken from the frames");
        record = *common;
        info.resize(kHead);
        const auto* const bytes = reinterpret_cast<const uint8_t*>(&record);
        PutBytes(info, {bytes, sizeof record});
    }
    const CompressedFormat* const format = FindCompressedFormat(record.formatCode);
    if (format == nullptr)
        throw ToolError("format " + std::to_string(record.formatCode) + " is not supported", name,
                        "only the 8-bit formats can be read");
    CheckPictureSize(NativeLayout(format->code), record.width, record.height, name);

    if (const auto size = Get<uint32_t>(info, kSize); size != info.size())
        changes.push_back("the bitmap header gave its size as " + std::to_string(size) + " bytes");
    if (!IsOurFourCC(Get<uint32_t>(info, kCompression)))
        SetField(info, kCompression, format->fourcc);
    info = PutRight(std::move(info), format->fourcc);
    if (Get<uint32_t>(info, kCompression) != Get<uint32_t>(file.bitmapInfo, kCompression))
        changes.push_back("the bitmap header named the codec " +
                          PrintableFourCC(Get<uint32_t>(file.bitmapInfo, kCompression)));
    // Hosts write heights of either sign; none of them means anything to the codec.
    const int64_t height = Get<int32_t>(info, kHeight);
    if (Get<uint32_t>(info, kWidth) != record.width || (height < 0 ? -height : height) != record.height) {
        changes.push_back("the bitmap header gave the size as " + std::to_string(Get<int32_t>(info, kWidth)) +
                          "x" + std::to_string(height));
        SetField(info, kWidth, record.width);
        SetField(info, kHeight, record.height);
    }
    SetField(info, kPlanes, uint16_t{1});
    if (Get<uint16_t>(info, kBitCount) == 0)
        SetField(info, kBitCount, NativeLayout(format->code).bitCount);
    return info;
}
