// Any bytes as a frame of a fixed stream: every format, every output layout, interlaced and not. The frame
// ends at a guard page, the picture lies against one.
//
// Held up: the result code is what the rules of the format say; a refused frame leaves the picture alone; the
// next good frame decodes; the number of threads changes nothing.

#include "support/frame_rules.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/picture_maker.h"
#include "support/stream_choice.h"

#include <algorithm>
#include <map>

namespace {

constexpr size_t kMaxFrame = 1 << 16;
constexpr size_t kMaxPicture = 1 << 16;
constexpr uint8_t kUntouched = 0xEE;

/// A decompress run with picture memory of its own.
class Reader
{
  public:
    explicit Reader(int threads, bool interpolate = true)
    {
        PrepareCodec(codec, interpolate);
        codec.SetThreadCount(threads);
    }

    void Begin(const StreamChoice& choice, std::span<const uint8_t> record)
    {
        codec.SetBottomUp(choice.Has(kChooseBottomUp));
        codec.BeginDecompress(info, record.data(), record.size(), RouteOf(choice).output);
        pictureBytes = PictureBytes(codec, RouteOf(choice).output, SizeOf(choice));
        side = choice.Has(kChooseFrontGuard) ? Against::FrontGuard : Against::BackGuard;
    }

    int Decode(std::span<const uint8_t> frame)
    {
        const std::span<uint8_t> bytes = frameMemory.Place(frame);
        picture = pictureMemory.Place(pictureBytes, kUntouched, side);
        info.frame = bytes;
        codec.SetImage(info, picture.data());
        const auto status = static_cast<int>(codec.Decompress(info));
        Require(pictureMemory.IsIntact(), "nothing is written beside the picture");
        return status;
    }

    bool IsPictureUntouched() const
    {
        return std::all_of(picture.begin(), picture.end(), [](uint8_t byte) { return byte == kUntouched; });
    }

    Orvane codec{true, true};
    std::span<uint8_t> picture; ///< of the last frame

  private:
    CompressInfo info;
    GuardedBuffer frameMemory{kMaxFrame};
    GuardedBuffer pictureMemory{kMaxPicture};
    uint32_t pictureBytes = 0;
    Against side = Against::BackGuard;
};

/// A frame of the writer, and what it decodes to.
struct GoodFrame {
    GoodFrame(Reader& reader, const StreamChoice& choice, std::span<const uint8_t> record)
    {
        static Orvane encoder(true, true);
        static CompressInfo info;
        PrepareCodec(encoder, true);
        encoder.SetBottomUp(false);
        const FormatId host = Orvane::NativeFormat(ReadHeader(record.data()));
        const StreamSize size = SizeOf(choice);
        frame = EncodePicture(encoder, info, record, host,
                              MakePicture(Content::Smooth, PictureBytes(encoder, host, size), size.width, 1));
        reader.Begin(choice, record);
        Require(reader.Decode(frame) == 0, "a frame of the writer decodes");
        picture.assign(reader.picture.begin(), reader.picture.end());
    }

    std::vector<uint8_t> frame;
    std::vector<uint8_t> picture;
};

void DecodeGoodFrame(Reader& reader, const StreamChoice& choice, std::span<const uint8_t> record)
{
    static std::map<uint32_t, GoodFrame> goodFrames; // making one takes as long as many inputs
    auto found = goodFrames.find(choice.Key());
    if (found == goodFrames.end())
        found = goodFrames.emplace(choice.Key(), GoodFrame(reader, choice, record)).first;
    const GoodFrame& good = found->second;
    reader.Begin(choice, record);
    Require(reader.Decode(good.frame) == 0, "the next good frame decodes");
    Require(std::equal(reader.picture.begin(), reader.picture.end(), good.picture.begin()),
            "the next good frame gives its picture");
}

/// Chooses the inputs that are looked at more closely.
uint32_t HashOf(std::span<const uint8_t> bytes)
{
    uint32_t hash = 2166136261;
    for (const uint8_t byte : bytes)
        hash = (hash ^ byte) * 16777619;
    return hash >> 8;
}

uint64_t PlanesOf(FormatId code)
{
    if (code == kCodeGray)
        return 1;
    return code == kCodeRgba || code == kCodeYuva ? 4 : 3;
}

void CompareThreads(const StreamChoice& choice, std::span<const uint8_t> record,
                    std::span<const uint8_t> frame)
{
    static Reader one(1), three(3);
    one.Begin(choice, record);
    three.Begin(choice, record);
    Require(one.Decode(frame) == three.Decode(frame), "the result is the same with three threads");
    Require(std::equal(one.picture.begin(), one.picture.end(), three.picture.begin()),
            "the picture is the same with three threads");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxFrame)
        return 0;
    FuzzInput input(data, size);
    auto choice = input.Take<StreamChoice>();
    choice.route %= DecompressRoutes().size();
    choice.size %= std::size(kStreamSizes);
    const std::span<const uint8_t> frame = input.TakeAll();

    static Reader readers[] = {Reader(1, false), Reader(1, true)};
    Reader& reader = readers[choice.Has(kChooseInterpolate) ? 1 : 0];
    const std::vector<uint8_t> record = MakeRecord(choice);
    reader.Begin(choice, record);
    const size_t blocks = reader.codec.Blocks().size();
    const int status = reader.Decode(frame);
    Require(status == ExpectedFrameStatus(frame, {record, PlanesOf(RouteOf(choice).code), blocks}),
            "the result code is what the rules say");
    if (status != 0)
        Require(reader.IsPictureUntouched(), "a refused frame leaves the picture alone");

    const uint32_t hash = HashOf({data, size});
    if (hash % 8 == 0)
        CompareThreads(choice, record, frame);
    if (hash % 64 == 1 && !choice.Has(kChooseOtherTables))
        DecodeGoodFrame(reader, choice, record);
    return 0;
}
