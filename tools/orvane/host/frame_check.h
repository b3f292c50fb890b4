// Checks the frames of a file by themselves: checksums where the file has them, else their bytes alone.
#pragma once

#include "files/payload_check.h"
#include "files/video_stream.h"
#include "host/codec_host.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

class FrameCheck
{
  public:
    struct Fault {
        std::string text; ///< what is wrong with the frame
        /// Picture rows that are wrong, as "rows 28-55"; empty when the frame cannot be decoded or its
        /// picture is right.
        std::string rows;
    };

    /// stream  outlives the object; nobody else reads its frames while Finish runs
    /// first   the frame that is added first
    FrameCheck(VideoStream& stream, DriverEntry driver, size_t first = 0);

    bool ChecksumsUnreadable() const { return unreadable; }

    /// Reads, decodes and checks a frame; all frames in order.
    void Add(size_t number);
    /// Checks the bytes of a frame that the caller decodes; all frames in order.
    /// refused  the codec did not decode it
    void AddDecoded(size_t number, std::span<const uint8_t> frame, bool refused);

    /// What is wrong, by frame.
    const std::map<size_t, Fault>& Finish();
    /// What is unusual in frames but changes no picture, a line for each; after Finish.
    std::vector<std::string> Remarks() const;
    /// One line on what was checked and what was not, for frames without faults; after Finish.
    std::string Summary() const;

  private:
    std::optional<size_t> AddBytes(size_t number, std::span<const uint8_t> frame, bool refused);
    void CheckPayload(size_t number, std::span<const uint8_t> frame, bool refused);
    void ComparePicture(size_t number, size_t entry);
    void ExplainDifference(size_t number, size_t entry);
    std::string BlocksText(std::span<const uint32_t> expected, std::span<const uint8_t> frame) const;
    std::string RowsText(const FrameChecksums& expected) const;
    FrameDecompressor& Decoder();

    VideoStream& stream;
    DriverEntry driver;
    FrameHasher hasher;
    PayloadCheck payload;
    std::optional<ChecksumTable> table;
    bool unreadable;
    std::optional<FrameMatcher> matcher; ///< only with a table
    size_t firstWithBytes;               ///< frames before it have no picture
    std::unique_ptr<FrameDecompressor> decoder;
    std::vector<uint8_t> picture; ///< decoded, in the native layout

    std::vector<size_t> numbers; ///< of the frames that the matcher knows
    std::map<size_t, Fault> faults;
    std::map<std::string, std::set<size_t>> remarks; ///< frames by what is unusual in them
    size_t unknown = 0;                              ///< frames without checksums in a file that has some
};
