// The loops over symbols, and what builds their tables.
//
// Writing takes eight symbols at a time. Their codes are joined as a tree, pair to pair and four to four,
// before they touch the pending bits: one shift of the accumulator and one store for eight symbols. The pair
// table halves the look-ups on top; its code and length are loads of their own, since loads are cheap and
// shifts are what is short.
//
// Reading takes four look-ups for each refill and up to four symbols for each look-up, with no branch in
// between.
#include "entropy/huff_coder_t.h"

#include "common/as_size.h"
#include "common/compiler.h"
#include "entropy/bit_reader.h"
#include "entropy/bit_writer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace entropy {

namespace {

/// Codes of four symbols from the table of single symbols.
struct SingleCodes {
    const CodeEntry* codes;

    BitRun One(const uint8_t* symbol) const { return {codes[*symbol].code, codes[*symbol].length}; }
    BitRun Two(const uint8_t* symbols) const { return Join(One(symbols), One(symbols + 1)); }
    BitRun Four(const uint8_t* symbols) const { return Join(Two(symbols), Two(symbols + 2)); }
};

/// The same from the pair table. Codes and lengths have a pointer each that the compiler takes for unrelated:
/// it would compute the row's address for both otherwise, one instruction more for every two symbols.
class PairCodes
{
  public:
    explicit PairCodes(const PairEntry* pairs) : codes(&pairs->code), lengths(&pairs->length)
    {
        HideValue(lengths);
    }

    BitRun Two(const uint8_t* symbols) const
    {
        uint16_t index;
        std::memcpy(&index, symbols, sizeof index);
        return {codes[kStride * index], lengths[kStride * index]};
    }
    BitRun Four(const uint8_t* symbols) const { return Join(Two(symbols), Two(symbols + 2)); }

