// Which reader or writer a name stands for. The ending of a name decides its kind; "-" is Y4M on standard
// input or output.
#pragma once

#include "files/frame_source.h"
#include "files/output_file.h"

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

enum class FileKind { StandardStream, Y4m, Avi, Png, Pnm, Raw, Unknown };

FileKind KindOf(const std::string& name);

/// Opens pictures for reading.
/// raw       "WxH:LAYOUT" or empty: any file but one with another known ending is then read as raw frames
/// standard  the standard input
/// Throws ToolError.
std::unique_ptr<FrameSource> OpenSource(const std::string& name, const std::string& raw,
                                        std::istream& standard);

/// The files that a name for OpenSource stands for; none for standard input.
std::vector<std::filesystem::path> InputFiles(const std::string& name);

/// What is written under a name. A pipe or device whose name says nothing takes raw frames where the user has
/// chosen their layout or Y4M cannot hold the format, else Y4M.
FileKind OutputKindOf(const std::string& name, bool hasLayout, FormatId code);

/// Opens pictures for writing.
/// kind      from OutputKindOf
/// frames    that will come
/// standard  the standard output
/// Throws ToolError.
std::unique_ptr<FrameSink> OpenSink(const std::string& name, FileKind kind, const VideoInfo& info,
                                    FrameNumbers frames, std::ostream& standard, const OutputRules& rules);

/// The layout in which a stream of this format goes to a file of that kind when the user names none.
const PixelLayout& DefaultLayout(FileKind kind, FormatId code);
