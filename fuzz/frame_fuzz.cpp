// Any bytes as a frame of a fixed stream: every format, every output layout, interlaced and not. The frame
// ends at a guard page, the picture lies against one.
//
// Held up: the result code is what the rules of the format say; a refused frame leaves the picture alone; the
// next good frame decodes; neither the frames before it nor the number of threads change anything.

#include "support/frame_rules.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/picture_maker.h"
#include "support/stream_choice.h"

#include <algorithm>
#include <map>

namespace {

constexpr size_t kMaxFrame = 1 << 16;
constexpr size_t kMaxPicture = 1 << 16;
constexpr uint8_t kUntouched = 0xEE;

/// What a frame gave.
struct Outcome {
    size_t blocks; ///< of the run
    int status;
    std::vector<uint8_t> picture;

    bool IsPictureUntouched() const
    {
        return std::ranges::all_of(picture, [](uint8_t byte) { return byte == kUntouched; });
    }
    bool operator==(const Outcome&) const = default;
};

/// An instance that reads frames.
class Reader
{
  public:
    explicit Reader(int threads, bool interpolate)
    {
        PrepareCodec(codec, interpolate);
        codec.SetThreadCount(threads);
    }

    /// A run of one frame.
    Outcome Read(const StreamChoice& choice, std::span<const uint8_t> record, std::span<const uint8_t> frame)
    {
        static GuardedBuffer frameMemory(kMaxFrame), pictureMemory(kMaxPicture);
        codec.SetBottomUp(choice.Has(kChooseBottomUp));
        codec.BeginDecompress(info, record.data(), record.size(), RouteOf(choice).output);
        const size_t blocks = codec.Blocks().size();
        const std::span<uint8_t> picture =
            pictureMemory.Place(PictureBytes(codec, RouteOf(choice).output, SizeOf(choice)), kUntouched,
                                choice.Has(kChooseFrontGuard) ? Against::FrontGuard : Against::BackGuard);
        info.frame = frameMemory.Place(frame);
        codec.SetImage(info, picture.data());
        const auto status = static_cast<int>(codec.Decompress(info));
        Require(pictureMemory.IsIntact(), "nothing is written beside the picture");
        return {blocks, status, {picture.begin(), picture.end()}};
    }

  private:
    Orvane codec{true, true};
    CompressInfo info;
};

/// The reader for a choice that all inputs use.
Reader& UsedReader(bool threaded, bool interpolate)
{
    static Reader readers[] = {Reader(1, false), Reader(1, true), Reader(3, false), Reader(3, true)};
    return readers[2 * threaded + interpolate];
}

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
        outcome = reader.Read(choice, record, frame);
        Require(outcome.status == 0, "a frame of the writer decodes");
    }

    std::vector<uint8_t> frame;
    Outcome outcome;
};

void DecodeGoodFrame(Reader& reader, const StreamChoice& choice, std::span<const uint8_t> record)
{
    static std::map<uint32_t, GoodFrame> goodFrames; // making one takes as long as many inputs
    auto found = goodFrames.find(choice.Key());
    if (found == goodFrames.end())
        found = goodFrames.emplace(choice.Key(), GoodFrame(reader, choice, record)).first;
    const GoodFrame& good = found->second;
    Require(reader.Read(choice, record, good.frame) == good.outcome, "the next good frame gives its picture");
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxFrame)
        return 0;
    static History history;
    history.Enter({data, size});
    FuzzInput input(data, size);
    auto choice = input.Take<StreamChoice>();
    choice.route %= DecompressRoutes().size();
    choice.size %= std::size(kStreamSizes);
    const std::span<const uint8_t> frame = input.TakeAll();
    const bool interpolate = choice.Has(kChooseInterpolate);

    Reader& reader = UsedReader(false, interpolate);
    const std::vector<uint8_t> record = MakeRecord(choice);
    const Outcome outcome = reader.Read(choice, record, frame);
    Require(outcome.status ==
                ExpectedFrameStatus(frame, {record, PlanesOf(RouteOf(choice).code), outcome.blocks}),
            "the result code is what the rules say");
    if (outcome.status != 0)
        Require(outcome.IsPictureUntouched(), "a refused frame leaves the picture alone");
    history.Require(Reader(1, interpolate).Read(choice, record, frame) == outcome,
                    "a fresh instance gives the same");

    const uint32_t hash = HashOf({data, size});
    if (hash % 8 == 0)
        Require(UsedReader(true, interpolate).Read(choice, record, frame) == outcome,
                "three threads give the same");
    if (hash % 64 == 1 && !choice.Has(kChooseOtherTables))
        DecodeGoodFrame(reader, choice, record);
    return 0;
}
