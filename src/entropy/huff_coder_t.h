#pragma once

#include "entropy/canonical_codes.h"
#include "entropy/code_lengths.h"
#include "entropy/code_limits.h"
#include "entropy/decode_table.h"
#include "entropy/encode_table.h"
#include "entropy/group_encoders.h"
#include "entropy/huff_coder.h"

#include <type_traits>
#include <vector>

namespace entropy {

/// A coder of symbols of `bits` bits with codes of `limit` bits at most and look-ups of `tableBits` bits. All
/// memory is made by the first build of a kind and kept.
template <class Symbol, class Code, int bits, int limit, int tableBits>
class HuffCoderT : public HuffCoder
{
    static_assert(std::is_same_v<Symbol, uint8_t> && bits == 8, "rows of the tables hold 8-bit symbols");
    static_assert(std::is_same_v<Code, decltype(CodeEntry::code)> && limit == kMaxCodeLength);
    static_assert(tableBits == kTableBits, "the decoders' loops are made for it");

  public:
    static constexpr size_t symbolCount = size_t{1} << bits;
    static_assert(symbolCount == kSymbols);
    static constexpr int maxCodeLength = limit;

    HuffCoderT() : HuffCoderT(Speed::Plain) {}

    void Encode(OutBitStream& stream, const uint8_t* symbols, size_t count) const override;
    void Decode(InBitStream& stream, uint8_t* symbols, size_t count) const override;
    void DecodeBlocks(std::span<const DecodeJob> jobs) const override;
    void WriteRaw(OutBitStream& stream, const uint8_t* bytes, size_t count) const override;
    void ReadRaw(InBitStream& stream, uint8_t* bytes, size_t count) const override;
    bool BuildFromLengths(size_t count, const uint32_t* lengths, bool encoderOnly) override;

    /// Chooses the best lengths for the counts and builds the tables from them. `frequencies` are `count`
    /// counters, which may be 0: every symbol gets a code. False, with nothing done, if `count` is not the
    /// number of symbols.
    bool BuildFromFrequencies(size_t count, const uint64_t* frequencies, bool encoderOnly);

    /// The lengths that BuildFromFrequencies chose, one for each symbol; empty before.
    const std::vector<uint32_t>& GetCodeLengths() const { return codeLengths; }

  protected:
    /// Fast: with the pair table for writing and the wide table for reading many blocks, where the code has
    /// one.
    enum class Speed { Plain, Fast };
    explicit HuffCoderT(Speed speed) : fast(speed == Speed::Fast) {}

  private:
    /// BuildFromLengths for the right number of lengths.
    bool BuildTables(const uint32_t* lengths, bool encoderOnly, PairRange range);

    const bool fast;
    const GroupEncoderForm* encoder =
        &kSinglesEncoder;        ///< with pairs: the pair table belongs to the current code
    bool wholePairTable = false; ///< all its rows have been filled
    bool wideTableReady = false; ///< the wide table belongs to the current code
    std::vector<uint32_t> codeLengths;
    std::vector<CodeEntry> encodeTable;
    std::vector<PairEntry> pairTable;
    std::vector<DecodeEntry> decodeTable;
    std::vector<WideRow> wideTable;
    std::vector<CodeRecord> records; ///< working memory of a build, as is `lengthWork`
    CodeLengthWork lengthWork;
};

extern template class HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

} // namespace entropy
