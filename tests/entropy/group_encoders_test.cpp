// Every form of the group encoders writes the bits of the reference, which is held against a coder without
// tables.
#include "entropy/group_encoders.h"

#include "entropy_test_tools.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace entropy;

namespace {

/// The tables of a code, with pairs of the range filled.
class Tables
{
  public:
    Tables(const Lengths& lengths, PairRange range)
        : codes(kSymbols), pairs(kPairRows, PairEntry{0, kUnfilledLength})
    {
        std::vector<CodeRecord> records(kSymbols);
        EXPECT_TRUE(BuildCanonicalCodes(kSymbols, lengths.data(), kMaxCodeLength, records.data()));
        for (const CodeRecord& record : records)
            codes[record.symbol] = {static_cast<uint16_t>(record.code), static_cast<uint16_t>(record.length)};
        FillPairTable(codes.data(), pairs.data(), range);
    }
    EncodeTables View() const { return {codes.data(), pairs.data()}; }
    const CodeEntry& Code(size_t symbol) const { return codes[symbol]; }

  private:
    std::vector<CodeEntry> codes;
    std::vector<PairEntry> pairs;
};

/// Symbols at an address of a given remainder modulo 16, in memory that ends with them.
class PlacedSymbols
{
  public:
    PlacedSymbols(const Bytes& symbols, size_t alignment) : room(alignment + symbols.size())
    {
        start = room.data() + alignment; // the allocation is aligned
        std::ranges::copy(symbols, start);
    }
    const uint8_t* Start() const { return start; }

  private:
    ExactBytes room;
    uint8_t* start;
};

/// What a form makes of symbols after some that are in the stream already; the rest of the last group
/// follows one by one.
Bytes Encode(const GroupEncoderForm& form, const Tables& tables, const Bytes& ahead, const Bytes& symbols,
             size_t alignment)
{
    const PlacedSymbols placed(symbols, alignment);
    ExactBytes area(CodedRoom(ahead.size() + symbols.size()), 0xA5);
    OutBitStream stream;
    BitStreamInit(stream, area.data(), area.size());
    BitWriter writer(stream);
    const auto one = [&](uint8_t symbol) {
        writer.Append({tables.Code(symbol).code, tables.Code(symbol).length});
        writer.Store();
    };
    std::ranges::for_each(ahead, one);
    const size_t done = form.run(writer, placed.Start(), symbols.size(), tables.View());
    EXPECT_EQ(done, symbols.size() / form.symbols * form.symbols) << form.name;
    std::for_each(placed.Start() + done, placed.Start() + symbols.size(), one);
    writer.Save(stream);
    const size_t size = BitStreamFinish(stream);
    return Bytes(area.data(), area.data() + size);
}

void ExpectReferenceBits(const Lengths& lengths, const Bytes& symbols, std::mt19937& random)
{
    Bytes ahead(Below(random, 8));
    std::ranges::generate(ahead, [&] { return static_cast<uint8_t>(random()); });
    Bytes all = ahead;
    all.insert(all.end(), symbols.begin(), symbols.end());
    const Bytes expected = BitByBitCoder(lengths).Encode(all);
    for (const PairRange range : {PairRange::All, PairRange::Core}) {
        const Tables tables(lengths, range);
        for (const GroupEncoderForm& form : kGroupEncoderForms)
            ASSERT_TRUE(SameBytes(Encode(form, tables, ahead, symbols, Below(random, 16)), expected))
                << form.name << ", " << symbols.size() << " symbols, "
                << (range == PairRange::All ? "all pairs" : "core");
    }
}

/// A code in which `first` and some symbols after it have `length` bits, and all others 12.
Lengths LengthsWithMany(uint32_t length, uint8_t first, uint32_t& many)
{
    Lengths lengths;
    lengths.fill(12);
    for (many = 0; many < 8; ++many) {
        uint32_t& next = lengths[static_cast<uint8_t>(first + many)];
        next = length;
        if (CodeSpace(lengths) > 4096) {
            next = 12;
            break;
        }
    }
    return lengths;
}

} // namespace

TEST(GroupEncoders, EveryCountOfSymbolsIsWritten)
{
    std::mt19937 random(TestSeed());
    for (size_t size = 0; size <= 100; ++size) {
        const Lengths lengths = RandomLengths(random);
        ExpectReferenceBits(lengths, RandomSymbols(random, Counts{}, size), random);
    }
}

TEST(GroupEncoders, LongRunsAreWritten)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 30; ++round) {
        const Lengths lengths = RandomLengths(random);
        ExpectReferenceBits(lengths, RandomSymbols(random, RandomCounts(random), 2000 + Below(random, 5000)),
                            random);
    }
}

// From one symbol to noise, with codes that just fill a word after all numbers of pending bits, and with
// symbols whose pairs are not filled.
TEST(GroupEncoders, CodesOfEveryLengthAreWritten)
{
    std::mt19937 random(TestSeed());
    for (uint32_t length = 1; length <= 12; ++length)
        for (const uint8_t first : {uint8_t{252}, uint8_t{60}, uint8_t{100}}) {
            uint32_t many = 0;
            const Lengths lengths = LengthsWithMany(length, first, many);
            ASSERT_GE(many, 1U);
            for (const uint32_t others : {0U, 1U, 10U, 100U}) { // of 100 symbols
                Bytes symbols(300 + Below(random, 3000));
                for (uint8_t& symbol : symbols)
                    symbol = static_cast<uint8_t>(Below(random, 100) < others ? random()
                                                                              : first + Below(random, many));
                ExpectReferenceBits(lengths, symbols, random);
            }
            ExpectReferenceBits(lengths, Bytes(500, first), random);
        }
}

TEST(GroupEncoders, TheReferenceComesFirstAndNeedsNoPairs)
{
    EXPECT_FALSE(kSinglesEncoder.usesPairs);
    EXPECT_TRUE(kAnyPairsEncoder.usesPairs);
    EXPECT_GT(kAnyPairsEncoder.belowTenths, 10U * kMaxCodeLength);
}
