// Checks the frames of a file by themselves: structure, decoding, checksums.
#pragma once

#include "files/video_stream.h"
#include "host/codec_host.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

class FrameCheck
{
  public:
    /// `stream` outlives the object.
    FrameCheck(VideoStream& stream, DriverEntry driver);

    bool ChecksumsUnreadable() const { return unreadable; }

    /// Checks a frame; all frames in order.
    void Add(size_t number);
    /// What is wrong, by frame.
    const std::map<size_t, std::string>& Finish();
    /// One line on what was checked, where nothing is wrong.
    std::string Summary() const;

  private:
    void ExplainUnknown(size_t number, size_t entry);
    std::string BlocksText(std::span<const uint32_t> expected, std::span<const uint8_t> frame) const;
    std::string RowsText(const FrameChecksums& expected) const;

    VideoStream& stream;
    FrameHasher hasher;
    std::optional<ChecksumTable> table;
    bool unreadable;
    std::optional<FrameMatcher> matcher; ///< only with a table
    std::unique_ptr<FrameDecompressor> decoder;
    std::vector<uint8_t> picture; ///< decoded, in the native layout

    std::vector<size_t> numbers; ///< of the frames that the matcher knows
    std::map<size_t, std::string> faults;
    size_t matched = 0; ///< frames with the bytes and the picture of their checksums
    size_t unknown = 0; ///< frames that have none
};
