// Any bytes as a picture file: PNG, PPM and PGM. A picture that was read is written and read once more.

#include "files/still_image.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "tool_error.h"

namespace {

constexpr size_t kMaxFile = 1 << 16;
constexpr uint32_t kMaxPixels = 1 << 16;

uint32_t BigEndian(const uint8_t* at)
{
    return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

/// The reader takes memory for the picture that a PNG of enough bytes announces; a target does not need large
/// ones.
bool AnnouncesLargePng(std::span<const uint8_t> bytes)
{
    return bytes.size() >= 24 && bytes[0] == 0x89 &&
           uint64_t{BigEndian(bytes.data() + 16)} * BigEndian(bytes.data() + 20) > kMaxPixels;
}

void CheckRoundTrip(const StillImage& still, StillKind kind)
{
    const std::vector<uint8_t> file = EncodeStill(kind, still.info, still.pixels);
    const StillImage again = DecodeStill(file, "output");
    Require(again.info.layout == still.info.layout && again.info.width == still.info.width &&
                again.info.height == still.info.height && again.pixels == still.pixels,
            "a written picture reads as it was");
}

Transcript Read(std::span<const uint8_t> input)
{
    static GuardedBuffer memory(kMaxFile);
    Transcript given;
    try {
        const StillImage still = DecodeStill(memory.Place(input), "input");
        given.NoteAll(still.info.width, still.info.height, still.pixels);
        Require(still.pixels.size() == still.info.FrameBytes(), "all pixels are there");
        CheckRoundTrip(still, StillKind::Png);
        if (still.info.layout != &LayoutNamed("RGBA"))
            CheckRoundTrip(still, StillKind::Pnm);
    } catch (const ToolError& error) {
        Require(ErrorLine(error).back() == '\n', "an error is a line");
        given.Note(ErrorLine(error));
    }
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxFile || AnnouncesLargePng({data, size}))
        return 0;
    static History history;
    history.ReadTwice({data, size}, Read);
    return 0;
}
