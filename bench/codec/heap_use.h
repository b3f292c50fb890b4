#pragma once

#include <cstddef>
#include <optional>

/// Bytes that the process has on its heap now; nothing where the system does not tell.
std::optional<size_t> HeapUse();
