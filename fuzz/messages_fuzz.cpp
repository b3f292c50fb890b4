// Whole sessions: open, negotiate, compress, decompress, set and close in any order, on several instances,
// with records, blobs and frames that may be hostile. The input chooses the message, the instance and the
// buffers. Pointers are good, or null where the message has an answer to null; sizes are told truly; a host
// that has opened a run offers frames and pictures the memory of that run.
//
// Every session is played twice: on instances that are opened for it, and on those that earlier sessions have
// left, with the settings of a new one. Both give the same.

#include "common/align_up.h"
#include "support/driver_host.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/message_steps.h"
#include "support/stream_choice.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <vector>

using namespace driver;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kMaxImage = 1 << 17;
constexpr uint32_t kMaxFrame = 1 << 20;
constexpr uint32_t kMaxSide = 160;
constexpr size_t kMaxSteps = 64;

enum class Run { None, Compress, Decompress };

/// What a host knows of an instance that it has opened.
struct HostInstance {
    LRESULT id = 0;
    uint32_t fourCC = 0; ///< that it was opened for
    Run run = Run::None;
    BITMAPINFOHEADER picture{}; ///< of the run
    Bytes stream;               ///< of the run
    uint32_t frameBound = 0;    ///< of the run
};

/// Headers are aligned, whatever stands behind them.
struct StreamMemory {
    GuardedBuffer memory{1 << 12};

    BITMAPINFOHEADER* Place(const Bytes& stream)
    {
        uint8_t* const at = memory.Place(alignUp(stream.size(), size_t{4}), 0).data();
        std::memcpy(at, stream.data(), stream.size());
        return reinterpret_cast<BITMAPINFOHEADER*>(at);
    }
};

struct Memory {
    StreamMemory stream;
    GuardedBuffer picture{kMaxImage};
    GuardedBuffer frame{kMaxFrame};
    GuardedBuffer small{1 << 12};
};

Memory& SharedMemory()
{
    static Memory memory;
    return memory;
}

/// Gives sessions their instances.
class InstanceSource
{
  public:
    virtual ~InstanceSource() = default;
    virtual LRESULT Open(uint32_t fourCC, uint32_t type) { return OpenDriver(fourCC, type); }
    virtual void Close(LRESULT id, uint32_t)
    {
        Require(SendMessageTo(id, DRV_CLOSE) == 1, "an instance closes");
    }
};

/// Keeps what a session closes for the next one.
class UsedInstances final : public InstanceSource
{
  public:
    ~UsedInstances() override
    {
        for (const auto& [fourCC, instances] : closed)
            for (const LRESULT id : instances)
                InstanceSource::Close(id, fourCC);
    }
    LRESULT Open(uint32_t fourCC, uint32_t type) override
    {
        std::vector<LRESULT>& left = closed[fourCC];
        if (type != ICTYPE_VIDEO || left.empty())
            return OpenDriver(fourCC, type);
        const LRESULT id = left.back();
        left.pop_back();
        return id;
    }
    void Close(LRESULT id, uint32_t fourCC) override
    {
        SendMessageTo(id, ICM_COMPRESS_END);
        SendMessageTo(id, ICM_DECOMPRESS_END);
        SendMessageTo(id, ICM_SETSTATE);
        closed[fourCC].push_back(id);
    }

  private:
    std::map<uint32_t, std::vector<LRESULT>> closed;
};

