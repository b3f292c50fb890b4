// Pictures of any content and size, in any layout, to frames of any format and back.
//
// Held up: where nothing is converted the picture comes back; a picture that came back makes the same frame
// again; no frame outgrows its bound; the number of threads changes no byte.

#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/round_trip_choice.h"

#include <memory>
#include <vector>

namespace {

constexpr size_t kMaxPicture = 1 << 16;
constexpr size_t kMaxFrame = 1 << 19;

/// A codec with memory for a frame and two pictures.
class Codec
{
  public:
    Codec(int threads, PredictMethod method, bool interpolate)
    {
        PrepareCodec(codec, interpolate);
        EncodeSettings settings = codec.GetEncodeSettings();
        settings.CompMethod = static_cast<uint32_t>(method);
        codec.ApplyEncodeSettings(settings);
        codec.SetThreadCount(threads);
    }

    std::vector<uint8_t> Encode(const RoundTripChoice& choice, std::span<const uint8_t> record,
                                std::span<const uint8_t> picture)
    {
        const RoundTripRoute& route = RouteOf(choice);
        const StreamSize size = SizeOf(choice);
        const uint32_t bound = codec.MaxCompressedSize(route.host, size.width, size.height, route.code);
        codec.SetBottomUp(choice.Has(kChooseBottomUp));
        codec.BeginCompress(info, record.data(), record.size(), route.host);
        codec.SetSource(info, pictureMemory.Place(picture, SideOf(choice)).data());
        info.output = frameMemory.Place(bound, 0xA5).data();
        const uint32_t frameSize = codec.Compress(info);
        Require(frameSize != 0, "every picture has a frame");
        Require(frameSize <= bound, "no frame outgrows its bound");
        return {info.output, info.output + frameSize};
    }

    std::vector<uint8_t> Decode(const RoundTripChoice& choice, std::span<const uint8_t> record,
                                std::span<const uint8_t> frame, size_t pictureBytes)
    {
        codec.SetBottomUp(choice.Has(kChooseBottomUp));
        codec.BeginDecompress(info, record.data(), record.size(), RouteOf(choice).host);
        const std::span<uint8_t> picture = pictureMemory.Place(pictureBytes, 0xEE, SideOf(choice));
        const std::span<uint8_t> bytes = frameMemory.Place(frame);
        codec.SetImage(info, picture.data());
        info.frame = bytes;
        Require(codec.Decompress(info) == FrameStatus::Ok, "every frame decodes");
        Require(pictureMemory.IsIntact(), "nothing is written beside the picture");
        return {picture.begin(), picture.end()};
    }

    Orvane codec{true, true};

  private:
    static Against SideOf(const RoundTripChoice& choice)
    {
        return choice.Has(kChooseFrontGuard) ? Against::FrontGuard : Against::BackGuard;
    }

    CompressInfo info;
    GuardedBuffer pictureMemory{kMaxPicture};
    GuardedBuffer frameMemory{kMaxFrame};
};

Codec& CodecFor(const RoundTripChoice& choice, bool threaded)
{
    constexpr PredictMethod kMethods[] = {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median,
                                          PredictMethod::Dynamic};
    static std::unique_ptr<Codec> codecs[2][4][2];
    const size_t method = choice.method % std::size(kMethods);
    const bool interpolate = choice.Has(kChooseInterpolate);
    auto& codec = codecs[threaded ? 1 : 0][method][interpolate ? 1 : 0];
    if (!codec)
        codec = std::make_unique<Codec>(threaded ? 3 : 1, kMethods[method], interpolate);
    return *codec;
}

/// The input's bytes again and again, with a drift, so that a few bytes make a picture of any size.
std::vector<uint8_t> MakeContent(std::span<const uint8_t> seed, size_t size, uint8_t drift)
{
    std::vector<uint8_t> picture(size, 0x80);
    for (size_t i = 0; i < size && !seed.empty(); ++i)
        picture[i] = static_cast<uint8_t>(seed[i % seed.size()] + i / seed.size() * drift);
    return picture;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const auto choice = input.Take<RoundTripChoice>();
    const RoundTripRoute& route = RouteOf(choice);
    const StreamSize pictureSize = SizeOf(choice);

    Codec& codec = CodecFor(choice, false);
    const bool interlaced = choice.Has(kChooseInterlaced);
    if (pictureSize.width % route.widthMultiple != 0 ||
        pictureSize.height % (route.heightMultiple << interlaced) != 0)
        return 0;
    if (pictureSize.width < 4 || pictureSize.height < 4) {
        Require(!codec.codec.CanCompress(route.host, route.code, pictureSize.width, pictureSize.height),
                "small pictures are refused");
        return 0;
    }
    const std::vector<uint8_t> record = MakeRecord(choice);
    const std::vector<uint8_t> picture =
        MakeContent(input.TakeAll(), PictureBytes(codec.codec, route.host, pictureSize), choice.drift);
    const std::vector<uint8_t> frame = codec.Encode(choice, record, picture);
    const std::vector<uint8_t> decoded = codec.Decode(choice, record, frame, picture.size());
    if (!route.lossy)
        Require(IsSamePicture(route.host, pictureSize.width, picture, decoded), "the picture comes back");

    // Codes take long to make; sizes of frames are even and tell which inputs are looked at again.
    const size_t turn = frame.size() / 2 % 4;
    if (turn == 0 && !route.lossy)
        Require(codec.Encode(choice, record, decoded) == frame, "what came back makes the same frame");
    if (turn == 1) {
        Codec& threaded = CodecFor(choice, true);
        Require(threaded.Encode(choice, record, picture) == frame, "three threads write the same frame");
        Require(threaded.Decode(choice, record, frame, picture.size()) == decoded,
                "three threads give the same picture");
    }
    return 0;
}
