// Writes an AVI file anew from what its frames say, with all other streams and texts that it has.
#pragma once

#include "common/frame_header.h"
#include "files/avi_reader.h"
#include "files/avi_writer.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class AviRepair
{
  public:
    /// source  of the file; outlives the object
    /// name    of it, for errors
    /// rate    of the new file; nothing: that of the old one
    /// Throws ToolError when there is nothing to repair the file from, as without a single frame.
    AviRepair(const ByteSource& source, const std::string& name, std::optional<Rational> rate = std::nullopt);

    size_t FrameCount() const { return file.frames.size(); }
    size_t OtherChunkCount() const { return streamChunks.size(); }

    /// Adds a chunk after the frames.
    void Add(AviExtraChunk extra) { added.push_back(std::move(extra)); }

    /// sink  empty
    /// goOn  called with the size of each frame that was written; false ends the file there, with its index
    /// Returns the number of frames in the new file. Throws ToolError when the sink fails.
    uint64_t Run(ByteSink& sink, const std::function<bool(uint32_t size)>& goOn);

    /// What was wrong and is right in the new file.
    const std::vector<std::string>& Changes() const { return changes; }
    /// What could not be made whole.
    const std::vector<std::string>& Losses() const { return losses; }

  private:
    void DescribeStreams(const std::string& name);
    std::vector<uint8_t> ReadHeaderOf(size_t stream) const;
    std::vector<uint8_t> Describe(size_t stream, bool withFormat) const;
    void SortOthers();
    void NoteState();
    uint64_t WriteStreams(AviWriter& writer, const std::function<bool(uint32_t)>& goOn);
    std::vector<AviExtraChunk> ReadExtras() const;

    const ByteSource& source;
    AviFile file;
    AviStreamFormat format; // of the new file
    FrameHeader record{};
    std::vector<AviChunk> streamChunks; // of other streams, in file order
    std::vector<AviChunk> extras;       // that belong to no stream
    std::vector<AviExtraChunk> added;
    std::vector<std::string> changes;
    std::vector<std::string> losses;
};
