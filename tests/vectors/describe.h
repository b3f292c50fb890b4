// What a reader answers to a vector, as its text says it.
#pragma once

#include "core/orvane.h"
#include "vectors/vector.h"

#include <optional>

namespace vectors {

/// Decodes the frames of a stream through the core into the native layout.
class StreamReader
{
  public:
    /// record  any bytes
    explicit StreamReader(const Bytes& record);

    bool Accepts() const { return layout != kUnknownFormat; }

    /// Requires Accepts. The picture starts as zeros, so that rows without a block are zeros.
    FrameStatus Decode(const Bytes& frame);
    /// The last picture that was decoded, unpadded; empty before the first one.
    const Bytes& Picture() const { return picture; }

  private:
    Orvane codec{true, true};
    CompressInfo info;
    FormatId layout = kUnknownFormat;
    Bytes picture;
};

/// "0 HASH", "-2", "-3", "repeated HASH": the answer to one frame.
std::string AnswerTo(StreamReader& reader, const Bytes& frame, bool unspecified);

/// One line for the record and one for each frame.
std::string Answers(const Vector& vector);

/// The text beside a vector.
std::string TextOf(const Vector& vector);

} // namespace vectors
