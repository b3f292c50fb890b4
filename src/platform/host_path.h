#pragma once

#include <string>

namespace platform {

/// The full path of the program that this code runs in, cut to 259 bytes; empty when the system does not
/// tell. On Windows in the system's ANSI code page.
std::string HostPath();

/// The same path with its short forms of folder and file names, such as PROGRA~1, written out; as it stands
/// where the system has none or cannot tell.
std::string LongHostPath();

} // namespace platform
