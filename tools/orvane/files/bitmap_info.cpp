#include "files/bitmap_info.h"

#include "files/avi_records.h"
#include "files/fourcc.h"
#include "files/frame_structure.h"
#include "files/little_endian.h"
#include "files/pixel_layout.h"
#include "tool_error.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
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

struct CountedHeader {
    FrameHeader header;
    size_t frames; ///< that carry it
};

std::optional<FrameHeader> HeaderOf(const ByteSource& source, const AviFrame& frame)
{
    std::array<uint8_t, kFrameHeaderSize> bytes{};
    if (frame.size < bytes.size() || source.Read(frame.offset, bytes) < bytes.size() ||
        !HasMagic(bytes.data()))
        return std::nullopt;
    const FrameHeader header = ReadHeader(bytes.data());
    const bool isUsable = header.headerSize == kFrameHeaderSize && header.version <= kFrameVersion &&
                          FindCompressedFormat(header.formatCode) != nullptr &&
                          CoderTypeOf(header) == CoderType::InFrame;
    return isUsable ? std::optional(header) : std::nullopt;
}

/// The header that most frames carry.
std::optional<CountedHeader> CommonHeader(const ByteSource& source, const AviFile& file)
{
    std::map<std::array<uint8_t, kFrameHeaderSize>, size_t> counts;
    for (const AviFrame& frame : file.frames)
        if (const std::optional<FrameHeader> header = HeaderOf(source, frame))
            ++counts[std::bit_cast<std::array<uint8_t, kFrameHeaderSize>>(*header)];
    const auto most = std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
    return most == counts.end()
               ? std::nullopt
               : std::optional(CountedHeader{std::bit_cast<FrameHeader>(most->first), most->second});
}

/// Whether the bitmap header is of pictures of this size.
bool HasSizeOf(const std::vector<uint8_t>& info, const FrameHeader& header)
{
    const int64_t height = Get<int32_t>(info, kHeight);
    return Get<uint32_t>(info, kWidth) == header.width && (height < 0 ? -height : height) == header.height;
}

/// Whether readers take a record for what it says of itself.
bool IsUsable(const FrameHeader& record, const std::vector<uint8_t>& info)
{
    return record.version <= kFrameVersion && record.headerSize >= kFrameHeaderSize &&
           record.headerSize <= info.size() - kHead;
}

/// The record that holds for the frames. One frame alone does not prove the stream's record wrong, unless the
/// size in the bitmap header is that frame's.
std::optional<FrameHeader> ChooseRecord(const ByteSource& source, const AviFile& file,
                                        std::vector<std::string>& changes)
{
    const std::optional<FrameHeader> stored = RecordIn(file.bitmapInfo);
    const auto first =
        std::ranges::find_if(file.frames, [](const AviFrame& frame) { return frame.size > 0; });
    const bool isUsable = stored && IsUsable(*stored, file.bitmapInfo);
    if (isUsable && first != file.frames.end())
        if (const auto header = HeaderOf(source, *first); header && !HeaderFault(*header, *stored))
            return stored;
    const std::optional<CountedHeader> common = CommonHeader(source, file);
    if (!common)
        return stored;
    if (!stored) {
        changes.emplace_back("there was no configuration record: taken from the frames");
        return common->header;
    }
    const bool isProven = common->frames > 1 || (HasSizeOf(file.bitmapInfo, common->header) &&
                                                 !HasSizeOf(file.bitmapInfo, *stored));
    if (isUsable && (!HeaderFault(common->header, *stored) || !isProven))
        return stored;
    changes.emplace_back("the configuration record did not fit the frames: taken from them");
    return common->header;
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
    const std::optional<FrameHeader> chosen = ChooseRecord(source, file, changes);
    if (!chosen)
        throw ToolError("neither the stream nor a frame tells what the pictures are", name,
                        "there is nothing to repair it from");
    const FrameHeader& record = *chosen;
    std::vector<uint8_t> info = file.bitmapInfo;
    const bool isLost = info.size() < kHead;
    const std::optional<FrameHeader> stored = RecordIn(info);
    if (!stored || std::memcmp(&*stored, &record, sizeof record) != 0) {
        info.resize(kHead);
        const auto* const bytes = reinterpret_cast<const uint8_t*>(&record);
        PutBytes(info, {bytes, sizeof record});
    }
    const CompressedFormat* const format = FindCompressedFormat(record.formatCode);
    if (format == nullptr)
        throw ToolError("format " + std::to_string(record.formatCode) + " is not supported", name,
                        "only the 8-bit formats can be read");
    CheckPictureSize(NativeLayout(format->code), record.width, record.height, name);

    if (const auto size = Get<uint32_t>(info, kSize); size != info.size() && !isLost)
        changes.push_back("the bitmap header gave its size as " + std::to_string(size) + " bytes");
    if (!IsOurFourCC(Get<uint32_t>(info, kCompression)))
        SetField(info, kCompression, format->fourcc);
    info = PutRight(std::move(info), format->fourcc);
    if (!isLost && Get<uint32_t>(info, kCompression) != Get<uint32_t>(file.bitmapInfo, kCompression))
        changes.push_back("the bitmap header named the codec " +
                          PrintableFourCC(Get<uint32_t>(file.bitmapInfo, kCompression)));
    // Hosts write heights of either sign; none of them means anything to the codec.
    if (!HasSizeOf(info, record)) {
        if (!isLost)
            changes.push_back("the bitmap header gave the size as " +
                              std::to_string(Get<int32_t>(info, kWidth)) + "x" +
                              std::to_string(std::abs(int64_t{Get<int32_t>(info, kHeight)})));
        SetField(info, kWidth, record.width);
        SetField(info, kHeight, record.height);
    }
    SetField(info, kPlanes, uint16_t{1});
    if (Get<uint16_t>(info, kBitCount) == 0)
        SetField(info, kBitCount, NativeLayout(format->code).bitCount);
    return info;
}
