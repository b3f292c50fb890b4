// Knows a frame by its first bytes alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Frame header and the first two words of the offset table.
inline constexpr size_t kFrameStartBytes = 40;

/// Whether a frame begins with these bytes: a header of a supported format, and an offset table whose first
/// block follows on a coder section of a possible size. A configuration record alone is none. bytes
/// kFrameStartBytes of them
bool IsFrameStart(std::span<const uint8_t> bytes);
