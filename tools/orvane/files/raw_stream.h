// Raw frames: tight, top-down pictures one behind the other, with no header.
#pragma once

#include "files/byte_source.h"
#include "files/frame_source.h"
#include "files/output_file.h"

#include <memory>
#include <string>

/// "WxH:LAYOUT". Throws UsageError when the text is not of this form or names no layout.
VideoInfo ParseRawFormat(const std::string& text);

class RawReader final : public FrameSource
{
  public:
    /// Throws ToolError when the size of the source is not that of whole frames.
    RawReader(std::unique_ptr<ByteSource> source, const VideoInfo& format, const std::string& name);

    std::optional<uint64_t> FrameCount() const override { return source->Size() / info.FrameBytes(); }
    bool Next(std::span<uint8_t> picture) override;

  private:
    std::unique_ptr<ByteSource> source;
    uint64_t position = 0;
};

class RawWriter final : public FrameSink
{
  public:
    explicit RawWriter(std::unique_ptr<OutputFile> file_) : file(std::move(file_)) {}
    void Write(std::span<const uint8_t> picture, uint64_t) override { file->Write(picture); }
    void Finish() override { file->Commit(); }
    void NamePart(ToolError& error, uint64_t frames) override { file->NamePart(error, frames); }

  private:
    std::unique_ptr<OutputFile> file;
};
