// Writes what a frame has besides its blocks. Free functions: sizes are the caller's promise.
#pragma once

#include "core/block_info.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace core {

/// The code lengths of one coder, by symbol.
using CodeLengths = std::span<const uint32_t>;

/// The coder section: a coder for each plane, and each block on the coder of its plane. Returns the bytes
/// written to `out`.
size_t WriteCoderSection(std::span<const BlockInfo> blocks, std::span<const CodeLengths> coders,
                         uint8_t* out);

/// Writes the tail after the last block, which ends at offset `end` of the frame, and returns the size of the
/// frame.
uint32_t FinalizeFrame(uint8_t* frame, size_t end);

} // namespace core
