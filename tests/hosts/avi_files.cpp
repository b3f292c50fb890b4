#include "hosts/avi_files.h"

FileReference OpenAviFile(const std::string& name, UINT mode)
{
    IAVIFile* file = nullptr;
    Require(AVIFileOpenA(&file, name.c_str(), mode, nullptr), "AVIFileOpen");
    return FileReference(file);
}

StreamReference AddStream(IAVIFile* file, DWORD handler, const BITMAPINFOHEADER& header)
{
    AVISTREAMINFOA info{};
    info.fccType = streamtypeVIDEO;
    info.fccHandler = handler;
    info.dwScale = 1;
    info.dwRate = 25;
    info.dwSuggestedBufferSize = header.biSizeImage;
    info.dwQuality = ~DWORD{0};
    info.rcFrame = {0, 0, header.biWidth, header.biHeight};
    IAVIStream* stream = nullptr;
    Require(AVIFileCreateStreamA(file, &stream, &info), "AVIFileCreateStream");
    return StreamReference(stream);
}

AVICOMPRESSOPTIONS OptionsFor(const char* fourCC)
{
    AVICOMPRESSOPTIONS options{};
    options.fccType = streamtypeVIDEO;
    options.fccHandler = FourCCOf(fourCC);
    options.dwFlags = AVICOMPRESSF_VALID;
    options.dwQuality = ~DWORD{0}; // the codec is asked for its default
    return options;
}

namespace {

void SetFormat(IAVIStream* stream, const BITMAPINFOHEADER& header)
{
    BITMAPINFOHEADER copy = header;
    Require(AVIStreamSetFormat(stream, 0, &copy, sizeof copy), "AVIStreamSetFormat");
}

void WriteAll(IAVIStream* stream, const std::vector<Bytes>& chunks)
{
    LONG number = 0;
    for (Bytes bytes : chunks)
        Require(AVIStreamWrite(stream, number++, 1, bytes.data(), static_cast<LONG>(bytes.size()),
                               AVIIF_KEYFRAME, nullptr, nullptr),
                "AVIStreamWrite");
}

} // namespace

void WriteByAviFile(const std::string& name, const char* fourCC, const Clip& clip)
{
    const FileReference file = OpenAviFile(name, OF_CREATE | OF_WRITE);
    const StreamReference plain = AddStream(file.get(), 0, clip.header);
    AVICOMPRESSOPTIONS options = OptionsFor(fourCC);
    IAVIStream* compressing = nullptr;
    Require(AVIMakeCompressedStream(&compressing, plain.get(), &options, nullptr), "AVIMakeCompressedStream");
    const StreamReference stream(compressing);
    SetFormat(stream.get(), clip.header);
    WriteAll(stream.get(), clip.pictures);
}

void WriteFrames(const std::string& name, const char* fourCC, const Stream& frames)
{
    const FileReference file = OpenAviFile(name, OF_CREATE | OF_WRITE);
    const StreamReference stream = AddStream(file.get(), FourCCOf(fourCC), frames.header.header);
    StreamHeader header = frames.header;
    Require(AVIStreamSetFormat(stream.get(), 0, &header, sizeof header), "AVIStreamSetFormat");
    WriteAll(stream.get(), frames.frames);
}

void WritePictures(const std::string& name, const Clip& clip)
{
    const FileReference file = OpenAviFile(name, OF_CREATE | OF_WRITE);
    const StreamReference stream = AddStream(file.get(), 0, clip.header);
    SetFormat(stream.get(), clip.header);
    WriteAll(stream.get(), clip.pictures);
}

StreamReference OpenStream(const std::string& name)
{
    // A stream keeps its file open.
    const FileReference file = OpenAviFile(name, OF_READ);
    IAVIStream* stream = nullptr;
    Require(AVIFileGetStream(file.get(), &stream, streamtypeVIDEO, 0), "AVIFileGetStream");
    return StreamReference(stream);
}

Stream ReadFrames(const std::string& name)
{
    const StreamReference stream = OpenStream(name);
    Stream frames{};
    LONG size = sizeof frames.header;
    Require(AVIStreamReadFormat(stream.get(), 0, &frames.header, &size), "AVIStreamReadFormat");
    if (size != sizeof frames.header)
        throw std::runtime_error("the stored format has " + std::to_string(size) + " bytes");
    for (LONG number = 0; number < AVIStreamLength(stream.get()); ++number) {
        Bytes frame(frames.header.header.biSizeImage);
        LONG count = 0;
        Require(AVIStreamRead(stream.get(), number, 1, frame.data(), static_cast<LONG>(frame.size()), &size,
                              &count),
                "AVIStreamRead");
        frame.resize(static_cast<size_t>(size));
        frames.frames.push_back(std::move(frame));
    }
    return frames;
}

std::vector<Bytes> ReadPictures(const std::string& name, const BITMAPINFOHEADER* wanted,
                                BITMAPINFOHEADER* given)
{
    const StreamReference stream = OpenStream(name);
    BITMAPINFOHEADER format = wanted ? *wanted : BITMAPINFOHEADER{};
    IGetFrame* const frames = AVIStreamGetFrameOpen(stream.get(), wanted ? &format : nullptr);
    if (!frames)
        throw std::runtime_error("avifil32 finds no way to decompress " + name);
    std::vector<Bytes> pictures;
    for (LONG number = 0; number < AVIStreamLength(stream.get()); ++number) {
        const auto* const header = static_cast<const BITMAPINFOHEADER*>(AVIStreamGetFrame(frames, number));
        if (!header)
            break;
        pictures.push_back(PixelsOf(*header));
        if (given)
            *given = *header;
    }
    AVIStreamGetFrameClose(frames);
    return pictures;
}
