// Single pictures: PNG and the binary forms of PPM and PGM, 8 bits a sample.
#pragma once

#include "files/byte_source.h"
#include "files/frame_source.h"
#include "tool_error.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A picture with its pixels: layouts RGB24, RGBA and Y800, unpadded and top-down.
struct StillImage {
    VideoInfo info;
    std::vector<uint8_t> pixels;
    std::vector<ToolWarning> warnings; ///< what the file has that the pixels have not
};

enum class StillKind { Png, Pnm };

/// The pictures of one file: one of PNG, any number of PPM and PGM, back to back. Its first bytes tell which
/// it is.
class StillFile
{
  public:
    /// source  untrusted
    /// name    for errors
    /// Throws ToolError when the file is none of these.
    StillFile(std::unique_ptr<ByteSource> source, std::string name);

    /// Decodes the next picture; nothing after the last one. Throws ToolError when it has more than 8 bits
    /// per sample or more pixels than the tool takes (both seen before memory for it is taken), and when it
    /// is damaged.
    std::optional<StillImage> Next();

    /// How many pictures will come, as far as their headers can be read.
    uint64_t CountPictures() const;

  private:
    struct PnmHeader;
    PnmHeader ReadPnmHeader(uint64_t at) const;
    bool StartsPnm(uint64_t at) const;
    StillImage NextPng();
    StillImage NextPnm();

    std::unique_ptr<ByteSource> source;
    std::string name;
    StillKind kind = StillKind::Pnm;
    uint64_t position = 0; ///< of the next picture
};

/// The first picture of a file in memory. Throws as StillFile.
StillImage DecodeStill(std::span<const uint8_t> bytes, const std::string& name);

/// A picture without pixels yet. Throws ToolError for a size that the tool does not take.
/// channels  1: Y800, 3: RGB24, 4: RGBA
StillImage MakeStill(int channels, uint64_t width, uint64_t height, const std::string& name);

/// Throws ToolError for a layout that the kind cannot hold.
void CheckStillLayout(StillKind kind, const PixelLayout& layout, const std::string& name);

/// The file's bytes. Y800 becomes gray PNG or PGM. The kind can hold the layout. Threads may encode at the
/// same time.
std::vector<uint8_t> EncodeStill(StillKind kind, const VideoInfo& info, std::span<const uint8_t> pixels);
