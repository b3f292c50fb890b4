// Which reader or writer a name stands for. The ending of a name decides its kind; "-" is Y4M on standard
// input or output.
#pragma once

#include "files/frame_source.h"

#include <iosfwd>
#include <memory>
#include <string>

enum class FileKind { StandardStream, Y4m, Avi, Png, Pnm, Raw, Unknown };

FileKind KindOf(const std::string& name);

/// Opens pictures for reading.
/// raw       "WxH:LAYOUT" or empty: any file but one with another known ending is then read as raw frames
/// standard  the standard input
/// Throws ToolError.
std::unique_ptr<FrameSource> OpenSource(const std::string& name, const std::string& raw,
                                        std::istream& standard);

/// Opens pictures for writing.
/// frameCount  pictures that will come
/// standard    the standard output
/// Throws ToolError.
std::unique_ptr<FrameSink> OpenSink(const std::string& name, const VideoInfo& info, uint64_t frameCount,
                                    std::ostream& standard);

/// The layout in which a stream of this format goes to a file of that kind when the user names none.
const PixelLayout& DefaultLayout(FileKind kind, FormatId code);
