// A host of the loaded driver, as far as the tests need one: headers, instances, runs.
#pragma once

#include "common/four_cc.h"
#include "common/frame_header.h"
#include "driver/driver_library.h"
#include "driver/host_formats.h"
#include "support/result_code.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <vector>

inline BITMAPINFOHEADER MakeHeader(const std::string& fourCC, int bits, int width, int height,
                                   uint32_t imageSize = 0)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    header.biCompression = FourCCOf(fourCC);
    header.biSizeImage = imageSize;
    return header;
}

inline BITMAPINFOHEADER MakeHeader(const HostFormat& format, int width, int height, uint32_t imageSize = 0)
{
    return MakeHeader(format.name, format.bits, width, height, imageSize);
}

/// A compressed header with the configuration record behind it.
struct StreamHeader {
    BITMAPINFOHEADER header;
    FrameHeader record;
};
static_assert(sizeof(StreamHeader) == 72);

/// What the driver with default settings would write for this stream.
inline StreamHeader MakeStream(int code, int width, int height)
{
    const Variant& variant = VariantOf(code);
    StreamHeader stream{MakeHeader(variant.fourCC, variant.frameBits, width, height), {}};
    stream.header.biSize = sizeof stream;
    FrameHeader& record = stream.record;
    std::memcpy(record.magic, "ORVN", 4);
    record.headerSize = 32;
    record.version = 7;
    record.formatCode = static_cast<uint8_t>(code);
    record.maxCodeLength = 12;
    record.colorMatrix = 2;
    record.flags = 0x00220000;
    record.width = record.codedWidth = static_cast<uint32_t>(width);
    record.height = static_cast<uint32_t>(height);
    record.blockHeight = 28;
    return stream;
}

/// One opened instance of the loaded driver; closed with this object.
class Instance
{
  public:
    explicit Instance(const char* fourCC = "ORVN", uint32_t mode = ICMODE_QUERY)
    {
        ICOPEN open{};
        open.dwSize = sizeof open;
        open.fccType = ICTYPE_VIDEO;
        open.fccHandler = FourCCOf(fourCC);
        open.dwVersion = 0x1000;
        open.dwFlags = mode;
        id = Raw(0, DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open));
        if (id == 0)
            throw std::runtime_error(std::string("cannot open ") + fourCC);
    }
    ~Instance() { Raw(static_cast<DWORD_PTR>(id), DRV_CLOSE, 0, 0); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    static ResultCode Raw(DWORD_PTR id, UINT message, LPARAM first, LPARAM second)
    {
        return LoadedDriver().DriverProc(id, {}, message, first, second);
    }

    ResultCode Send(UINT message, LPARAM first = 0, LPARAM second = 0) const
    {
        return Raw(static_cast<DWORD_PTR>(id), message, first, second);
    }
    ResultCode Send(UINT message, const void* first, const void* second = nullptr) const
    {
        return Send(message, reinterpret_cast<LPARAM>(first), reinterpret_cast<LPARAM>(second));
    }
    ResultCode Send(UINT message, const void* first, LPARAM second) const
    {
        return Send(message, reinterpret_cast<LPARAM>(first), second);
    }

    LRESULT Id() const { return id; }

    /// The compressed header for these pictures.
    StreamHeader GetStream(const BITMAPINFOHEADER& in) const
    {
        StreamHeader stream;
        if (Send(ICM_COMPRESS_GET_FORMAT, &in, &stream) != ICERR_OK)
            throw std::runtime_error("no compressed format for these pictures");
        return stream;
    }

    struct Frame {
        ResultCode result;
        std::vector<uint8_t> bytes;
        DWORD chunkId;
        DWORD flags;
    };

    /// Sends one picture; the buffer for the frame is as large as the stream's header says.
    Frame Compress(const BITMAPINFOHEADER& in, const StreamHeader& stream, const void* picture) const
    {
        Frame frame{0, std::vector<uint8_t>(stream.header.biSizeImage, uint8_t{0xA5}), 0, 0};
        StreamHeader out = stream;
        BITMAPINFOHEADER source = in;
        ICCOMPRESS params{};
        params.lpbiOutput = &out.header;
        params.lpOutput = frame.bytes.data();
        params.lpbiInput = &source;
        params.lpInput = const_cast<void*>(picture);
        params.lpckid = &frame.chunkId;
        params.lpdwFlags = &frame.flags;
        frame.result = Send(ICM_COMPRESS, &params, LPARAM{sizeof params});
        frame.bytes.resize(frame.result == ICERR_OK ? out.header.biSizeImage : 0);
        return frame;
    }

    /// Decodes a frame into `picture`; `out` is written to as hosts see it.
    ResultCode Decompress(const StreamHeader& stream, std::span<const uint8_t> frame, BITMAPINFOHEADER& out,
                          void* picture, DWORD flags = 0) const
    {
        StreamHeader in = stream;
        in.header.biSizeImage = static_cast<DWORD>(frame.size());
        ICDECOMPRESS params{};
        params.dwFlags = flags;
        params.lpbiInput = &in.header;
        params.lpInput = const_cast<uint8_t*>(frame.data());
        params.lpbiOutput = &out;
        params.lpOutput = picture;
        return Send(ICM_DECOMPRESS, &params, LPARAM{sizeof params});
    }

  private:
    LRESULT id = 0;
};
