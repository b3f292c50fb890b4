#include "codec/peers/peer.h"

#include <lz4.h>

namespace {

/// Bytes as they are, without prediction.
class Lz4Peer final : public Peer
{
  public:
    explicit Lz4Peer(const PeerPicture& picture) : bytes(static_cast<int>(picture.bytes)) {}

    std::string Name() const override { return "lz4"; }
    void Encode(const uint8_t* source, std::vector<uint8_t>& coded) override
    {
        coded.resize(static_cast<size_t>(LZ4_compressBound(bytes)));
        const int size =
            LZ4_compress_default(reinterpret_cast<const char*>(source), reinterpret_cast<char*>(coded.data()),
                                 bytes, static_cast<int>(coded.size()));
        ExpectPeer(size > 0, "LZ4_compress_default");
        coded.resize(static_cast<size_t>(size));
    }
    void Decode(std::span<const uint8_t> coded, uint8_t* target) override
    {
        const int size =
            LZ4_decompress_safe(reinterpret_cast<const char*>(coded.data()), reinterpret_cast<char*>(target),
                                static_cast<int>(coded.size()), bytes);
        ExpectPeer(size == bytes, "LZ4_decompress_safe");
    }

  private:
    int bytes;
};

const PeerRegistration kLz4(3, [](const PeerPicture& p) { return std::make_unique<Lz4Peer>(p); });

} // namespace
