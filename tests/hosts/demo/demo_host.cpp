// A host as a video editor is one: reads an AVI file frame by frame through whatever codec the system has for
// it, compresses the pictures again into a file of its own, and reads that back. It knows no codec by name.
#include "platform/vfw.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

void Require(bool good, const std::string& what)
{
    if (!good)
        throw std::runtime_error(what);
}

struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
};
using File = std::unique_ptr<IAVIFile, Release>;
using AviStream = std::unique_ptr<IAVIStream, Release>;

File Open(const char* name, UINT mode)
{
    IAVIFile* file = nullptr;
    Require(AVIFileOpenA(&file, name, mode, nullptr) == 0, std::string("cannot open ") + name);
    return File(file);
}

/// Adds up the time between Start and Stop.
class StopWatch
{
  public:
    void Start() { started = Clock::now(); }
    void Stop() { total += Clock::now() - started; }
    double Seconds() const { return std::chrono::duration<double>(total).count(); }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point started;
    Clock::duration total{};
};

/// A codec of the system; closed with this object.
class Codec
{
  public:
    explicit Codec(HIC opened) : handle(opened)
    {
        Require(handle != nullptr, "the system has no codec for this");
    }
    ~Codec() { ICClose(handle); }
    Codec(const Codec&) = delete;
    Codec& operator=(const Codec&) = delete;

    operator HIC() const { return handle; }

  private:
    HIC handle;
};

/// A header with whatever the codec keeps behind it.
class Format
{
  public:
    explicit Format(size_t size = sizeof(BITMAPINFOHEADER)) : bytes(size) {}
    BITMAPINFOHEADER* Header() { return reinterpret_cast<BITMAPINFOHEADER*>(bytes.data()); }
    LONG Size() const { return static_cast<LONG>(bytes.size()); }

  private:
    Bytes bytes;
};

/// A video file, decompressed by the codec that the system finds for it.
class Reader
{
  public:
    explicit Reader(const char* name) : stream(OpenStream(name)), format(ReadFormat()), codec(Find())
    {
        Require(ICDecompressGetFormat(codec, format.Header(), &picture) == ICERR_OK, "no suggested format");
        Require(ICDecompressBegin(codec, format.Header(), &picture) == ICERR_OK,
                "cannot begin to decompress");
    }
    ~Reader() { ICDecompressEnd(codec); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    LONG Frames() const { return AVIStreamLength(stream.get()); }
    BITMAPINFOHEADER Picture() const { return picture; }
    DWORD Compression() { return format.Header()->biCompression; }
    AVISTREAMINFOA Info() const
    {
        AVISTREAMINFOA info{};
        AVIStreamInfoA(stream.get(), &info, sizeof info);
        return info;
    }

    void Read(LONG number, Bytes& pixels)
    {
        LONG size = 0;
        AVIStreamRead(stream.get(), number, 1, nullptr, 0, &size, nullptr);
        frame.resize(static_cast<size_t>(size));
        Require(AVIStreamRead(stream.get(), number, 1, frame.data(), size, &size, nullptr) == 0,
                "cannot read a frame");
        pixels.resize(picture.biSizeImage);
        format.Header()->biSizeImage = static_cast<DWORD>(size);
        Require(ICDecompress(codec, 0, format.Header(), frame.data(), &picture, pixels.data()) == ICERR_OK,
                "a frame cannot be decompressed");
    }

  private:
    static AviStream OpenStream(const char* name)
    {
        IAVIStream* stream = nullptr;
        Require(AVIFileGetStream(Open(name, OF_READ).get(), &stream, streamtypeVIDEO, 0) == 0,
                "there is no video");
        return AviStream(stream);
    }

    Format ReadFormat() const
    {
        LONG size = 0;
        AVIStreamReadFormat(stream.get(), 0, nullptr, &size);
        Format read(static_cast<size_t>(size));
        Require(AVIStreamReadFormat(stream.get(), 0, read.Header(), &size) == 0, "the stream has no format");
        return read;
    }

    HIC Find()
    {
        return ICLocate(ICTYPE_VIDEO, Info().fccHandler, format.Header(), nullptr, ICMODE_DECOMPRESS);
    }

    AviStream stream;
    Format format;
    Codec codec;
    BITMAPINFOHEADER picture{};
    Bytes frame;
};

/// A stream of sound beside the video: samples that no two frames have in common.
class Sound
{
  public:
    Sound(IAVIFile* file, double frameRate) : samplesOfFrame(static_cast<LONG>(kSamples / frameRate))
    {
        WAVEFORMATEX format{};
        format.wFormatTag = WAVE_FORMAT_PCM;
        format.nChannels = 1;
        format.nSamplesPerSec = kSamples;
        format.wBitsPerSample = 16;
        format.nBlockAlign = 2;
        format.nAvgBytesPerSec = 2 * kSamples;
        AVISTREAMINFOA info{};
        info.fccType = streamtypeAUDIO;
        info.dwScale = format.nBlockAlign;
        info.dwRate = format.nAvgBytesPerSec;
        info.dwSampleSize = format.nBlockAlign;
        info.dwQuality = ~DWORD{0};
        IAVIStream* added = nullptr;
        Require(AVIFileCreateStreamA(file, &added, &info) == 0, "cannot add a stream of sound");
        stream.reset(added);
        Require(AVIStreamSetFormat(stream.get(), 0, &format, sizeof format) == 0,
                "cannot set the format of the sound");
    }

