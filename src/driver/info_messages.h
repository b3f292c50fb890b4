// What the codec says of itself, and the windows that hosts ask it to show.
#pragma once

#include "driver/driver_instance.h"

namespace driver {

/// The parameter with which hosts ask whether a window exists instead of showing it.
inline constexpr LPARAM kQueryOnly = -1;

/// Fills an ICINFO for the instance's variant. Gives the record's size, 0 for a buffer too small.
LRESULT GetInfo(DriverInstance& instance, ICINFO* info, uint32_t size);

/// The settings dialog over the window `parent`; kQueryOnly: whether there is one.
LRESULT ConfigureInstance(DriverInstance& instance, LPARAM parent);

LRESULT ShowAbout(DriverInstance& instance, LPARAM parent);

/// Stores eight bytes, as it always has; hosts that offer four are on their own.
LRESULT GetDefaultQuality(LPARAM target);

} // namespace driver
