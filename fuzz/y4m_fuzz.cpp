// Any bytes as a Y4M stream. Pictures that were read are written and read once more: nothing changes. The
// first line also stands for the fields that an AVI file keeps of it.

#include "files/y4m_stream.h"
#include "support/fuzz_input.h"
#include "support/history.h"
#include "support/y4m_fields.h"
#include "tool_error.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// The reader takes memory for a picture of the size that the first line says; a target does not need large
/// ones.
constexpr size_t kMaxPicture = 1 << 18;
constexpr size_t kMaxFrames = 64;

struct Video {
    VideoInfo info;
    std::vector<std::vector<uint8_t>> pictures;
    std::string error; ///< that ended them, if any
};

/// The pictures up to the end or the first damage.
Video ReadVideo(const std::string& bytes)
{
    std::istringstream stream(bytes);
    Y4mReader reader(stream, "input.y4m");
    Video video{reader.Info(), {}, {}};
    try {
        std::vector<uint8_t> picture(video.info.FrameBytes());
        while (video.pictures.size() < kMaxFrames && reader.Next(picture))
            video.pictures.push_back(picture);
    } catch (const ToolError& error) {
        video.error = ErrorLine(error);
        Require(video.error.back() == '\n', "an error is a line");
    }
    return video;
}

std::string WriteVideo(const Video& video)
{
    std::ostringstream stream;
    Y4mWriter writer(nullptr, &stream, video.info, "output.y4m");
    for (size_t i = 0; i < video.pictures.size(); ++i)
        writer.Write(video.pictures[i], i);
    writer.Finish();
    return stream.str();
}

Transcript Read(std::span<const uint8_t> input)
{
    Transcript given;
    const std::string bytes(input.begin(), input.end());
    const std::string firstLine = bytes.substr(0, std::min(bytes.find('\n'), kMaxY4mLine));
    try {
        VideoInfo info = ParseY4mHeader(firstLine, "input.y4m").info;
        CheckY4mFields(info);
        TakeY4mFields(firstLine, info);
        CheckY4mFields(info);
        given.Note(MakeY4mFields(info));
        if (info.FrameBytes() > kMaxPicture)
            return given;
        const Video video = ReadVideo(bytes);
        given.Note(video.error);
        for (const std::vector<uint8_t>& picture : video.pictures)
            given.Note(picture);
        const Video again = ReadVideo(WriteVideo(video));
        Require(again.pictures == video.pictures, "pictures stay the same");
        Require(again.info.layout == video.info.layout && again.info.width == video.info.width &&
                    again.info.height == video.info.height &&
                    again.info.rate == video.info.rate.value_or(Rational{}) &&
                    again.info.interlaced == video.info.interlaced &&
                    again.info.fullRange == video.info.fullRange,
                "what the first line says stays the same");
    } catch (const ToolError& error) {
        Require(ErrorLine(error).back() == '\n', "an error is a line");
        given.Note(ErrorLine(error));
    }
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static History history;
    history.ReadTwice({data, size}, Read);
    return 0;
}
