// What builds the tables of a code, and the loop that reads symbols one block at a time: four look-ups for
// each refill and up to four symbols for each look-up, with no branch in between.
#include "entropy/huff_coder_t.h"

#include "common/as_size.h"
#include "entropy/bit_reader.h"
#include "entropy/bit_writer.h"

#include <algorithm>
#include <cassert>

namespace entropy {

namespace {

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

/// The rows of the pair table that symbols with these counts, taken from every fourth, are written fastest
/// with.
///
/// The rows outside the core take 20 us to fill, and every symbol that wants one of them and does not find it
/// some 12 ns longer to write. (3 GHz; only the proportions matter.)
PairRange SuitingRange(const uint64_t* frequencies)
{
    uint64_t outside = 0;
    for (size_t symbol = 0; symbol < kSymbols; ++symbol)
        outside += IsCoreSymbol(symbol) ? 0 : frequencies[symbol];
    return outside < 400 ? PairRange::Core : PairRange::All;
}

/// The encoder with a pair table that writes codes of these lengths fastest, where they are so frequent.
const GroupEncoderForm& SuitingEncoder(const uint64_t* frequencies, const std::vector<uint32_t>& lengths)
{
    uint64_t symbols = 0;
    uint64_t tenths = 0;
    for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        symbols += frequencies[symbol];
        tenths += frequencies[symbol] * lengths[symbol] * 10;
    }
    const GroupEncoderForm* suiting = &kAnyPairsEncoder;
    for (const GroupEncoderForm& form : kGroupEncoderForms)
        if (form.usesPairs && tenths < form.belowTenths * symbols)
            suiting = &form;
    return *suiting;
}

} // namespace

template <class Symbol, class Code, int bits, int limit, int tableBits>
void HuffCoderT<Symbol, Code, bits, limit, tableBits>::Encode(OutBitStream& stream, const uint8_t* symbols,
                                                              size_t count) const
{
    if (encodeTable.empty())
        return;
    BitWriter writer(stream);
    size_t done = encoder->run(writer, symbols, count, {encodeTable.data(), pairTable.data()});
    for (; done < count; ++done) {
        const CodeEntry& entry = encodeTable[symbols[done]];
        writer.Append({entry.code, entry.length});
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
    encoder = &kSinglesEncoder;
    if (encoderOnly && fast) {
        // Rows outside the core stay marked as unfilled from frame to frame.
        if (pairTable.empty() || (range == PairRange::Core && wholePairTable))
            pairTable.assign(kPairRows, {0, kUnfilledLength});
        wholePairTable = range == PairRange::All;
        FillPairTable(encodeTable.data(), pairTable.data(), range);
        encoder = &kAnyPairsEncoder;
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
    if (!BuildTables(codeLengths.data(), encoderOnly, SuitingRange(frequencies)))
        return false;
    if (encoder->usesPairs)
        encoder = &SuitingEncoder(frequencies, codeLengths);
    return true;
}

template class HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

} // namespace entropy
