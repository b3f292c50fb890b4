// Any configuration record and any bitmap headers through all messages that negotiate, and where a run opens
// on them, one frame each way.
//
// Held up: QUERY and BEGIN agree; what GET_FORMAT gives is accepted; no frame outgrows what GET_SIZE told; a
// frame written under a record decodes under it; an instance that has negotiated before answers as a fresh
// one.

#include "common/align_up.h"
#include "support/driver_host.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/negotiate_input.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr uint32_t kMaxImage = 1 << 16;
constexpr uint32_t kMaxFrame = 1 << 20;

GuardedBuffer& Memory(size_t index)
{
    static GuardedBuffer memory[] = {GuardedBuffer(1 << 13), GuardedBuffer(kMaxImage),
                                     GuardedBuffer(kMaxFrame), GuardedBuffer(kMaxImage)};
    return memory[index];
}

/// An instance with all that it has answered.
class Instance
{
  public:
    explicit Instance(size_t variant) : id(OpenDriver(kVariantFourCCs[variant]))
    {
        Require(id != 0, "every variant opens");
    }
    ~Instance() { Require(SendMessageTo(id, DRV_CLOSE) == 1, "an instance closes"); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    LRESULT Send(uint32_t message, const void* first = nullptr, const void* second = nullptr)
    {
        const LRESULT result = SendMessageTo(id, message, first, second);
        answers.NoteAll(message, result);
        return result;
    }

    Transcript answers;

  private:
    LRESULT id;
};

/// The instance of a variant that all inputs use.
Instance& UsedInstance(size_t variant)
{
    static std::unique_ptr<Instance> instances[std::size(kVariantFourCCs)];
    if (!instances[variant])
        instances[variant] = std::make_unique<Instance>(variant);
    return *instances[variant];
}

template <class Record>
std::span<const uint8_t> BytesOf(const Record& record)
{
    return {reinterpret_cast<const uint8_t*>(&record), sizeof record};
}

/// The stream's header with the record behind it, told truly.
BITMAPINFOHEADER* PlaceStream(const BITMAPINFOHEADER& header, std::span<const uint8_t> record)
{
    const auto size = static_cast<uint32_t>(sizeof header + record.size());
    uint8_t* const at =
        Memory(0).Place(alignUp(size, 4U), 0).data(); // headers are aligned, records need not be
    std::memcpy(at, &header, sizeof header);
    std::memcpy(at, &size, sizeof size);
    if (!record.empty())
        std::memcpy(at + sizeof header, record.data(), record.size());
    return reinterpret_cast<BITMAPINFOHEADER*>(at);
}

/// A frame of the run that is open, into memory of exactly the size that was told; its bytes.
std::span<const uint8_t> CompressOne(Instance& instance, BITMAPINFOHEADER* picture,
                                     const BITMAPINFOHEADER& stream, uint32_t bound)
{
    const std::span<uint8_t> image = Memory(1).Place(picture->biSizeImage, 0);
    uint32_t state = picture->biSizeImage;
    for (uint8_t& byte : image) // noise: no frame is larger
        byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    BITMAPINFOHEADER out = stream;
    DWORD chunkId = 0, flags = 0;
    ICCOMPRESS params{};
    params.lpbiInput = picture;
    params.lpInput = image.data();
    params.lpbiOutput = &out;
    params.lpOutput = Memory(2).Place(bound, 0xA5).data();
    params.lpckid = &chunkId;
    params.lpdwFlags = &flags;
    const LRESULT result = instance.Send(ICM_COMPRESS, &params);
    Require(result == ICERR_OK || result == ICERR_BADSIZE, "a frame succeeds or the image is too small");
    Require(Memory(2).IsIntact(), "nothing is written beside the frame");
    if (result != ICERR_OK)
        return {};
    Require(out.biSizeImage <= bound, "no frame outgrows what was told");
    const std::span<const uint8_t> frame(static_cast<const uint8_t*>(params.lpOutput), out.biSizeImage);
    instance.answers.NoteAll(chunkId, flags, frame);
    return frame;
}

void DecompressOne(Instance& instance, BITMAPINFOHEADER* stream, BITMAPINFOHEADER* picture,
                   std::span<const uint8_t> frame)
{
    stream->biSizeImage = static_cast<DWORD>(frame.size());
    ICDECOMPRESS params{};
    params.lpbiInput = stream;
    params.lpInput = const_cast<uint8_t*>(frame.data());
    params.lpbiOutput = picture;
    const std::span<uint8_t> image = Memory(3).Place(PictureRoom(*picture), 0xEE);
    params.lpOutput = image.data();
    Require(instance.Send(ICM_DECOMPRESS, &params) == ICERR_OK, "a frame decodes under its record");
    Require(Memory(3).IsIntact(), "nothing is written beside the picture");
    instance.answers.Note(image);
}

/// What the driver itself makes of the pictures is accepted.
void CheckFormat(Instance& instance, BITMAPINFOHEADER* picture)
{
    struct {
        BITMAPINFOHEADER header;
        FrameHeader record;
    } stream;
    const LRESULT size = instance.Send(ICM_COMPRESS_GET_FORMAT, picture);
    Require(size == sizeof stream, "the size of a format is always told");
    if (instance.Send(ICM_COMPRESS_GET_FORMAT, picture, &stream) != ICERR_OK)
        return;
    instance.answers.Note(BytesOf(stream));
    Require(instance.Send(ICM_COMPRESS_QUERY, picture, &stream) == ICERR_OK, "the driver's own format");
    Require(instance.Send(ICM_COMPRESS_GET_SIZE, picture, &stream) ==
                static_cast<LRESULT>(stream.header.biSizeImage),
            "GET_SIZE tells what the header tells");
    if (IsSmall(*picture, 1024, 1024)) {
        Require(instance.Send(ICM_COMPRESS_BEGIN, picture, &stream) == ICERR_OK, "begins");
        instance.Send(ICM_COMPRESS_END);
    }
}

std::span<const uint8_t> TryCompress(Instance& instance, BITMAPINFOHEADER* picture, BITMAPINFOHEADER* stream)
{
    const LRESULT query = instance.Send(ICM_COMPRESS_QUERY, picture, stream);
    instance.Send(ICM_COMPRESS_QUERY, picture);
    const LRESULT bound = instance.Send(ICM_COMPRESS_GET_SIZE, picture, stream);
    if (!IsSmall(*picture, 1024, 1024))
        return {};
    const LRESULT begin = instance.Send(ICM_COMPRESS_BEGIN, picture, stream);
    Require(begin == ICERR_OK || begin == ICERR_BADFORMAT, "begins or refuses");
    Require(begin != ICERR_OK || query == ICERR_OK, "nothing begins that a query refuses");
    std::span<const uint8_t> frame;
    if (begin == ICERR_OK && bound > 0 && bound <= LRESULT{kMaxFrame} && IsSmall(*picture, 256, 256))
        frame = CompressOne(instance, picture, *stream, static_cast<uint32_t>(bound));
    Require(instance.Send(ICM_COMPRESS_END) == ICERR_OK, "ends");
    return frame;
}

void TryDecompress(Instance& instance, BITMAPINFOHEADER* stream, BITMAPINFOHEADER* picture,
                   std::span<const uint8_t> frame)
{
    instance.Send(ICM_DECOMPRESS_QUERY, stream);
    const LRESULT query = instance.Send(ICM_DECOMPRESS_QUERY, stream, picture);
    if (!IsSmall(*picture, 1024, 1024))
        return;
    const LRESULT begin = instance.Send(ICM_DECOMPRESS_BEGIN, stream, picture);
    Require(begin == query, "BEGIN says what QUERY says");
    if (begin == ICERR_OK && !frame.empty() && PictureRoom(*picture) <= kMaxImage)
        DecompressOne(instance, stream, picture, frame);
    Require(instance.Send(ICM_DECOMPRESS_END) == ICERR_OK, "ends");
}

/// All messages on one instance, and what they gave.
Transcript Negotiate(Instance& instance, NegotiateInput fixed, std::span<const uint8_t> record)
{
    instance.answers = {};
    BITMAPINFOHEADER* const picture = &fixed.picture;
    BITMAPINFOHEADER* const stream = PlaceStream(fixed.stream, record);
    CheckFormat(instance, picture);
    const std::span<const uint8_t> frame = TryCompress(instance, picture, stream);
    TryDecompress(instance, stream, picture, frame);

    BITMAPINFOHEADER suggested{};
    Require(instance.Send(ICM_DECOMPRESS_GET_FORMAT, stream) == sizeof suggested, "the size of a header");
    if (instance.Send(ICM_DECOMPRESS_GET_FORMAT, stream, &suggested) == ICERR_OK) {
        suggested.biSizeImage = std::min(suggested.biSizeImage, kMaxImage);
        instance.answers.Note(BytesOf(suggested));
        TryDecompress(instance, stream, &suggested, frame);
    }
    return instance.answers;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    UseFuzzSettings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static History history;
    history.Enter({data, size});
    FuzzInput input(data, size);
    auto fixed = input.Take<NegotiateInput>();
    fixed.variant %= std::size(kVariantFourCCs);
    fixed.picture.biSize = sizeof fixed.picture;
    fixed.picture.biSizeImage = std::min(fixed.picture.biSizeImage, kMaxImage);
    const std::span<const uint8_t> record = input.TakeBytes(kMaxNegotiateRecord);

    Instance fresh(fixed.variant);
    history.Require(Negotiate(UsedInstance(fixed.variant), fixed, record) == Negotiate(fresh, fixed, record),
                    "a fresh instance gives the same");
    return 0;
}
