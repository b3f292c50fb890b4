// How a negotiation input begins; the rest is the configuration record.
#pragma once

#include "platform/vfw.h"

struct NegotiateInput {
    uint32_t variant;         ///< index in kVariantFourCCs, modulo their number
    BITMAPINFOHEADER picture; ///< of the host; biSize counts for nothing
    BITMAPINFOHEADER stream;  ///< as well
};

/// More than any record may have.
inline constexpr size_t kMaxNegotiateRecord = 2600;
