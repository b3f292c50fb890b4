// The codec as the tool sees it: pictures in, frames out, and back. Behind it stand the messages of the
// driver, sent to one entry as any host of Video for Windows sends them.
#pragma once

#include "files/pixel_layout.h"
#include "platform/vfw.h"

#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <vector>

/// The entry of a driver; tests put their own in its place.
using DriverEntry = LRESULT(CALLBACK*)(DWORD_PTR driverId, HDRVR driver, UINT message, LPARAM lParam1,
                                       LPARAM lParam2);

/// Zeroed bytes at an address that is a multiple of 64: what a frame depends on is the same on every machine.
class AlignedBuffer
{
  public:
    explicit AlignedBuffer(size_t size);

    uint8_t* Data() const { return bytes.get(); }
    size_t Size() const { return size; }
    std::span<uint8_t> Bytes() const { return {bytes.get(), size}; }

  private:
    static constexpr std::align_val_t kAlignment{64};
    struct Release {
        void operator()(uint8_t* p) const { operator delete(p, kAlignment); }
    };

    size_t size;
    std::unique_ptr<uint8_t, Release> bytes;
};

/// A picture as the driver takes it, with its bitmap header: top-down, rows of 24-bit pixels padded to four
/// bytes, all else tight.
class HostPicture
{
  public:
    HostPicture(const PixelLayout& layout, int width, int height);

    /// From and to a tight picture.
    void Load(std::span<const uint8_t> tight);
    void Store(std::span<uint8_t> tight) const;
    /// Black, or grey where chroma stands at rest at 128.
    void Clear();

    const PixelLayout& Layout() const { return *layout; }
    BITMAPINFOHEADER* Header() { return &header; }
    uint8_t* Data() const { return buffer.Data(); }

  private:
    const PixelLayout* layout;
    size_t rows = 1; ///< of rowBytes; one when there is no padding
    size_t rowBytes;
    size_t pitch;
    AlignedBuffer buffer;
    BITMAPINFOHEADER header;
};

/// An open instance of the driver.
class CodecInstance
{
  public:
    /// mode  ICMODE_COMPRESS or ICMODE_DECOMPRESS
    /// Throws ToolError when the driver does not open.
    CodecInstance(DriverEntry entry, uint32_t fourcc, DWORD mode);
    ~CodecInstance();
    CodecInstance(const CodecInstance&) = delete;
    CodecInstance& operator=(const CodecInstance&) = delete;

    LRESULT Send(UINT message, void* first, void* second = nullptr);

  private:
    DriverEntry entry;
    DWORD_PTR id = 0;
};

/// A compress run. Settings are read from the store when it is made.
class FrameCompressor
{
  public:
    /// bitmapInfo  of an existing stream whose record governs the run; empty for a new stream
    /// Throws ToolError when the driver refuses; ask CanCompress first for a better reason.
    FrameCompressor(DriverEntry entry, const CompressedFormat& format, const PixelLayout& layout, int width,
                    int height, std::span<const uint8_t> bitmapInfo = {});
    ~FrameCompressor();

    /// Bitmap header and configuration record of the stream.
    const std::vector<uint8_t>& BitmapInfo() const { return info; }

    /// The frame of a tight picture, valid until the next call. Throws ToolError when the driver fails.
    std::span<const uint8_t> Compress(std::span<const uint8_t> picture);

  private:
    BITMAPINFOHEADER* Output() { return reinterpret_cast<BITMAPINFOHEADER*>(info.data()); }

    CodecInstance instance;
    HostPicture input;
    std::vector<uint8_t> info;
    std::unique_ptr<AlignedBuffer> frame;
    LONG frameNumber = 0;
};

/// Whether the driver takes a picture of this layout and size for a new stream of this format.
bool CanCompress(DriverEntry entry, const CompressedFormat& format, const PixelLayout& layout, int width,
                 int height);

/// A decompress run.
class FrameDecompressor
{
  public:
    /// bitmapInfo  of the stream, its length is that of header and record
    /// Throws ToolError when the driver refuses.
    FrameDecompressor(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                      const PixelLayout& layout, int width, int height);
    ~FrameDecompressor();

    /// Decodes a frame; an empty one leaves the picture. False when the frame is damaged: the picture then
    /// still shows what was there before.
    bool Decompress(std::span<const uint8_t> frame);

    /// The tight picture of the last frame that was good.
    void Read(std::span<uint8_t> picture) const { output.Store(picture); }
    void Clear() { output.Clear(); }

  private:
    BITMAPINFOHEADER* Input() { return reinterpret_cast<BITMAPINFOHEADER*>(info.data()); }

    CodecInstance instance;
    HostPicture output;
    std::vector<uint8_t> info;
};

/// Whether the driver decodes this stream to this layout.
bool CanDecompress(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                   const PixelLayout& layout, int width, int height);
