// A codec opened through msvfw32, and the calls that a host makes for a clip.
#pragma once

#include "hosts/host_pictures.h"

#include <stdexcept>

/// Throws unless a call of the codec was successful.
inline void Require(LRESULT result, const char* call)
{
    if (result != ICERR_OK)
        throw std::runtime_error(std::string(call) + " answered " + std::to_string(result));
}

/// The pixels of a bitmap in one piece: header, colours, pixels. With 8 bits a pixel hosts leave room for 256
/// colours.
inline Bytes PixelsOf(const BITMAPINFOHEADER& bitmap)
{
    const DWORD colours =
        bitmap.biClrUsed != 0 || bitmap.biBitCount > 8 ? bitmap.biClrUsed : 1U << bitmap.biBitCount;
    const auto* const begin =
        reinterpret_cast<const uint8_t*>(&bitmap) + bitmap.biSize + colours * sizeof(RGBQUAD);
    return {begin, begin + bitmap.biSizeImage};
}

/// An open codec; closed with this object.
class CodecHandle
{
  public:
    CodecHandle(const char* fourCC, UINT mode)
        : CodecHandle(ICOpen(ICTYPE_VIDEO, FourCCOf(fourCC), mode), fourCC)
    {}
    /// Takes over what a host was given.
    CodecHandle(HIC opened, const char* name) : handle(opened)
    {
        if (!handle)
            throw std::runtime_error(std::string("no codec for ") + name);
    }
    ~CodecHandle() { ICClose(handle); }
    CodecHandle(const CodecHandle&) = delete;
    CodecHandle& operator=(const CodecHandle&) = delete;

    operator HIC() const { return handle; }

  private:
    HIC handle;
};

/// A compressed stream as a host holds it.
struct Stream {
    StreamHeader header;
    std::vector<Bytes> frames;
};

/// Asks for the stream's format, compresses all pictures in one run. The buffer of a frame is as large as
/// ICCompressGetSize says.
Stream CompressClip(HIC codec, const Clip& clip);

/// Decompresses all frames to `format`, each into a picture of `size` bytes that held something else.
std::vector<Bytes> DecompressStream(HIC codec, const Stream& stream, BITMAPINFOHEADER format, uint32_t size);
