// The records, message numbers and result codes of Video for Windows: the system's own headers on Windows,
// and the same names with the same layouts elsewhere. All of them stand in the global namespace under their
// published names.
#pragma once

#ifdef _WIN32
#include "platform/windows/windows_headers.h"

#include <mmsystem.h>
#include <vfw.h>
#else
#include "platform/posix/vfw_records.h"
#endif

#include "platform/vfw_layout_checks.h"
