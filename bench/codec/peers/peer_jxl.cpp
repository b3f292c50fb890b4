#include "codec/peers/peer.h"

#include <jxl/decode.h>
#include <jxl/encode.h>

#include <cstring>

namespace {

/// JPEG XL, lossless at its lowest effort: each plane as a grey picture, or one RGB picture (hosts store B G
/// R, which is the same to it). The streams follow each other, each after its size.
class JxlPeer final : public Peer
{
  public:
    explicit JxlPeer(const PeerPicture& picture_) : picture(picture_) {}

    std::string Name() const override { return "libjxl e1"; }
    void Encode(const uint8_t* bytes, std::vector<uint8_t>& coded) override
    {
        coded.clear();
        for (const PeerPlane& plane : picture.planes) {
            EncodePlane(plane, bytes + plane.offset);
            const size_t size = stream.size();
            const auto* sizeBytes = reinterpret_cast<const uint8_t*>(&size);
            coded.insert(coded.end(), sizeBytes, sizeBytes + sizeof size);
            coded.insert(coded.end(), stream.begin(), stream.end());
        }
    }
    void Decode(std::span<const uint8_t> coded, uint8_t* bytes) override
    {
        size_t at = 0;
        for (const PeerPlane& plane : picture.planes) {
            size_t size = 0;
            std::memcpy(&size, coded.data() + at, sizeof size);
            at += sizeof size;
            DecodePlane(plane, coded.subspan(at, size), bytes + plane.offset);
            at += size;
        }
    }

  private:
    static JxlPixelFormat FormatOf(const PeerPlane& plane)
    {
        return {static_cast<uint32_t>(plane.samples), JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    }
    static size_t BytesOf(const PeerPlane& plane)
    {
        return static_cast<size_t>(plane.width) * static_cast<size_t>(plane.height) *
               static_cast<size_t>(plane.samples);
    }

    /// Into `stream`.
    void EncodePlane(const PeerPlane& plane, const uint8_t* samples)
    {
        JxlEncoder* const codec = encoder.get();
        JxlEncoderReset(codec);
        JxlBasicInfo info;
        JxlEncoderInitBasicInfo(&info);
        info.xsize = static_cast<uint32_t>(plane.width);
        info.ysize = static_cast<uint32_t>(plane.height);
        info.bits_per_sample = 8;
        info.num_color_channels = static_cast<uint32_t>(plane.samples);
        info.uses_original_profile = JXL_TRUE;
        ExpectPeer(JxlEncoderSetBasicInfo(codec, &info) == JXL_ENC_SUCCESS, "JxlEncoderSetBasicInfo");
        JxlColorEncoding color;
        JxlColorEncodingSetToSRGB(&color, plane.samples == 1);
        ExpectPeer(JxlEncoderSetColorEncoding(codec, &color) == JXL_ENC_SUCCESS,
                   "JxlEncoderSetColorEncoding");
        JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(codec, nullptr);
        ExpectPeer(JxlEncoderSetFrameLossless(settings, JXL_TRUE) == JXL_ENC_SUCCESS,
                   "JxlEncoderSetFrameLossless");
        JxlEncoderFrameSettingsSetOption(settings, JXL_ENC_FRAME_SETTING_EFFORT, 1);
        const JxlPixelFormat format = FormatOf(plane);
        ExpectPeer(JxlEncoderAddImageFrame(settings, &format, samples, BytesOf(plane)) == JXL_ENC_SUCCESS,
                   "JxlEncoderAddImageFrame");
        JxlEncoderCloseInput(codec);

        stream.resize(BytesOf(plane) * 2 + 65536);
        uint8_t* next = stream.data();
        size_t room = stream.size();
        ExpectPeer(JxlEncoderProcessOutput(codec, &next, &room) == JXL_ENC_SUCCESS,
                   "JxlEncoderProcessOutput");
        stream.resize(stream.size() - room);
    }

    void DecodePlane(const PeerPlane& plane, std::span<const uint8_t> coded, uint8_t* samples)
    {
        JxlDecoder* const codec = decoder.get();
        JxlDecoderReset(codec);
        ExpectPeer(JxlDecoderSubscribeEvents(codec, JXL_DEC_FULL_IMAGE) == JXL_DEC_SUCCESS,
                   "JxlDecoderSubscribeEvents");
        JxlDecoderSetInput(codec, coded.data(), coded.size());
        JxlDecoderCloseInput(codec);
        const JxlPixelFormat format = FormatOf(plane);
        JxlDecoderStatus status = JxlDecoderProcessInput(codec);
        if (status == JXL_DEC_NEED_IMAGE_OUT_BUFFER) {
            ExpectPeer(JxlDecoderSetImageOutBuffer(codec, &format, samples, BytesOf(plane)) ==
                           JXL_DEC_SUCCESS,
                       "JxlDecoderSetImageOutBuffer");
            status = JxlDecoderProcessInput(codec);
        }
        ExpectPeer(status == JXL_DEC_FULL_IMAGE, "JxlDecoderProcessInput");
    }

    PeerPicture picture;
    std::vector<uint8_t> stream;
    std::unique_ptr<JxlEncoder, void (*)(JxlEncoder*)> encoder{JxlEncoderCreate(nullptr), JxlEncoderDestroy};
    std::unique_ptr<JxlDecoder, void (*)(JxlDecoder*)> decoder{JxlDecoderCreate(nullptr), JxlDecoderDestroy};
};

const PeerRegistration kJxl(5, [](const PeerPicture& p) { return std::make_unique<JxlPeer>(p); });

} // namespace
