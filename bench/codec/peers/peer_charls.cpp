#include "codec/peers/peer.h"

#include <charls/charls.h>

#include <cstring>

namespace {

/// JPEG-LS: each plane by itself; RGB with the transform HP1 and interleaved samples. The streams follow each
/// other, each after its size.
class CharlsPeer final : public Peer
{
  public:
    explicit CharlsPeer(const PeerPicture& picture_) : picture(picture_) {}

    std::string Name() const override { return "CharLS"; }
    void Encode(const uint8_t* bytes, std::vector<uint8_t>& coded) override
    {
        coded.resize(picture.bytes * 2 + 65536);
        size_t at = 0;
        for (const PeerPlane& plane : picture.planes) {
            charls::jpegls_encoder encoder;
            encoder.frame_info(
                {static_cast<uint32_t>(plane.width), static_cast<uint32_t>(plane.height), 8, plane.samples});
            if (plane.samples == 3)
                encoder.interleave_mode(charls::interleave_mode::sample)
                    .color_transformation(charls::color_transformation::hp1);
            encoder.destination(coded.data() + at + sizeof(size_t), coded.size() - at - sizeof(size_t));
            const size_t size = encoder.encode(bytes + plane.offset, BytesOf(plane));
            std::memcpy(coded.data() + at, &size, sizeof size);
            at += sizeof size + size;
        }
        coded.resize(at);
    }
    void Decode(std::span<const uint8_t> coded, uint8_t* bytes) override
    {
        size_t at = 0;
        for (const PeerPlane& plane : picture.planes) {
            size_t size = 0;
            std::memcpy(&size, coded.data() + at, sizeof size);
            at += sizeof size;
            charls::jpegls_decoder decoder(coded.data() + at, size, true);
            decoder.decode(bytes + plane.offset, BytesOf(plane));
            at += size;
        }
    }

  private:
    static size_t BytesOf(const PeerPlane& plane)
    {
        return static_cast<size_t>(plane.width) * static_cast<size_t>(plane.height) *
               static_cast<size_t>(plane.samples);
    }

    PeerPicture picture;
};

const PeerRegistration kCharls(4, [](const PeerPicture& p) { return std::make_unique<CharlsPeer>(p); });

} // namespace