  private:
    static constexpr size_t kStride = sizeof(PairEntry) / sizeof(uint32_t);
    const uint32_t* codes;
    const uint32_t* lengths;
};

/// Encodes the whole groups of eight; returns the number of symbols done. Groups that are not `Rule` take
/// their codes from the table of single symbols.
template <class Rule, class Codes>
size_t EncodeGroups(BitWriter& writer, const uint8_t* symbols, size_t count, Codes codes, SingleCodes single)
{
    static_assert(kJoinedCodes == 4, "as Four joins them");
    const size_t grouped = count - count % (2 * kJoinedCodes);
    for (const uint8_t* at = symbols; at != symbols + grouped; at += 8) {
        if (Rule::Holds(at)) [[likely]]
            writer.AppendAndStore(codes.Four(at), codes.Four(at + 4));
        else
            writer.AppendAndStore(single.Four(at), single.Four(at + 4));
    }
    return grouped;
}

struct AnySymbols {
    static constexpr bool Holds(const uint8_t*) { return true; }
};

struct CoreSymbols {
    static bool Holds(const uint8_t* symbols)
    {
        uint64_t word;
        std::memcpy(&word, symbols, sizeof word);
        return AreCoreSymbols(word);
    }
};

template <class Row>
inline constexpr size_t kRowSymbols = kMaxRowSymbols;
template <>
inline constexpr size_t kRowSymbols<WideRow> = kWideRowSymbols;

template <int tableBits, class Row>
void DecodeByRows(const Row* table, InBitStream& stream, uint8_t* symbols, size_t count)
{
    // What a group of look-ups writes, wanted or not. So the last groups of a request go through `scratch`.
    static_assert(kLookUpsPerRefill == 4, "as decodeGroup has them");
    constexpr size_t kGroup = (kLookUpsPerRefill - 1) * kRowSymbols<Row> + kRowStoreBytes<Row>;
    static_assert(kScratchBytes >= 2 * kGroup);

    const size_t held = std::min<size_t>(count, stream.scratchCount - stream.scratchPos);
    std::copy_n(stream.scratch + stream.scratchPos, held, symbols);
    stream.scratchPos += held;
    if (held == count)
        return;

    uint8_t* const out = symbols + held;
    const size_t remaining = count - held;
    const size_t direct = remaining > kGroup ? remaining - kGroup : 0;
    assert(held <= count);
    BitReader reader(stream);
    const auto decodeGroup = [&](uint8_t* group) {
        reader.Refill();
        size_t total = reader.template LookUp<tableBits>(table, group);
        total += reader.template LookUp<tableBits>(table, group + total);
        total += reader.template LookUp<tableBits>(table, group + total);
        total += reader.template LookUp<tableBits>(table, group + total);
        return total;
    };

    size_t pos = 0;
    while (pos < direct) // a group starts more than its own bytes before the end of the request
        pos += decodeGroup(out + pos);

    const size_t tail = remaining - pos; // 1 to kGroup
    size_t inScratch = 0;
    while (inScratch < tail)
        inScratch += decodeGroup(stream.scratch + inScratch);
    std::copy_n(stream.scratch, tail, out + pos);
    stream.scratchPos = tail;
    stream.scratchCount = inScratch;
    reader.Save(stream);
}

/// The pair table that symbols with these counts, taken from every fourth, are written fastest with.
///
/// The rows outside the core take 20 us to fill. Without them four symbols, for each one counted, take 0.12
/// ns longer to write, and 40 ns longer where they are outside. (3 GHz; only the proportions matter.)
PairRange SuitingRange(const uint64_t* frequencies)
{
    uint64_t total = 0;
    uint64_t outside = 0;
    for (size_t symbol = 0; symbol < kSymbols; ++symbol) {
        total += frequencies[symbol];
        outside += IsCoreSymbol(symbol) ? 0 : frequencies[symbol];
    }
    return total + 320 * outside < 160'000 ? PairRange::Core : PairRange::All;
}

} // namespace

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::Encode(OutBitStream& stream, const uint8_t* symbols,
                                                              size_t count) const
{
    if (encodeTable.empty())
        return;
    const SingleCodes single{encodeTable.data()};
    BitWriter writer(stream);
    size_t done = 0;
    if (!pairRange)
        done = EncodeGroups<AnySymbols>(writer, symbols, count, single, single);
    else if (pairRange == PairRange::All)
        done = EncodeGroups<AnySymbols>(writer, symbols, count, PairCodes(pairTable.data()), single);
    else
        done = EncodeGroups<CoreSymbols>(writer, symbols, count, PairCodes(pairTable.data()), single);
    for (; done < count; ++done) {
        writer.Append(single.One(symbols + done));
        writer.Store();
    }
    writer.Save(stream);
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::Decode(InBitStream& stream, uint8_t* symbols,
                                                              size_t count) const
{
    if (wideTableReady)
        DecodeByRows<tableBits>(wideTable.data(), stream, symbols, count);
    else if (!decodeTable.empty())
        DecodeByRows<tableBits>(decodeTable.data(), stream, symbols, count);
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::DecodeBlocks(std::span<const DecodeJob> jobs) const
{
    if (wideTableReady) {
        DecodeInterleaved(wideTable.data(), jobs);
        return;
    }
    for (const DecodeJob& job : jobs) {
        InBitStream stream;
        BitStreamInit(stream, job.coded.data(), job.coded.size());
        Decode(stream, job.symbols.data(), job.symbols.size());
    }
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::WriteRaw(OutBitStream& stream, const uint8_t* bytes,
                                                                size_t count) const
{
    stream.cursor = std::copy_n(bytes, count, stream.cursor);
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::ReadRaw(InBitStream& stream, uint8_t* bytes,
                                                               size_t count) const
{
    const size_t present = std::min(count, AsSize(stream.end - stream.cursor));
    std::fill_n(std::copy_n(stream.cursor, present, bytes), count - present, uint8_t{0});
    stream.cursor += present;
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
bool HuffCoderT<Symbol, Code, bits, limit, tableBits>::BuildFromLengths(size_t count, const uint32_t* lengths,
                                                                        bool encoderOnly)
{
    return count == symbolCount && BuildTables(lengths, encoderOnly, PairRange::All);
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
bool HuffCoderT<Symbol, Code, bits, limit, tableBits>::BuildTables(const uint32_t* lengths, bool encoderOnly,
                                                                   PairRange range)
{
    records.resize(symbolCount);
    if (!BuildCanonicalCodes(symbolCount, lengths, limit, records.data()))
        return false;

    encodeTable.resize(symbolCount);
    for (const CodeRecord& record : records)
        encodeTable[record.symbol] = {static_cast<Code>(record.code), static_cast<uint16_t>(record.length)};
    // Readers have no use for the pair table, which takes longer to fill than everything else together.
    pairRange.reset();
    if (encoderOnly && fast) {
        pairTable.resize(kPairRows);
        FillPairTable(encodeTable.data(), pairTable.data(), range);
        pairRange = range;
    }
    if (!encoderOnly) {
        wideTable.resize(size_t{1} << tableBits);
        wideTableReady = fast && BuildWideTable(records, tableBits, wideTable.data());
        if (!wideTableReady) {
            decodeTable.resize(DecodeTableRows(tableBits));
            BuildDecodeTable(records, tableBits, decodeTable.data());
        }
    }
    return true;
}

template <class Symbol, class Code, int bits, int limit, int tableBits>
bool HuffCoderT<Symbol, Code, bits, limit, tableBits>::BuildFromFrequencies(size_t count,
                                                                            const uint64_t* frequencies,
                                                                            bool encoderOnly)
{
    if (count != symbolCount)
        return false;
    codeLengths.resize(symbolCount);
    ComputeCodeLengths(count, frequencies, limit, codeLengths.data(), lengthWork);
    return BuildTables(codeLengths.data(), encoderOnly, SuitingRange(frequencies));
}

template class HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

} // namespace entropy
