// One stream through the class Orvane: a compress run and a decompress run on codecs of their own.
#pragma once

#include "core/orvane.h"
#include "support/exact_buffer.h"
#include "support/frame_status.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

struct StreamSpec {
    FormatId host = kHostI420;
    FormatId code = kCodeYuv420;
    uint32_t width = 64;
    uint32_t height = 60;
    PredictMethod method = PredictMethod::Dynamic;
    bool interlaced = false;
    int threads = 1;
    FormatId output = 0; ///< 0: as host
    uint32_t coderType = 2;
    uint32_t colorMatrix = 2;
    bool fullRange = false;
    bool interpolate = true;
    bool bottomUp = false;
};

/// Tests that compare frames fix all that a frame may depend on: the picture's address modulo 64 and the fill
/// of the output buffer.
class CodecRun
{
  public:
    explicit CodecRun(const StreamSpec& stream) : streamSpec(stream)
    {
        EncodeSettings encode;
        encode.CompMethod = static_cast<uint32_t>(streamSpec.method);
        encode.Interlaced = streamSpec.interlaced;
        encode.CoderType = streamSpec.coderType;
        encode.ColorMatrix = streamSpec.colorMatrix;
        encode.FullRangeYUV = streamSpec.fullRange;
        encode.InterpolateDownscale = streamSpec.interpolate;
        DecodeSettings decode;
        decode.DecompSettings_YUV400 = decode.DecompSettings_YUV420 = 0xFFFFFFFF;
        decode.DecompSettings_YUV422 = decode.DecompSettings_YUV444 = 0xFFFFFFFF;
        for (Orvane* codec : {&encoder, &decoder}) {
            codec->ApplyEncodeSettings(encode);
            codec->ApplyDecodeSettings(decode);
            codec->SetThreadCount(streamSpec.threads);
            codec->SetBottomUp(streamSpec.bottomUp);
        }
        if (!encoder.CanCompress(streamSpec.host, streamSpec.code, streamSpec.width, streamSpec.height) ||
            !encoder.FillConfig(record, streamSpec.host, streamSpec.width, streamSpec.height,
                                streamSpec.code))
            throw std::invalid_argument("no route for this stream");
        BeginCompress();
        BeginDecompress();
    }

    void BeginCompress()
    {
        encoder.BeginCompress(compressInfo, RecordBytes(), sizeof record, streamSpec.host);
    }
    void BeginDecompress()
    {
        decoder.BeginDecompress(decompressInfo, RecordBytes(), sizeof record, Output());
    }

    FormatId Output() const { return streamSpec.output ? streamSpec.output : streamSpec.host; }
    const uint8_t* RecordBytes() const { return reinterpret_cast<const uint8_t*>(&record); }
    uint32_t PictureBytes(FormatId id) const
    {
        PlaneRecords planes;
        uint32_t total = 0;
        encoder.ComputePlanes(planes, nullptr, id, streamSpec.width, streamSpec.height, &total);
        return total;
    }
    uint32_t InputBytes() const { return PictureBytes(streamSpec.host); }
    uint32_t OutputBytes() const { return PictureBytes(Output()); }

    /// The frame of a tightly stored picture; empty when the codec refuses it.
    std::vector<uint8_t> Encode(std::span<const uint8_t> picture, size_t phase = 0)
    {
        const ExactBuffer source(picture, phase);
        std::vector<uint8_t> frame(
            encoder.MaxCompressedSize(streamSpec.host, streamSpec.width, streamSpec.height, streamSpec.code),
            uint8_t{0xA5});
        encoder.SetSource(compressInfo, source.data());
        compressInfo.output = frame.data();
        frame.resize(encoder.Compress(compressInfo));
        return frame;
    }

    /// Decodes into `picture`, which has OutputBytes bytes. The frame ends where its allocation ends.
    FrameStatus DecodeInto(std::span<const uint8_t> frame, uint8_t* picture)
    {
        ExactBuffer bytes(frame);
        decompressInfo.frame = bytes.Bytes();
        decoder.SetImage(decompressInfo, picture);
        return decoder.Decompress(decompressInfo);
    }

    struct Decoded {
        FrameStatus status;
        std::vector<uint8_t> picture;
    };

    /// Decodes into a picture that ends where its allocation ends.
    Decoded Decode(std::span<const uint8_t> frame, size_t phase = 0, uint8_t fill = 0xEE)
    {
        ExactBuffer picture(OutputBytes(), phase, fill);
        const FrameStatus status = DecodeInto(frame, picture.data());
        return {status, {picture.Bytes().begin(), picture.Bytes().end()}};
    }

    StreamSpec streamSpec;
    FrameHeader record{};
    Orvane encoder{true, true};
    Orvane decoder{true, true};
    CompressInfo compressInfo;
    CompressInfo decompressInfo;
};
