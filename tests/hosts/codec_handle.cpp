#include "hosts/codec_handle.h"

#include "support/exact_buffer.h"

Stream CompressClip(HIC codec, const Clip& clip)
{
    BITMAPINFOHEADER in = clip.header;
    Require(ICCompressQuery(codec, &in, nullptr), "ICCompressQuery");
    Stream stream{};
    if (ICCompressGetFormatSize(codec, &in) != sizeof stream.header)
        throw std::runtime_error("the compressed format is not 72 bytes long");
    Require(ICCompressGetFormat(codec, &in, &stream.header), "ICCompressGetFormat");
    Require(ICCompressQuery(codec, &in, &stream.header), "ICCompressQuery");
    const DWORD bound = ICCompressGetSize(codec, &in, &stream.header);
    if (bound != stream.header.header.biSizeImage)
        throw std::runtime_error("two bounds for the size of a frame");

    Require(ICCompressBegin(codec, &in, &stream.header), "ICCompressBegin");
    for (const Bytes& picture : clip.pictures) {
        // A frame depends on where the picture stands, and on what the buffer held.
        ExactBuffer source(picture);
        ExactBuffer frame(bound, 0, 0xA5);
        StreamHeader out = stream.header;
        DWORD chunkId = 0;
        DWORD flags = 0;
        Require(static_cast<LONG>(ICCompress(
                    codec, ICCOMPRESS_KEYFRAME, &out.header, frame.data(), &in, source.data(), &chunkId,
                    &flags, static_cast<LONG>(stream.frames.size()), 0xFFFFFF, 0, nullptr, nullptr)),
                "ICCompress");
        if (flags != AVIIF_KEYFRAME || chunkId != FourCCOf("dcdc") || out.header.biSizeImage > bound)
            throw std::runtime_error("a frame that is no key frame, or larger than its bound");
        if (!std::ranges::equal(source.Bytes(), picture))
            throw std::runtime_error("the picture was written to");
        stream.frames.emplace_back(frame.data(), frame.data() + out.header.biSizeImage);
    }
    Require(ICCompressEnd(codec), "ICCompressEnd");
    return stream;
}

std::vector<Bytes> DecompressStream(HIC codec, const Stream& stream, BITMAPINFOHEADER format, uint32_t size)
{
    StreamHeader in = stream.header;
    Require(ICDecompressQuery(codec, &in, nullptr), "ICDecompressQuery");
    Require(ICDecompressQuery(codec, &in, &format), "ICDecompressQuery");
    Require(ICDecompressBegin(codec, &in, &format), "ICDecompressBegin");
    std::vector<Bytes> pictures;
    for (const Bytes& frame : stream.frames) {
        Bytes bytes = frame;
        Bytes picture(size, uint8_t{0xEE});
        in.header.biSizeImage = static_cast<DWORD>(bytes.size());
        Require(static_cast<LONG>(ICDecompress(codec, 0, &in.header, bytes.data(), &format, picture.data())),
                "ICDecompress");
        pictures.push_back(std::move(picture));
    }
    Require(ICDecompressEnd(codec), "ICDecompressEnd");
    return pictures;
}
