// Any bytes as an AVI file: the reader ends, stays inside the file, and what it finds is in order.

#include "files/video_stream.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "tool_error.h"

#include <algorithm>

namespace {

constexpr size_t kMaxFile = 1 << 16;

void CheckFile(const AviFile& file, size_t size)
{
    Require(file.bitmapInfo.size() >= 40 && file.bitmapInfo.size() <= AviFile::kMaxBitmapInfo,
            "the stream format has a bitmap header");
    Require(file.rate.numerator > 0 && file.rate.denominator > 0, "the rate is a rate");
    for (const AviFrame& frame : file.frames)
        Require(frame.offset <= size && frame.size <= size - frame.offset, "frames lie inside the file");
    for (const AviChunk& chunk : file.others)
        Require(chunk.offset <= size && chunk.size <= size - chunk.offset, "chunks lie inside the file");
    if (file.IsWhole())
        Require(!file.cut && file.index == AviIndexState::Whole, "a whole file has a whole index");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxFile)
        return 0;
    static GuardedBuffer memory(kMaxFile);
    const std::span<const uint8_t> bytes = memory.Place(std::span(data, size));
    try {
        CheckFile(ReadAvi(MemorySource(bytes), "input.avi"), size);
        VideoStream stream(std::make_unique<MemorySource>(bytes), "input.avi");
        Require(stream.BitmapInfo().size() >= 72, "header and record");
        for (size_t frame = 0; frame < stream.FrameCount(); ++frame)
            Require(stream.ReadFrame(frame).size() == stream.File().frames[frame].size,
                    "frames are read whole");
    } catch (const ToolError& error) {
        Require(ErrorLine(error).back() == '\n', "an error is a line");
    }
    return 0;
}