class Session
{
  public:
    Session(FuzzInput steps, InstanceSource& source_) : input(steps), source(source_)
    {
        for (Bytes& empty : streams)
            empty.assign(sizeof(BITMAPINFOHEADER), 0);
    }
    ~Session()
    {
        for (HostInstance& instance : instances)
            Close(instance);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// What all steps gave.
    Transcript Play()
    {
        for (size_t i = 0; i < kMaxSteps && !input.IsEmpty(); ++i)
            Take(input.Take<MessageStep>());
        return given;
    }

  private:
    void Take(const MessageStep& step);
    void TakeBuffers(const MessageStep& step);
    void Negotiate(const MessageStep& step);
    void Ask(const MessageStep& step);

    void Open(HostInstance& instance, uint32_t fourCC, uint32_t type)
    {
        Close(instance);
        instance.fourCC = fourCC;
        instance.id = source.Open(fourCC, type);
        given.Note(instance.id != 0);
    }
    void Close(HostInstance& instance)
    {
        if (instance.id != 0)
            source.Close(instance.id, instance.fourCC);
        instance = {};
    }

    template <class... Parameters>
    LRESULT Send(const HostInstance& instance, uint32_t message, Parameters... parameters)
    {
        const LRESULT result = SendMessageTo(instance.id, message, parameters...);
        given.NoteAll(message, result);
        return result;
    }

    /// Puts the length where the host tells it.
    static void TellSize(Bytes& header)
    {
        const auto size = static_cast<uint32_t>(header.size());
        std::memcpy(header.data(), &size, sizeof size);
    }

    static const BITMAPINFOHEADER* NullOr(const void* header, bool isNull)
    {
        return isNull ? nullptr : static_cast<const BITMAPINFOHEADER*>(header);
    }

    void BeginCompress(HostInstance& host, BITMAPINFOHEADER* in, BITMAPINFOHEADER* out);
    void BeginDecompress(HostInstance& host, BITMAPINFOHEADER* in, BITMAPINFOHEADER* out);
    void Compress(HostInstance& host, const MessageStep& step);
    void Decompress(HostInstance& host, const MessageStep& step);

    FuzzInput input;
    InstanceSource& source;
    Transcript given;
    std::array<HostInstance, 4> instances; // the last one is never opened
    std::array<BITMAPINFOHEADER, 2> pictures{};
    std::array<Bytes, 2> streams;
    std::array<Bytes, 2> frames;

    // Of the step in progress.
    HostInstance* host = nullptr;
    BITMAPINFOHEADER* picture = nullptr;
    Bytes* stream = nullptr;
    Bytes* frame = nullptr;
};

void Session::Take(const MessageStep& step)
{
    host = &instances[step.slots & 3];
    picture = &pictures[step.slots >> 2 & 1];
    stream = &streams[step.slots >> 3 & 1];
    frame = &frames[step.slots >> 4 & 1];
    TakeBuffers(step);
    Negotiate(step);
    Ask(step);
}

StepKind KindOf(const MessageStep& step)
{
    return static_cast<StepKind>(step.kind % static_cast<uint8_t>(StepKind::kCount));
}

/// The steps that only change what the host holds.
void Session::TakeBuffers(const MessageStep& step)
{
    switch (KindOf(step)) {
    case StepKind::Open:
        if (host == &instances[3])
            break;
        if (step.a & 0x80)
            Open(*host, input.Take<uint32_t>(), step.b & 1 ? ICTYPE_AUDIO : ICTYPE_VIDEO);
        else
            Open(*host, kVariantFourCCs[step.a % std::size(kVariantFourCCs)], ICTYPE_VIDEO);
        break;
    case StepKind::Close:
        Close(*host);
        break;
    case StepKind::MakePicture: {
        const HostLayout& layout = kFuzzLayouts[(step.a & 0x7F) % std::size(kFuzzLayouts)];
        const StreamSize size = kStreamSizes[step.b % std::size(kStreamSizes)];
        *picture = {};
        picture->biSize = sizeof *picture;
        picture->biWidth = static_cast<LONG>(size.width);
        picture->biHeight = static_cast<LONG>(size.height) * (step.a & 0x80 ? -1 : 1);
        picture->biPlanes = 1;
        picture->biBitCount = layout.bits;
        picture->biCompression = layout.fourCC;
        picture->biSizeImage = static_cast<DWORD>(PictureRoom(*picture));
        break;
    }
    case StepKind::TakePicture:
        *picture = input.Take<BITMAPINFOHEADER>();
        picture->biSize = sizeof *picture;
        picture->biSizeImage = std::min(picture->biSizeImage, kMaxImage);
        break;
    case StepKind::EditStream:
        (*stream)[step.a % stream->size()] = step.b;
        TellSize(*stream);
        break;
    case StepKind::ResizeStream:
        stream->resize(sizeof(BITMAPINFOHEADER) + size_t{step.a} * (step.b & 1 ? 10 : 1));
        TellSize(*stream);
        break;
    case StepKind::EditFrame:
        if (const size_t at = input.Take<uint16_t>(); at < frame->size())
            (*frame)[at] = step.b;
        break;
    case StepKind::CutFrame:
        frame->resize(std::min<size_t>(frame->size(), input.Take<uint16_t>()));
        break;
    case StepKind::TakeFrame: {
        const auto bytes = input.TakeBytes(input.Take<uint16_t>() % 4096);
        frame->assign(bytes.begin(), bytes.end());
        break;
    }
    default:
        break;
    }
}

void Session::BeginCompress(HostInstance& target, BITMAPINFOHEADER* in, BITMAPINFOHEADER* out)
{
    target.run = Run::None;
    const LRESULT bound = in && out ? Send(target, ICM_COMPRESS_GET_SIZE, in, out) : 0;
    const LRESULT result = Send(target, ICM_COMPRESS_BEGIN, in, out);
    if (result != ICERR_OK || target.id == 0)
        return;
    Require(bound > 0 && bound <= LRESULT{kMaxFrame}, "a run that begins has frames of a known size");
    target.run = Run::Compress;
    target.picture = *in;
    target.stream.assign(reinterpret_cast<uint8_t*>(out), reinterpret_cast<uint8_t*>(out) + out->biSize);
    target.frameBound = static_cast<uint32_t>(bound);
}

void Session::BeginDecompress(HostInstance& target, BITMAPINFOHEADER* in, BITMAPINFOHEADER* out)
{
    target.run = Run::None;
    const LRESULT query = Send(target, ICM_DECOMPRESS_QUERY, in, out);
    const LRESULT result = Send(target, ICM_DECOMPRESS_BEGIN, in, out);
    if (out)
        Require(result == query, "BEGIN says what QUERY says");
    if (result != ICERR_OK || target.id == 0)
        return;
    target.run = Run::Decompress;
    target.picture = *out;
    target.stream.assign(reinterpret_cast<uint8_t*>(in), reinterpret_cast<uint8_t*>(in) + in->biSize);
}

void Session::Compress(HostInstance& target, const MessageStep& step)
{
    // A frame opens a run of its own: what a host does here is the same as beginning it.
    if (target.run != Run::Compress && step.a % 8 == 0 && IsSmall(*picture, kMaxSide, kMaxSide))
        BeginCompress(target, picture, SharedMemory().stream.Place(*stream));
    if (target.run == Run::Decompress || (target.run == Run::None && !IsSmall(*picture, kMaxSide, kMaxSide)))
        return;
    const bool open = target.run == Run::Compress;
    BITMAPINFOHEADER in = open ? target.picture : *picture;
    in.biSizeImage = std::min(in.biSizeImage, kMaxImage);
    DWORD chunkId = 0, flags = 0;
    ICCOMPRESS params{};
    params.lpbiInput = step.a & 1 ? nullptr : &in;
    params.lpInput = step.a & 2 ? nullptr : SharedMemory().picture.Place(in.biSizeImage, step.b).data();
    BITMAPINFOHEADER* const out = SharedMemory().stream.Place(open ? target.stream : *stream);
    params.lpbiOutput = step.a & 4 ? nullptr : out;
    params.lpOutput = SharedMemory().frame.Place(open ? target.frameBound : kMaxFrame, 0xA5).data();
    params.lpckid = step.b & 1 ? nullptr : &chunkId;
    params.lpdwFlags = &flags;
    const LRESULT result = Send(target, ICM_COMPRESS, &params);
    Require(SharedMemory().frame.IsIntact(), "nothing is written beside the frame");
    if (!open && params.lpbiInput && params.lpInput && params.lpbiOutput)
        Send(target, ICM_COMPRESS_END); // a run that the frame may have opened
    if (target.id == 0 || result != ICERR_OK)
        return;
    Require(flags == AVIIF_KEYFRAME, "every frame is a key frame");
    const auto* const bytes = static_cast<const uint8_t*>(params.lpOutput);
    frame->assign(bytes, bytes + out->biSizeImage);
    given.NoteAll(chunkId, *frame);
}

void Session::Decompress(HostInstance& target, const MessageStep& step)
{
    if (target.run != Run::Decompress) {
        if (target.run == Run::Compress || !IsSmall(*picture, kMaxSide, kMaxSide))
            return;
        BeginDecompress(target, SharedMemory().stream.Place(*stream), picture);
        if (target.run != Run::Decompress)
            return;
    }
    const size_t room = PictureRoom(target.picture);
    if (room > kMaxImage)
        return;
    BITMAPINFOHEADER* const in = SharedMemory().stream.Place(target.stream);
    in->biSizeImage = static_cast<DWORD>(frame->size());
    BITMAPINFOHEADER out = target.picture;
    ICDECOMPRESS params{};
    params.dwFlags = step.b & 1 ? ICDECOMPRESS_NULLFRAME : 0;
    params.lpbiInput = step.a & 1 ? nullptr : in;
    params.lpInput = step.a & 2 ? nullptr : SharedMemory().frame.Place(*frame).data();
    params.lpbiOutput = step.a & 4 ? nullptr : &out;
    const std::span<uint8_t> image = SharedMemory().picture.Place(room, 0xEE);
    params.lpOutput = step.a & 8 ? nullptr : image.data();
    const LRESULT result = Send(target, ICM_DECOMPRESS, &params);
    Require(SharedMemory().picture.IsIntact(), "nothing is written beside the picture");
    given.Note(image);
    const bool named = params.lpbiInput && params.lpInput && params.lpbiOutput && params.lpOutput;
    Require(result == (named ? result : ICERR_BADPARAM), "null is a bad parameter");
    Require(result == ICERR_OK || result == ICERR_BADSIZE || result == ICERR_BADPARAM, "a frame's result");
}

void Session::Negotiate(const MessageStep& step)
{
    const bool noFirst = (step.a & 1) != 0, noSecond = (step.a & 2) != 0;
    const bool isSmall = IsSmall(*picture, kMaxSide, kMaxSide);
    BITMAPINFOHEADER* const placed = SharedMemory().stream.Place(*stream);
    switch (KindOf(step)) {
    case StepKind::GetCompressFormat: {
        Bytes made(72, 0);
        if (Send(*host, ICM_COMPRESS_GET_FORMAT, picture, made.data()) == ICERR_OK && host->id != 0)
            *stream = made;
        given.Note(made);
        break;
    }
    case StepKind::QueryCompress:
        Send(*host, ICM_COMPRESS_QUERY, NullOr(picture, noFirst), NullOr(placed, noSecond));
        break;
    case StepKind::GetCompressSize:
        Send(*host, ICM_COMPRESS_GET_SIZE, picture, placed);
        break;
    case StepKind::BeginCompress:
        if (isSmall)
            BeginCompress(*host, noFirst ? nullptr : picture, noSecond ? nullptr : placed);
        break;
    case StepKind::Compress:
        Compress(*host, step);
        break;
    case StepKind::EndCompress:
        Require(Send(*host, ICM_COMPRESS_END) == ICERR_OK, "compression ends");
        host->run = Run::None;
        break;
    case StepKind::QueryDecompress:
        Send(*host, ICM_DECOMPRESS_QUERY, NullOr(placed, noFirst), NullOr(picture, noSecond));
        break;
    case StepKind::GetDecompressFormat:
        if (BITMAPINFOHEADER out{}; Send(*host, ICM_DECOMPRESS_GET_FORMAT, placed, &out) == ICERR_OK) {
            *picture = out;
            picture->biSizeImage = std::min(out.biSizeImage, kMaxImage);
            given.Note(std::span(reinterpret_cast<const uint8_t*>(&out), sizeof out));
        }
        break;
    case StepKind::BeginDecompress:
        if (isSmall)
            BeginDecompress(*host, noFirst ? nullptr : placed, noSecond ? nullptr : picture);
        break;
    case StepKind::Decompress:
        Decompress(*host, step);
        break;
    case StepKind::EndDecompress:
        Send(*host, ICM_DECOMPRESS_END);
        host->run = Run::None;
        break;
    default:
        break;
    }
}

void Session::Ask(const MessageStep& step)
{
    const auto room = [&](size_t size) { return SharedMemory().small.Place(size, 0); };
    switch (KindOf(step)) {
    case StepKind::GetState: {
        const std::span<uint8_t> blob = room(step.a);
        Send(*host, ICM_GETSTATE, reinterpret_cast<LPARAM>(step.a ? blob.data() : nullptr), LPARAM{step.a});
        given.Note(blob);
        break;
    }
    case StepKind::SetState: {
        Bytes blob(step.a);
        const auto bytes = input.TakeBytes(blob.size());
        std::copy(bytes.begin(), bytes.end(), blob.begin());
        if (blob.size() > 8) { // many threads say nothing new, and take long to start
            blob[4] &= 3;
            std::fill(blob.begin() + 5, blob.begin() + 8, uint8_t{0});
        }
        Send(*host, ICM_SETSTATE,
             reinterpret_cast<LPARAM>(step.a ? SharedMemory().small.Place(blob).data() : nullptr),
             LPARAM{step.a});
        break;
    }
    case StepKind::GetInfo: {
        alignas(ICINFO) uint8_t info[sizeof(ICINFO)] = {};
        Send(*host, ICM_GETINFO, reinterpret_cast<LPARAM>(step.a & 1 ? info : nullptr),
             step.a & 2 ? LPARAM{sizeof info} : LPARAM{sizeof info - 1});
        given.Note(std::span(info));
        break;
    }
    case StepKind::AskWindows:
        Send(*host, ICM_CONFIGURE, LPARAM{-1});
        Send(*host, ICM_ABOUT, LPARAM{-1});
        break;
    case StepKind::GetQuality: {
        const std::span<uint8_t> quality = room(sizeof(uint64_t));
        Send(*host, ICM_GETDEFAULTQUALITY, reinterpret_cast<LPARAM>(step.a & 1 ? quality.data() : nullptr));
        given.Note(quality);
        break;
    }
    case StepKind::OtherMessage: {
        const uint32_t message = step.a | uint32_t{step.b} << 8;
        const bool system = message < DRV_USER;
        const bool known =
            message <= DRV_REMOVE || (message >= ICM_COMPRESS_GET_FORMAT && message <= ICM_DECOMPRESS_END) ||
            message == ICM_DECOMPRESS_GET_PALETTE || (message >= ICM_GETSTATE && message <= ICM_SETQUALITY);
        if (!known)
            Require(Send(*host, message) == (system ? 0 : ICERR_UNSUPPORTED), "a message unknown to us");
        break;
    }
    default:
        break;
    }
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
    static InstanceSource fresh;
    static UsedInstances used;
    history.Enter({data, size});
    const Transcript given = Session(FuzzInput(data, size), used).Play();
    history.Require(Session(FuzzInput(data, size), fresh).Play() == given, "fresh instances give the same");
    return 0;
}