    /// What is heard while a frame is seen.
    void Write(LONG frame)
    {
        std::vector<int16_t> samples(static_cast<size_t>(samplesOfFrame));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<int16_t>(i * i * 31 + static_cast<size_t>(frame) * 977);
        Require(AVIStreamWrite(stream.get(), kAtTheEnd, samplesOfFrame, samples.data(), 2 * samplesOfFrame,
                               AVIIF_KEYFRAME, nullptr, nullptr) == 0,
                "cannot write sound");
    }

  private:
    static constexpr DWORD kSamples = 8000; // in a second
    static constexpr LONG kAtTheEnd = -1;

    const LONG samplesOfFrame;
    AviStream stream;
};

/// A new video file, compressed by the codec with this code.
class Writer
{
  public:
    Writer(const char* name, DWORD fourCC, const AVISTREAMINFOA& like, const BITMAPINFOHEADER& pictures)
        : codec(ICOpen(ICTYPE_VIDEO, fourCC, ICMODE_COMPRESS)), picture(pictures),
          format(ICCompressGetFormatSize(codec, &picture)), file(Open(name, OF_CREATE | OF_WRITE))
    {
        Require(ICCompressGetFormat(codec, &picture, format.Header()) == ICERR_OK,
                "the codec refuses the pictures");
        frame.resize(ICCompressGetSize(codec, &picture, format.Header()));
        Require(ICCompressBegin(codec, &picture, format.Header()) == ICERR_OK, "cannot begin to compress");

        AVISTREAMINFOA info{};
        info.fccType = streamtypeVIDEO;
        info.fccHandler = fourCC;
        info.dwScale = like.dwScale;
        info.dwRate = like.dwRate;
        info.dwQuality = ~DWORD{0};
        info.rcFrame = like.rcFrame;
        IAVIStream* added = nullptr;
        Require(AVIFileCreateStreamA(file.get(), &added, &info) == 0, "cannot add a stream");
        stream.reset(added);
        Require(AVIStreamSetFormat(stream.get(), 0, format.Header(), format.Size()) == 0,
                "cannot set the format");
    }
    ~Writer() { ICCompressEnd(codec); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Adds a stream of sound. To be called before frames are written.
    void AddSound(const AVISTREAMINFOA& like)
    {
        sound = std::make_unique<Sound>(file.get(), like.dwRate / static_cast<double>(like.dwScale));
    }

    /// The bytes that the frame has become.
    uint64_t Write(LONG number, Bytes& pixels)
    {
        DWORD chunkId = 0;
        DWORD flags = 0;
        Require(ICCompress(codec, ICCOMPRESS_KEYFRAME, format.Header(), frame.data(), &picture, pixels.data(),
                           &chunkId, &flags, number, 0, 0, nullptr, nullptr) == ICERR_OK,
                "a frame cannot be compressed");
        const DWORD size = format.Header()->biSizeImage;
        Require(AVIStreamWrite(stream.get(), number, 1, frame.data(), static_cast<LONG>(size), flags, nullptr,
                               nullptr) == 0,
                "cannot write a frame");
        if (sound)
            sound->Write(number);
        return size;
    }

  private:
    Codec codec;
    BITMAPINFOHEADER picture;
    Format format;
    Bytes frame;
    File file;
    AviStream stream;
    std::unique_ptr<Sound> sound;
};

void Run(const char* input, const char* output, bool withSound)
{
    Reader source(input);
    const LONG frames = source.Frames();
    Require(frames > 0, "the file has no frames");
    StopWatch encode, decode;
    uint64_t raw = 0;
    uint64_t compressed = 0;
    Bytes pixels;
    {
        Writer writer(output, source.Compression(), source.Info(), source.Picture());
        if (withSound)
            writer.AddSound(source.Info());
        for (LONG number = 0; number < frames; ++number) {
            source.Read(number, pixels);
            encode.Start();
            compressed += writer.Write(number, pixels);
            encode.Stop();
            raw += pixels.size();
        }
    }

    Reader result(output);
    Require(result.Frames() == frames, "frames were lost");
    Bytes again;
    for (LONG number = 0; number < frames; ++number) {
        source.Read(number, pixels);
        decode.Start();
        result.Read(number, again);
        decode.Stop();
        Require(pixels == again, "frame " + std::to_string(number) + " came back different");
    }
    std::printf("frames=%ld raw=%llu compressed=%llu encode=%.6f decode=%.6f\n", frames,
                static_cast<unsigned long long>(raw), static_cast<unsigned long long>(compressed),
                encode.Seconds(), decode.Seconds());
}

} // namespace

int main(int count, char** arguments)
{
    const bool withSound = count == 4 && std::strcmp(arguments[3], "--sound") == 0;
    if (count != 3 && !withSound) {
        std::fputs("usage: orvane_demo_host IN.avi OUT.avi [--sound]\n", stderr);
        return 2;
    }
    AVIFileInit();
    int code = 0;
    try {
        Run(arguments[1], arguments[2], withSound);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvane_demo_host: %s\n", error.what());
        code = 1;
    }
    AVIFileExit();
    return code;
}
