#include "files/open_files.h"

#include "files/input_stream.h"
#include "files/picture_sequence.h"
#include "files/raw_stream.h"
#include "files/y4m_stream.h"
#include "interrupt.h"
#include "tool_error.h"

#include <algorithm>
#include <istream>
#include <ostream>

namespace {

struct Ending {
    const char* text;
    FileKind kind;
};
constexpr Ending kEndings[] = {{".y4m", FileKind::Y4m}, {".avi", FileKind::Avi}, {".png", FileKind::Png},
                               {".ppm", FileKind::Pnm}, {".pgm", FileKind::Pnm}, {".raw", FileKind::Raw},
                               {".yuv", FileKind::Raw}};

std::unique_ptr<std::istream> OpenStream(const std::string& name)
{
    if (IsStreamName(PathOf(name)))
        return std::make_unique<InputStream>(name);
    const FileSource check(PathOf(name)); // for its errors
    return std::make_unique<std::ifstream>(PathOf(name), std::ios::binary);
}

std::unique_ptr<FrameSource> OpenAnySource(const std::string& name, const std::string& raw,
                                           std::istream& standard)
{
    const FileKind kind = KindOf(name);
    if (!raw.empty()) {
        if (kind != FileKind::Raw && kind != FileKind::Unknown)
            throw UsageError("--raw is for files of raw frames", name,
                             "leave it out, or name a .raw or .yuv file");
        return std::make_unique<RawReader>(std::make_unique<FileSource>(PathOf(name)), ParseRawFormat(raw),
                                           name);
    }
    switch (kind) {
    case FileKind::StandardStream:
        return std::make_unique<Y4mReader>(standard, "standard input");
    case FileKind::Y4m:
        return std::make_unique<Y4mReader>(OpenStream(name), name);
    case FileKind::Png:
    case FileKind::Pnm:
        return std::make_unique<StillReader>(PathOf(name));
    case FileKind::Raw:
        throw UsageError("raw frames do not tell their size", name, "add --raw WIDTHxHEIGHT:LAYOUT");
    case FileKind::Avi:
    case FileKind::Unknown:
        break;
    }
    if (std::error_code ignored; std::filesystem::is_directory(PathOf(name), ignored))
        throw UsageError("this is a folder", name, "name its pictures by a pattern, as FOLDER/%04d.png");
    throw UsageError("this is no kind of input", name,
                     "give .y4m, .png, .ppm, .pgm, - or raw frames with --raw");
}

} // namespace

FileKind KindOf(const std::string& name)
{
    if (name == "-")
        return FileKind::StandardStream;
    std::string ending = TextOf(PathOf(name).extension());
    std::ranges::transform(ending, ending.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    const auto* const row =
        std::ranges::find_if(kEndings, [&](const Ending& known) { return known.text == ending; });
    return row == std::end(kEndings) ? FileKind::Unknown : row->kind;
}

std::unique_ptr<FrameSource> OpenSource(const std::string& name, const std::string& raw,
                                        std::istream& standard)
{
    try {
        return OpenAnySource(name, raw, standard);
    } catch (const ToolError&) {
        ThrowIfInterrupted(); // a pipe that was given up while it was waited for looks like an empty file
        throw;
    }
}

std::vector<std::filesystem::path> InputFiles(const std::string& name)
{
    switch (KindOf(name)) {
    case FileKind::StandardStream:
        return {};
    case FileKind::Png:
    case FileKind::Pnm:
        return FilesOf(PathOf(name));
    default:
        return {PathOf(name)};
    }
}

FileKind OutputKindOf(const std::string& name, bool hasLayout, FormatId code)
{
    const FileKind kind = KindOf(name);
    if (kind != FileKind::Unknown || !IsStreamName(PathOf(name)))
        return kind;
    return hasLayout || !Y4mKindOf(NativeLayout(code)) ? FileKind::Raw : FileKind::Y4m;
}

std::unique_ptr<FrameSink> OpenSink(const std::string& name, FileKind kind, const VideoInfo& info,
                                    FrameNumbers frames, std::ostream& standard, const OutputRules& rules)
{
    const std::filesystem::path path = PathOf(name);
    switch (kind) {
    case FileKind::StandardStream:
        if (rules.outputIsTerminal)
            throw ToolError("binary data is not written to a terminal", "standard output",
                            "send it to a file or to another program");
        return std::make_unique<Y4mWriter>(nullptr, &standard, info, "standard output");
    case FileKind::Y4m:
        MakeY4mHeader(info, name); // refuses a layout before the file is there
        return std::make_unique<Y4mWriter>(std::make_unique<OutputFile>(path, rules), nullptr, info, name);
    case FileKind::Png:
    case FileKind::Pnm:
        return std::make_unique<StillWriter>(path, kind == FileKind::Png ? StillKind::Png : StillKind::Pnm,
                                             info, frames, rules);
    case FileKind::Raw:
        return std::make_unique<RawWriter>(std::make_unique<OutputFile>(path, rules));
    case FileKind::Avi:
    case FileKind::Unknown:
        break;
    }
    throw UsageError("this is no kind of output", name, "give .y4m, -, .png, .ppm, .raw or .yuv");
}

const PixelLayout& DefaultLayout(FileKind kind, FormatId code)
{
    const bool still = kind == FileKind::Png || kind == FileKind::Pnm;
    if (!still || code == kCodeGray || code == kCodeRgba)
        return NativeLayout(code);
    return LayoutNamed(code == kCodeYuva ? "RGBA" : "RGB24");
}
