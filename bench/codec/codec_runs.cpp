#include "codec/codec_runs.h"

#include <cstring>
#include <numeric>
#include <stdexcept>

namespace {

/// The thread counts and methods of instances opened from now on.
void Choose(PrivateSettings& settings, uint32_t fourcc, PredictMethod method, int threads)
{
    CodecOptions options;
    options.method = static_cast<uint32_t>(method);
    options.threads = static_cast<uint32_t>(threads);
    settings.SetForEncoding(fourcc, options);
    settings.SetForDecoding(static_cast<uint32_t>(threads));
}

void Expect(LRESULT result, const char* message)
{
    if (result != ICERR_OK)
        throw std::runtime_error(std::string(message) + " answered " + std::to_string(result));
}

std::vector<uint8_t> AskFormat(CodecInstance& instance, BITMAPINFOHEADER* picture)
{
    const LRESULT size = instance.Send(ICM_COMPRESS_GET_FORMAT, picture);
    if (size < static_cast<LRESULT>(sizeof(BITMAPINFOHEADER)))
        throw std::runtime_error("ICM_COMPRESS_GET_FORMAT answered " + std::to_string(size));
    std::vector<uint8_t> info(static_cast<size_t>(size));
    Expect(instance.Send(ICM_COMPRESS_GET_FORMAT, picture, info.data()), "ICM_COMPRESS_GET_FORMAT");
    return info;
}

uint32_t FourCCFor(const BenchClip& clip)
{
    return FindCompressedFormat(clip.layout->family)->fourcc;
}

} // namespace

double CodedClip::FrameBytes() const
{
    return static_cast<double>(std::accumulate(sizes.begin(), sizes.end(), size_t{0})) /
           static_cast<double>(sizes.size());
}

EncodeRun::EncodeRun(const LoadedDriver& driver, PrivateSettings& settings, BenchClip& clip_,
                     PredictMethod method, int threads, AlignedBuffer& frame_)
    : clip(clip_), frame(frame_)
{
    Choose(settings, FourCCFor(clip), method, threads);
    instance = std::make_unique<CodecInstance>(driver.entry, FourCCFor(clip), ICMODE_COMPRESS);
    BITMAPINFOHEADER* const picture = clip.pictures[0].Header();
    Expect(instance->Send(ICM_COMPRESS_QUERY, picture), "ICM_COMPRESS_QUERY");
    info = AskFormat(*instance, picture);
    if (instance->Send(ICM_COMPRESS_GET_SIZE, picture, info.data()) > static_cast<LRESULT>(frame.Size()))
        throw std::runtime_error("the buffer for frames is too small");
    Expect(instance->Send(ICM_COMPRESS_BEGIN, picture, info.data()), "ICM_COMPRESS_BEGIN");
}

EncodeRun::~EncodeRun()
{
    instance->Send(ICM_COMPRESS_END, nullptr);
}

size_t EncodeRun::Encode(size_t picture)
{
    DWORD chunkId = 0, flags = 0;
    ICCOMPRESS record{};
    record.dwFlags = ICCOMPRESS_KEYFRAME;
    record.lpbiOutput = Output();
    record.lpOutput = frame.Data();
    record.lpbiInput = clip.pictures[picture].Header();
    record.lpInput = clip.pictures[picture].Data();
    record.lpckid = &chunkId;
    record.lpdwFlags = &flags;
    Expect(instance->Send(ICM_COMPRESS, &record), "ICM_COMPRESS");
    return Output()->biSizeImage;
}

void EncodeRun::Run(int frames)
{
    for (int i = 0; i < frames; ++i) {
        Encode(next);
        next = (next + 1) % clip.pictures.size();
    }
}

CodedClip EncodeRun::EncodeAll()
{
    CodedClip coded;
    for (size_t picture = 0; picture < clip.pictures.size(); ++picture) {
        const size_t size = Encode(picture);
        coded.sizes.push_back(size);
        coded.frames.emplace_back(size);
        std::memcpy(coded.frames.back().Data(), frame.Data(), size);
    }
    coded.bitmapInfo = info;
    return coded;
}

size_t FrameRoom(const LoadedDriver& driver, BenchClip& clip)
{
    CodecInstance instance(driver.entry, FourCCFor(clip), ICMODE_QUERY);
    BITMAPINFOHEADER* const picture = clip.pictures[0].Header();
    std::vector<uint8_t> info = AskFormat(instance, picture);
    return static_cast<size_t>(instance.Send(ICM_COMPRESS_GET_SIZE, picture, info.data()));
}

DecodeRun::DecodeRun(const LoadedDriver& driver, PrivateSettings& settings, BenchClip& clip_,
                     const CodedClip& coded_, int threads, HostPicture& back_)
    : clip(clip_), coded(coded_), back(back_), info(coded_.bitmapInfo)
{
    Choose(settings, FourCCFor(clip), PredictMethod::Dynamic, threads);
    instance = std::make_unique<CodecInstance>(driver.entry, FourCCFor(clip), ICMODE_DECOMPRESS);
    Expect(instance->Send(ICM_DECOMPRESS_QUERY, info.data(), back.Header()), "ICM_DECOMPRESS_QUERY");
    Expect(instance->Send(ICM_DECOMPRESS_BEGIN, info.data(), back.Header()), "ICM_DECOMPRESS_BEGIN");
}

DecodeRun::~DecodeRun()
{
    instance->Send(ICM_DECOMPRESS_END, nullptr);
}

void DecodeRun::Decode(size_t picture)
{
    Input()->biSizeImage = static_cast<DWORD>(coded.sizes[picture]);
    ICDECOMPRESS record{};
    record.lpbiInput = Input();
    record.lpInput = coded.frames[picture].Data();
    record.lpbiOutput = back.Header();
    record.lpOutput = back.Data();
    Expect(instance->Send(ICM_DECOMPRESS, &record), "ICM_DECOMPRESS");
}

void DecodeRun::Run(int frames)
{
    for (int i = 0; i < frames; ++i) {
        Decode(next);
        next = (next + 1) % coded.frames.size();
    }
}

bool DecodeRun::IsLossless()
{
    // Tight pictures are compared: what pads rows is nobody's.
    std::vector<uint8_t> expected(static_cast<size_t>(clip.PictureBytes())), decoded(expected);
    for (size_t picture = 0; picture < coded.frames.size(); ++picture) {
        std::memset(back.Data(), 0x5A, back.Header()->biSizeImage);
        Decode(picture);
        back.Store(decoded);
        clip.pictures[picture].Store(expected);
        if (decoded != expected)
            return false;
    }
    return true;
}

PairedRuns::PairedRuns(std::unique_ptr<ClipRun> first_, std::unique_ptr<ClipRun> second_)
    : first(std::move(first_)), second(std::move(second_)), partner([this] {
          for (;;) {
              ordered.wait(0);
              const int frames = ordered;
              if (frames < 0)
                  return;
              second->Run(frames);
              ordered = 0;
              ordered.notify_one();
          }
      })
{}

PairedRuns::~PairedRuns()
{
    ordered = -1;
    ordered.notify_one();
    partner.join();
}

void PairedRuns::Run(int frames)
{
    ordered = frames;
    ordered.notify_one();
    first->Run(frames);
    for (int now = ordered; now != 0; now = ordered)
        ordered.wait(now);
}
