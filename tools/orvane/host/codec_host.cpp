#include "host/codec_host.h"

#include "common/align_up.h"
#include "common/frame_header.h"
#include "tool_error.h"

#include <cstring>

namespace {

constexpr char kDriverTrouble[] = "this should not happen; please report it with the command that was run";

/// Bytes of a row in the driver's picture: those of 24-bit pixels are padded to four bytes, all others come
/// out even.
size_t PitchOf(const PixelLayout& layout, int width)
{
    const auto rowBytes = static_cast<size_t>(PackedRowBytes(layout, width));
    return layout.arrangement == Arrangement::Packed ? alignUp<size_t>(rowBytes, 4) : rowBytes;
}

BITMAPINFOHEADER MakeHeader(const PixelLayout& layout, int width, int height, size_t imageBytes)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = layout.IsRgb() ? -height : height; // RGB is top-down only when it says so
    header.biPlanes = 1;
    header.biBitCount = layout.bitCount;
    header.biCompression = layout.fourcc;
    header.biSizeImage = static_cast<DWORD>(imageBytes);
    return header;
}

std::vector<uint8_t> CopyOf(std::span<const uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

} // namespace

AlignedBuffer::AlignedBuffer(size_t size_)
    : size(size_), bytes(static_cast<uint8_t*>(operator new(size_, kAlignment)))
{
    std::memset(bytes.get(), 0, size);
}

HostPicture::HostPicture(const PixelLayout& layout_, int width, int height)
    : layout(&layout_), rowBytes(static_cast<size_t>(PictureBytes(layout_, width, height))), pitch(rowBytes),
      buffer(PitchOf(layout_, width) == PackedRowBytes(layout_, width)
                 ? rowBytes
                 : PitchOf(layout_, width) * static_cast<size_t>(height)),
      header(MakeHeader(layout_, width, height, buffer.Size()))
{
    if (buffer.Size() == rowBytes)
        return;
    rows = static_cast<size_t>(height);
    rowBytes = static_cast<size_t>(PackedRowBytes(layout_, width));
    pitch = PitchOf(layout_, width);
}

void HostPicture::Load(std::span<const uint8_t> tight)
{
    for (size_t row = 0; row < rows; ++row)
        std::memcpy(buffer.Data() + row * pitch, tight.data() + row * rowBytes, rowBytes);
}

void HostPicture::Store(std::span<uint8_t> tight) const
{
    for (size_t row = 0; row < rows; ++row)
        std::memcpy(tight.data() + row * rowBytes, buffer.Data() + row * pitch, rowBytes);
}

void HostPicture::Clear()
{
    std::memset(buffer.Data(), layout->IsRgb() ? 0 : 128, buffer.Size());
}

CodecInstance::CodecInstance(DriverEntry entry_, uint32_t fourcc, DWORD mode) : entry(entry_)
{
    ICOPEN open{};
    open.dwSize = sizeof open;
    open.fccType = ICTYPE_VIDEO;
    open.fccHandler = fourcc;
    open.dwVersion = 0x1000;
    open.dwFlags = mode;
    if (entry(0, nullptr, DRV_LOAD, 0, 0) != 0)
        id = static_cast<DWORD_PTR>(entry(0, nullptr, DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open)));
    if (id == 0)
        throw ToolError("the codec does not open (code " + std::to_string(open.dwError) + ")", "",
                        kDriverTrouble);
}

CodecInstance::~CodecInstance()
{
    entry(id, nullptr, DRV_CLOSE, 0, 0);
}

LRESULT CodecInstance::Send(UINT message, void* first, void* second)
{
    return entry(id, nullptr, message, reinterpret_cast<LPARAM>(first), reinterpret_cast<LPARAM>(second));
}

