#include "files/raw_stream.h"

#include "tool_error.h"

VideoInfo ParseRawFormat(const std::string& text)
{
    const std::string option = "--raw " + text;
    const size_t cross = text.find('x');
    const size_t colon = text.find(':');
    if (cross == std::string::npos || colon == std::string::npos || cross > colon)
        throw UsageError("bad frame size", option, "write WIDTHxHEIGHT:LAYOUT, as 640x480:YUY2");
    const auto width = ParseNumber(text.substr(0, cross), INT32_MAX);
    const auto height = ParseNumber(text.substr(cross + 1, colon - cross - 1), INT32_MAX);
    if (!width || !height)
        throw UsageError("bad frame size", option, "write WIDTHxHEIGHT:LAYOUT, as 640x480:YUY2");
    VideoInfo info;
    info.layout = FindLayout(text.substr(colon + 1));
    if (info.layout == nullptr)
        throw UsageError("unknown layout", option, "use one of " + LayoutNames());
    CheckPictureSize(*info.layout, static_cast<int64_t>(*width), static_cast<int64_t>(*height), option);
    info.width = static_cast<int>(*width);
    info.height = static_cast<int>(*height);
    return info;
}

RawReader::RawReader(std::unique_ptr<ByteSource> source_, const VideoInfo& format, const std::string& name)
    : source(std::move(source_))
{
    info = format;
    if (source->Size() == 0 || source->Size() % info.FrameBytes() != 0)
        throw ToolError(
            "the file has " + std::to_string(source->Size()) + " bytes, which is no whole number of frames",
            name, "a frame of this size and layout has " + std::to_string(info.FrameBytes()) + " bytes");
}

bool RawReader::Next(std::span<uint8_t> picture)
{
    if (position == source->Size())
        return false;
    position += source->Read(position, picture);
    return true;
}
