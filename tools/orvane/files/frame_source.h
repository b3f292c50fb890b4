// Pictures going in and out, one after the other, whatever the file is.
#pragma once

#include "files/pixel_layout.h"
#include "files/rational.h"
#include "tool_error.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What a sequence of pictures is. Absent fields are not known to the file.
struct VideoInfo {
    const PixelLayout* layout = nullptr;
    int width = 0;
    int height = 0;
    std::optional<Rational> rate;
    std::optional<bool> interlaced;
    std::optional<bool> bottomFieldFirst; ///< only with interlaced
    std::optional<bool> fullRange;
    std::optional<Rational> pixelAspect; ///< width of a pixel to its height
    std::string chromaTag; ///< what Y4M calls the chroma, where a layout has several names; else empty
    std::string y4mTags;   ///< X fields of a Y4M stream but that of the range, with blanks between them

    size_t FrameBytes() const { return static_cast<size_t>(PictureBytes(*layout, width, height)); }
};

/// Frames of a stream: `first` and those that follow it.
struct FrameNumbers {
    uint64_t first = 0;
    uint64_t count = 0;
};

class FrameSource
{
  public:
    virtual ~FrameSource() = default;
    const VideoInfo& Info() const { return info; }
    /// How many pictures will come, if that is known before; good enough to tell how far things are.
    virtual std::optional<uint64_t> FrameCount() const { return std::nullopt; }
    /// Whether the pictures come from a pipe or device, so that they are there once only.
    virtual bool IsLive() const { return false; }
    /// Reads the next picture, tight and top-down, into Info().FrameBytes() bytes. False behind the last one.
    /// Throws ToolError when the file is damaged or ends inside a picture.
    virtual bool Next(std::span<uint8_t> picture) = 0;

    /// What the input has that its pictures and Info() do not have, as far as it was read; each kind once.
    const std::vector<ToolWarning>& Warnings() const { return warnings; }

  protected:
    void Warn(ToolWarning warning);

    VideoInfo info;

  private:
    std::vector<ToolWarning> warnings;
};

class FrameSink
{
  public:
    virtual ~FrameSink() = default;
    /// Writes a picture of the size and layout that the sink was opened for.
    /// number  of the frame in its stream, for file names
    virtual void Write(std::span<const uint8_t> picture, uint64_t number) = 0;
    /// Completes the output; until then it does not appear under its name.
    virtual void Finish() = 0;
    /// Adds to an error in the middle of the work where the pictures are that were written, `frames` of them.
    virtual void NamePart(ToolError& error, uint64_t frames);
};
