#include "codec/peers/peer.h"

#include <zstd.h>

namespace {

/// Bytes as they are, without prediction.
class ZstdPeer final : public Peer
{
  public:
    ZstdPeer(const PeerPicture& picture_, int level_) : picture(picture_), level(level_) {}

    std::string Name() const override { return "zstd -" + std::to_string(level); }
    void Encode(const uint8_t* bytes, std::vector<uint8_t>& coded) override
    {
        coded.resize(ZSTD_compressBound(picture.bytes));
        const size_t size =
            ZSTD_compressCCtx(compressor.get(), coded.data(), coded.size(), bytes, picture.bytes, level);
        ExpectPeer(!ZSTD_isError(size), "ZSTD_compressCCtx");
        coded.resize(size);
    }
    void Decode(std::span<const uint8_t> coded, uint8_t* bytes) override
    {
        const size_t size =
            ZSTD_decompressDCtx(decompressor.get(), bytes, picture.bytes, coded.data(), coded.size());
        ExpectPeer(size == picture.bytes, "ZSTD_decompressDCtx");
    }

  private:
    PeerPicture picture;
    int level;
    std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)> compressor{ZSTD_createCCtx(), ZSTD_freeCCtx};
    std::unique_ptr<ZSTD_DCtx, size_t (*)(ZSTD_DCtx*)> decompressor{ZSTD_createDCtx(), ZSTD_freeDCtx};
};

const PeerRegistration kFast(1, [](const PeerPicture& p) { return std::make_unique<ZstdPeer>(p, 1); });
const PeerRegistration kDefault(2, [](const PeerPicture& p) { return std::make_unique<ZstdPeer>(p, 3); });

} // namespace
