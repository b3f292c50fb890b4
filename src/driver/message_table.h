// The entry of the driver: every message, looked up in one table of number, meaning of a null instance, and
// handler.
#pragma once

#include "platform/vfw.h"

#include <cstdint>

namespace driver {

/// Answers a message as the exported DriverProc does. Nothing is thrown out of it.
LRESULT HandleMessage(DWORD_PTR driverId, HDRVR driver, uint32_t message, LPARAM lParam1,
                      LPARAM lParam2) noexcept;

} // namespace driver