FrameCompressor::FrameCompressor(DriverEntry entry, const CompressedFormat& format, const PixelLayout& layout,
                                 int width, int height, std::span<const uint8_t> bitmapInfo)
    : instance(entry, format.fourcc, ICMODE_COMPRESS), input(layout, width, height), info(CopyOf(bitmapInfo))
{
    if (info.empty()) {
        const LRESULT size = instance.Send(ICM_COMPRESS_GET_FORMAT, input.Header());
        info.resize(size >= static_cast<LRESULT>(sizeof(BITMAPINFOHEADER)) ? static_cast<size_t>(size) : 0);
        if (info.empty() || instance.Send(ICM_COMPRESS_GET_FORMAT, input.Header(), info.data()) != ICERR_OK)
            throw ToolError("the codec refuses the picture format", "", kDriverTrouble);
    }
    const LRESULT bound = instance.Send(ICM_COMPRESS_GET_SIZE, input.Header(), info.data());
    if (bound <= 0 || instance.Send(ICM_COMPRESS_BEGIN, input.Header(), info.data()) != ICERR_OK)
        throw ToolError("the codec does not begin to compress", "", kDriverTrouble);
    frame = std::make_unique<AlignedBuffer>(static_cast<size_t>(bound));
}

FrameCompressor::~FrameCompressor()
{
    instance.Send(ICM_COMPRESS_END, nullptr);
}

std::span<const uint8_t> FrameCompressor::Compress(std::span<const uint8_t> picture)
{
    input.Load(picture);
    // The last byte of some frames is left as it was: it must not tell of the frame before.
    std::memset(frame->Data(), 0, frame->Size());

    DWORD chunkId = 0, flags = 0;
    ICCOMPRESS record{};
    record.dwFlags = ICCOMPRESS_KEYFRAME;
    record.lpbiOutput = Output();
    record.lpOutput = frame->Data();
    record.lpbiInput = input.Header();
    record.lpInput = input.Data();
    record.lpckid = &chunkId;
    record.lpdwFlags = &flags;
    record.lFrameNum = frameNumber;
    if (const LRESULT result = instance.Send(ICM_COMPRESS, &record); result != ICERR_OK)
        throw ToolError("the codec failed to compress (code " + std::to_string(result) + ")",
                        "frame " + std::to_string(frameNumber), kDriverTrouble);
    ++frameNumber;
    return frame->Bytes().first(Output()->biSizeImage);
}

bool CanCompress(DriverEntry entry, const CompressedFormat& format, const PixelLayout& layout, int width,
                 int height)
{
    CodecInstance instance(entry, format.fourcc, ICMODE_QUERY);
    BITMAPINFOHEADER header = MakeHeader(layout, width, height, 0);
    return instance.Send(ICM_COMPRESS_QUERY, &header) == ICERR_OK;
}

FrameDecompressor::FrameDecompressor(DriverEntry entry, const CompressedFormat& format,
                                     std::span<const uint8_t> bitmapInfo, const PixelLayout& layout,
                                     int width, int height)
    : instance(entry, format.fourcc, ICMODE_DECOMPRESS), output(layout, width, height),
      info(CopyOf(bitmapInfo))
{
    if (instance.Send(ICM_DECOMPRESS_BEGIN, info.data(), output.Header()) != ICERR_OK)
        throw ToolError(std::string("the stream cannot be decoded to ") + layout.name, "",
                        "its headers may be damaged: run orvane repair");
}

FrameDecompressor::~FrameDecompressor()
{
    instance.Send(ICM_DECOMPRESS_END, nullptr);
}

bool FrameDecompressor::Decompress(std::span<const uint8_t> frame)
{
    if (frame.empty())
        return true;
    Input()->biSizeImage = static_cast<DWORD>(frame.size());
    ICDECOMPRESS record{};
    record.lpbiInput = Input();
    record.lpInput = const_cast<uint8_t*>(frame.data()); // the driver only reads it
    record.lpbiOutput = output.Header();
    record.lpOutput = output.Data();
    return instance.Send(ICM_DECOMPRESS, &record) == ICERR_OK;
}

bool CanDecompress(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                   const PixelLayout& layout, int width, int height)
{
    CodecInstance instance(entry, format.fourcc, ICMODE_QUERY);
    std::vector<uint8_t> info = CopyOf(bitmapInfo);
    BITMAPINFOHEADER header = MakeHeader(layout, width, height, 0);
    return instance.Send(ICM_DECOMPRESS_QUERY, info.data(), &header) == ICERR_OK;
}
