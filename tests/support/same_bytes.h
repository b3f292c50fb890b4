// Comparing buffers: a difference is shown as a few lines, however large the buffers are.
#pragma once

#include "common/plane_info.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// Whether both hold the same bytes. If not, the message says how many differ and shows the first that does
/// with its index and its neighbors. Use as ASSERT_TRUE(SameBytes(actual, expected)) << what was compared.
testing::AssertionResult SameBytes(std::span<const uint8_t> actual, std::span<const uint8_t> expected);

/// The same for `height` rows of `width` samples; the message names row and column.
testing::AssertionResult SamePlane(ConstPlaneInfo actual, ConstPlaneInfo expected, size_t width,
                                   size_t height);
