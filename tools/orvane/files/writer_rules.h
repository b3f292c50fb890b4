// What a writer of the format owes beyond what readers ask for: rules that files of our own writer keep to
// the last bit.
#pragma once

#include "files/payload_check.h"
#include "files/video_stream.h"

#include <array>
#include <span>
#include <string>
#include <vector>

class WriterRules
{
  public:
    /// stream  outlives the object
    explicit WriterRules(const VideoStream& stream);

    /// A line for each rule that the headers of the stream break, and the chunks of its frames.
    std::vector<std::string> CheckStream() const;
    /// The same for a frame of any bytes. Frames without bytes break none.
    std::vector<std::string> CheckFrame(std::span<const uint8_t> frame);

  private:
    struct Frame;

    void CheckHeader(const Frame& frame, std::vector<std::string>& broken) const;
    bool ReadCoders(const Frame& frame, std::vector<std::string>& broken);
    uint64_t SamplesOf(const Frame& frame, size_t index) const;
    const char* WrongPayload(const Frame& frame, size_t index) const;
    void CheckBlocks(const Frame& frame, std::vector<std::string>& broken) const;

    const VideoStream& stream;
    PayloadCheck payload;
    /// Of the frame that is checked.
    struct Coder {
        std::array<uint32_t, 256> lengths{};
        CodeWalk code;
    };
    std::vector<Coder> coders;
};
