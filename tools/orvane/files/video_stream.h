// A compressed stream as a whole: an AVI file with what its configuration record says.
#pragma once

#include "common/frame_header.h"
#include "files/avi_reader.h"
#include "files/checksum_table.h"
#include "files/frame_source.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// All tables of a file as one.
struct StoredChecksums {
    std::optional<ChecksumTable> table; ///< nothing when there is none that can be read
    bool unreadable = false;            ///< there is one that is damaged or belongs to other pictures
};

class VideoStream
{
  public:
    /// Opens an AVI file. Throws ToolError when it has no stream of this codec, or one whose record cannot be
    /// used.
    explicit VideoStream(const std::filesystem::path& path);
    /// The same for bytes from anywhere.
    VideoStream(std::unique_ptr<ByteSource> source, std::string name);

    const std::string& Name() const { return name; }
    const ByteSource& Source() const { return *source; }
    const AviFile& File() const { return file; }
    const CompressedFormat& Format() const { return *format; }
    const FrameHeader& Record() const { return record; }
    int Width() const { return static_cast<int>(record.width); }
    int Height() const { return static_cast<int>(record.height); }

    /// Bitmap header and record as the codec wants them: sizes and FourCC put right, the record taken from
    /// the frames where the stream has none that fits them.
    const std::vector<uint8_t>& BitmapInfo() const { return bitmapInfo; }
    /// A line for everything that is wrong with the headers of the file and of the stream. The pictures are
    /// right all the same; other programs may fail to open the file.
    const std::vector<std::string>& HeadFaults() const { return headFaults; }

    /// What pictures of this stream are, decoded to a layout.
    VideoInfo InfoFor(const PixelLayout& layout) const;

    /// The checksums that the file keeps.
    StoredChecksums ReadChecksums() const;

    size_t FrameCount() const { return file.frames.size(); }
    /// The bytes of a frame; valid until the next call.
    std::span<const uint8_t> ReadFrame(size_t number);

  private:
    std::unique_ptr<ByteSource> source;
    std::string name;
    AviFile file;
    std::vector<std::string> headFaults;
    std::vector<uint8_t> bitmapInfo;
    std::string y4mFields;
    FrameHeader record{};
    const CompressedFormat* format = nullptr;
    std::vector<uint8_t> frameBytes;
};
