// Pictures of any content and size, in any layout, to frames of any format and back.
//
// Held up: where nothing is converted the picture comes back; a picture that came back makes the same frame
// again; no frame outgrows its bound; neither the pictures before it nor the number of threads change a byte.

#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/round_trip_choice.h"

#include <memory>
#include <vector>

namespace {

constexpr size_t kMaxPicture = 1 << 16;
constexpr size_t kMaxFrame = 1 << 19;

GuardedBuffer& PictureMemory()
{
    static GuardedBuffer memory(kMaxPicture);
    return memory;
}

GuardedBuffer& FrameMemory()
{
    static GuardedBuffer memory(kMaxFrame);
    return memory;
}

/// An instance that writes frames and reads them.
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
        codec.SetSource(info, PictureMemory().Place(picture, SideOf(choice)).data());
        info.output = FrameMemory().Place(bound, 0xA5).data();
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
        const std::span<uint8_t> picture = PictureMemory().Place(pictureBytes, 0xEE, SideOf(choice));
        const std::span<uint8_t> bytes = FrameMemory().Place(frame);
        codec.SetImage(info, picture.data());
        info.frame = bytes;
        Require(codec.Decompress(info) == FrameStatus::Ok, "every frame decodes");
        Require(PictureMemory().IsIntact(), "nothing is written beside the picture");
        return {picture.begin(), picture.end()};
    }

    Orvane codec{true, true};

  private:
    static Against SideOf(const RoundTripChoice& choice)
    {
        return choice.Has(kChooseFrontGuard) ? Against::FrontGuard : Against::BackGuard;
    }

    CompressInfo info;
};

constexpr PredictMethod kMethods[] = {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median,
                                      PredictMethod::Dynamic};

std::unique_ptr<Codec> MakeCodec(const RoundTripChoice& choice, bool threaded)
{
    return std::make_unique<Codec>(threaded ? 3 : 1, kMethods[choice.method % std::size(kMethods)],
                                   choice.Has(kChooseInterpolate));
}

/// The codec for a choice that all inputs use.
Codec& UsedCodec(const RoundTripChoice& choice, bool threaded)
{
    static std::unique_ptr<Codec> codecs[2][std::size(kMethods)][2];
    auto& codec = codecs[threaded][choice.method % std::size(kMethods)][choice.Has(kChooseInterpolate)];
    if (!codec)
        codec = MakeCodec(choice, threaded);
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
    static History history;
    history.Enter({data, size});
    FuzzInput input(data, size);
    const auto choice = input.Take<RoundTripChoice>();
    const RoundTripRoute& route = RouteOf(choice);
    const StreamSize pictureSize = SizeOf(choice);

    Codec& codec = UsedCodec(choice, false);
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
    const auto fresh = MakeCodec(choice, false);
    history.Require(fresh->Encode(choice, record, picture) == frame,
                    "a fresh instance writes the same frame");
    history.Require(fresh->Decode(choice, record, frame, picture.size()) == decoded,
                    "a fresh instance gives the same picture");

    // Codes take long to make; sizes of frames are even and tell which inputs are looked at again.
    const size_t turn = frame.size() / 2 % 4;
    if (turn == 0 && !route.lossy)
        Require(codec.Encode(choice, record, decoded) == frame, "what came back makes the same frame");
    if (turn == 1) {
        Codec& threaded = UsedCodec(choice, true);
        Require(threaded.Encode(choice, record, picture) == frame, "three threads write the same frame");
        Require(threaded.Decode(choice, record, frame, picture.size()) == decoded,
                "three threads give the same picture");
    }
    return 0;
}
