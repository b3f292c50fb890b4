// The text lines of a Y4M file.
#pragma once

#include "files/frame_source.h"

#include <string>
#include <vector>

/// Where the samples of a Y4M picture go: its own planes are always Y, U, V, alpha.
enum class Y4mKind {
    Planar, ///< the picture of the layout as it stands
    Yuy2,   ///< 4:2:2, interleaved to YUY2
    Ayuv,   ///< 4:4:4 with alpha, interleaved to A Y U V
};

struct Y4mHeader {
    VideoInfo info;
    Y4mKind kind = Y4mKind::Planar;
    std::vector<ToolWarning> warnings; ///< what the line says and nobody can keep
};

inline constexpr size_t kMaxY4mFields = 4096;

/// Longest line that is read, with its end.
inline constexpr size_t kMaxY4mLine = 4096;

/// Parses the first line, without its line end. X fields are kept as they are; fields
/// that cannot be kept are warned of.
/// where  for errors
/// Throws ToolError: no Y4M, missing or bad size, deeper than 8 bits, other chroma.
Y4mHeader ParseY4mHeader(const std::string& line, const std::string& where);

/// The first line with its line end. Throws ToolError for a layout that Y4M has no name for.
std::string MakeY4mHeader(const VideoInfo& info, const std::string& where);

/// What a stream does not tell by itself, as fields of a first line: pixel aspect, name of the chroma, order
/// of fields, a range that is not known, tags ("A10:11 C420mpeg2 Ib XCOLORRANGE=?"). At most kMaxY4mFields
/// bytes. Empty when there is nothing to tell.
std::string MakeY4mFields(const VideoInfo& info);
/// Takes these fields back; wrong ones are passed over. Layout and interlace of `info` are given.
void TakeY4mFields(const std::string& text, VideoInfo& info);

/// The kind by which a layout is stored; nothing when Y4M cannot hold it.
std::optional<Y4mKind> Y4mKindOf(const PixelLayout& layout);
