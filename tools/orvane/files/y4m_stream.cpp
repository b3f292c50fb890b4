#include "files/y4m_stream.h"

#include "files/input_stream.h"
#include "interrupt.h"
#include "tool_error.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr std::string_view kFrameLine = "FRAME\n";

/// Where each sample of an interleaved picture comes from: plane 0 has one sample a pixel; the others as
/// many, or half as many in 4:2:2.
struct Interleave {
    size_t groupBytes;  ///< of a pixel, or of a pair
    size_t lumaInGroup; ///< samples of plane 0 in a group
    uint8_t luma[2];    ///< their bytes
    uint8_t other[3];   ///< bytes of planes 1, 2 and 3
    size_t others;
};
constexpr Interleave kYuy2{4, 2, {0, 2}, {1, 3, 0}, 2}; // Y0 U Y1 V
constexpr Interleave kAyuv{4, 1, {1, 0}, {2, 3, 0}, 3}; // A Y U V

/// Calls visit(byte in the picture, byte in the planes) for all samples.
template <class Visit>
void WalkSamples(const Interleave& form, size_t pictureBytes, Visit visit)
{
    const size_t groups = pictureBytes / form.groupBytes;
    for (size_t i = 0; i < form.lumaInGroup; ++i)
        for (size_t group = 0; group < groups; ++group)
            visit(group * form.groupBytes + form.luma[i], group * form.lumaInGroup + i);
    const size_t lumaBytes = groups * form.lumaInGroup;
    for (size_t i = 0; i < form.others; ++i)
        for (size_t group = 0; group < groups; ++group)
            visit(group * form.groupBytes + form.other[i], lumaBytes + i * groups + group);
}

const Interleave& FormOf(Y4mKind kind)
{
    return kind == Y4mKind::Yuy2 ? kYuy2 : kAyuv;
}

} // namespace

void InterleaveY4m(Y4mKind kind, std::span<const uint8_t> planes, std::span<uint8_t> picture)
{
    WalkSamples(FormOf(kind), picture.size(),
                [&](size_t packed, size_t planar) { picture[packed] = planes[planar]; });
}

void DeinterleaveY4m(Y4mKind kind, std::span<const uint8_t> picture, std::span<uint8_t> planes)
{
    WalkSamples(FormOf(kind), picture.size(),
                [&](size_t packed, size_t planar) { planes[planar] = picture[packed]; });
}

Y4mReader::Y4mReader(std::istream& stream_, std::string name_) : stream(stream_), name(std::move(name_))
{
    const std::optional<std::string> line = ReadLine();
    const Y4mHeader header = ParseY4mHeader(line.value_or(""), name);
    info = header.info;
    kind = header.kind;
    for (const ToolWarning& warning : header.warnings)
        Warn(warning);
    const auto* const input = dynamic_cast<const InputStream*>(&stream);
    live = input && input->IsLive();
    if (kind != Y4mKind::Planar)
        planes.resize(info.FrameBytes());
}

Y4mReader::Y4mReader(std::unique_ptr<std::istream> owned_, std::string name_)
    : Y4mReader(*owned_, std::move(name_))
{
    owned = std::move(owned_);
    CountFrames();
}

void Y4mReader::CountFrames()
{
    const std::streamoff from = stream.tellg();
    if (from < 0) // what cannot be gone back in cannot be counted
        return;
    stream.seekg(0, std::ios::end);
    const std::streamoff end = stream.tellg();
    stream.clear();
    stream.seekg(from);
    if (from >= 0 && end >= from)
        frameCount = static_cast<uint64_t>(end - from) / (info.FrameBytes() + kFrameLine.size());
}

/// A line without its end; nothing at the end of the stream. Throws when it is too long or cut off.
std::optional<std::string> Y4mReader::ReadLine()
{
    std::string line;
    for (;;) {
        const int c = stream.get();
        if (c == std::istream::traits_type::eof() && line.empty())
            return std::nullopt;
        if (c == '\n')
            return line;
        if (c == std::istream::traits_type::eof() || line.size() == kMaxY4mLine)
            throw ToolError("a line of the Y4M stream has no end", name + " frame " + std::to_string(frames),
                            "the stream is damaged or no Y4M");
        line += static_cast<char>(c);
    }
}

void Y4mReader::ReadExactly(std::span<uint8_t> bytes)
{
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (static_cast<size_t>(stream.gcount()) != bytes.size())
        throw ToolError("the Y4M stream ends inside a picture", name + " frame " + std::to_string(frames),
                        "give the whole stream");
}

bool Y4mReader::Next(std::span<uint8_t> picture)
{
    const std::optional<std::string> line = ReadLine();
    if (!line)
        return false;
    CheckFrameLine(*line);
    if (kind == Y4mKind::Planar) {
        ReadExactly(picture);
    } else {
        ReadExactly(planes);
        InterleaveY4m(kind, planes, picture);
    }
    ++frames;
    return true;
}

/// FRAME, with or without parameters of the frame.
void Y4mReader::CheckFrameLine(const std::string& line)
{
    constexpr size_t kWord = kFrameLine.size() - 1;
    if (!line.starts_with("FRAME") || (line.size() > kWord && line[kWord] != ' '))
        throw ToolError("a picture of the Y4M stream has no FRAME line",
                        name + " frame " + std::to_string(frames), "the stream is damaged");
    if (line.find_first_not_of(' ', kWord) != std::string::npos)
        Warn({"frames of the Y4M stream have parameters of their own",
              name + " frame " + std::to_string(frames), "they are left out"});
}

Y4mWriter::Y4mWriter(std::unique_ptr<OutputFile> file_, std::ostream* stream_, VideoInfo info_,
                     const std::string& name)
    : file(std::move(file_)), stream(stream_), info(std::move(info_))
{
    const std::string line = MakeY4mHeader(info, name);
    kind = *Y4mKindOf(*info.layout);
    if (kind != Y4mKind::Planar)
        planes.resize(info.FrameBytes());
    WriteBytes({reinterpret_cast<const uint8_t*>(line.data()), line.size()});
}

void Y4mWriter::WriteBytes(std::span<const uint8_t> bytes)
{
    if (file) {
        file->Write(bytes);
        return;
    }
    stream->write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    CheckStream();
}

void Y4mWriter::CheckStream() const
{
    if (*stream)
        return;
    ThrowIfInterrupted();
    throw ToolError("cannot write to standard output", "", "the reader has gone or the disk is full");
}

void Y4mWriter::Write(std::span<const uint8_t> picture, uint64_t)
{
    WriteBytes({reinterpret_cast<const uint8_t*>(kFrameLine.data()), kFrameLine.size()});
    if (kind == Y4mKind::Planar) {
        WriteBytes(picture);
        return;
    }
    DeinterleaveY4m(kind, picture, planes);
    WriteBytes(planes);
}

void Y4mWriter::Finish()
{
    if (file) {
        file->Commit();
        return;
    }
    stream->flush();
    CheckStream();
}

void Y4mWriter::NamePart(ToolError& error, uint64_t frames)
{
    if (file)
        file->NamePart(error, frames);
}
