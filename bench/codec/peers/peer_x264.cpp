#include "codec/peers/peer.h"

#include <cstring>

extern "C" {
#include <x264.h>
}

namespace {

/// H.264, lossless, every frame by itself, at the fastest preset. The library has no decoder: what the
/// encoder keeps as the decoded picture stands for one when the loss is checked.
class X264Peer final : public Peer
{
  public:
    explicit X264Peer(const PeerPicture& picture_) : picture(picture_)
    {
        x264_param_t param;
        ExpectPeer(x264_param_default_preset(&param, "ultrafast", "zerolatency") == 0,
                   "x264_param_default_preset");
        param.i_log_level = X264_LOG_ERROR;
        param.i_threads = 1;
        param.i_lookahead_threads = 1;
        param.b_sliced_threads = 0;
        param.i_width = picture.width;
        param.i_height = picture.height;
        param.i_csp = picture.IsRgb() ? X264_CSP_BGR : X264_CSP_I420;
        param.i_keyint_max = 1;
        param.rc.i_rc_method = X264_RC_CQP;
        param.rc.i_qp_constant = 0;
        param.b_full_recon = 1;
        ExpectPeer(x264_param_apply_profile(&param, "high444") == 0, "x264_param_apply_profile");
        encoder.reset(x264_encoder_open(&param));
        ExpectPeer(encoder != nullptr, "x264_encoder_open");
        x264_picture_init(&input);
        input.img.i_csp = param.i_csp;
        input.img.i_plane = static_cast<int>(picture.planes.size());
    }

    std::string Name() const override { return "x264 qp 0"; }
    bool CanDecode() const override { return false; }
    void Encode(const uint8_t* bytes, std::vector<uint8_t>& coded) override
    {
        for (size_t i = 0; i < picture.planes.size(); ++i) {
            const PeerPlane& plane = picture.planes[i];
            input.img.plane[i] = const_cast<uint8_t*>(bytes + plane.offset); // the encoder only reads it
            input.img.i_stride[i] = plane.width * plane.samples;
        }
        input.i_pts++;
        x264_nal_t* nals = nullptr;
        int count = 0;
        const int size = x264_encoder_encode(encoder.get(), &nals, &count, &input, &decoded);
        ExpectPeer(size > 0, "x264_encoder_encode");
        coded.assign(nals[0].p_payload, nals[0].p_payload + size);
    }
    void Decode(std::span<const uint8_t>, uint8_t* bytes) override
    {
        if (picture.IsRgb())
            JoinRgb(bytes);
        else
            JoinYuv(bytes);
    }

  private:
    const uint8_t* Row(int plane, int row) const
    {
        return decoded.img.plane[plane] + static_cast<ptrdiff_t>(decoded.img.i_stride[plane]) * row;
    }
    /// From planes G, B, R.
    void JoinRgb(uint8_t* bytes) const
    {
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x) {
                *bytes++ = Row(1, y)[x];
                *bytes++ = Row(0, y)[x];
                *bytes++ = Row(2, y)[x];
            }
    }
    /// From a plane Y and one of U and V in turn.
    void JoinYuv(uint8_t* bytes) const
    {
        for (int y = 0; y < picture.height; ++y, bytes += picture.width)
            std::memcpy(bytes, Row(0, y), static_cast<size_t>(picture.width));
        for (int component = 0; component < 2; ++component)
            for (int y = 0; y < picture.height / 2; ++y)
                for (int x = 0; x < picture.width / 2; ++x)
                    *bytes++ = Row(1, y)[2 * x + component];
    }

    PeerPicture picture;
    std::unique_ptr<x264_t, void (*)(x264_t*)> encoder{nullptr, x264_encoder_close};
    x264_picture_t input{};
    x264_picture_t decoded{};
};

const PeerRegistration kX264(6, [](const PeerPicture& p) { return std::make_unique<X264Peer>(p); });

} // namespace
