// The settings of an instance: from the store, from the host's state blob, and on to the core.
#pragma once

#include "driver/driver_instance.h"

namespace driver {

/// Takes all settings from the store: what a host has set is dropped.
void ResetSettings(DriverInstance& instance);

/// Hands the instance's settings to the core and logs them. reason: why, in the log's words
void ApplySettings(DriverInstance& instance, const char* reason);

/// ICM_GETSTATE: copies the 44 bytes of the blob; with a null buffer says how many they are.
LRESULT GetState(DriverInstance& instance, void* buffer, uint32_t size);

/// ICM_SETSTATE: takes a blob of any length and content; null resets to the stored settings. Gives the blob's
/// size when it was taken, or when the user lets no host set anything; else 0.
LRESULT SetState(DriverInstance& instance, const void* buffer, uint32_t size);

} // namespace driver
