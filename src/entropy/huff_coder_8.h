#pragma once

#include "entropy/huff_coder_t.h"

namespace entropy {

/// The coder of 8-bit planes: codes of 12 bits at most, two symbols at a time when writing, many
/// blocks at a time when reading.
class HuffCoder8 : public HuffCoderT<unsigned char, unsigned short, 8, 12, 12>
{
  public:
    HuffCoder8() : HuffCoderT(Speed::Fast) {}
};

} // namespace entropy
