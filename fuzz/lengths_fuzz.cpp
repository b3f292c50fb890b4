// Any code lengths into BuildFromLengths, and any bytes as streams of the code.
//
// Held up: lengths are refused exactly when no code has them; the fast coder says what the plain one says, in
// one call, in many and side by side with other blocks; what is encoded decodes; a coder that has had other
// codes does as a fresh one.

#include "entropy/huff_coder_8.h"
#include "entropy/length_table.h"
#include "support/frame_rules.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"

#include <algorithm>
#include <memory>
#include <vector>

using namespace entropy;

namespace {

constexpr size_t kMaxStream = 1 << 12;
constexpr size_t kMaxSymbols = 1 << 12;

using PlainCoder = HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

GuardedBuffer& StreamMemory()
{
    static GuardedBuffer memory(2 * kMaxStream); // symbols that are encoded may grow by half
    return memory;
}

GuardedBuffer& SymbolMemory()
{
    static GuardedBuffer memory(kMaxSymbols);
    return memory;
}

/// Lengths by a table as frames hold it, or those that the writer chooses for some counts: hardly any table
/// that is made by chance uses its code space whole.
void TakeLengths(FuzzInput& input, uint32_t (&lengths)[kSymbols])
{
    if (input.Choose(2) == 0) {
        const auto bytes = input.TakeBytes(input.Take<uint16_t>() % 512);
        const uint8_t* const end = bytes.data() + bytes.size();
        const uint8_t* const behind = ReadLengthTable(bytes.data(), end, kSymbols, lengths);
        Require(!behind || (behind > bytes.data() && behind <= end), "a table ends inside its bytes");
        return;
    }
    uint64_t counts[kSymbols] = {};
    for (const uint8_t pair : input.TakeBytes(kSymbols))
        counts[pair] = counts[pair] * 3 + 1 + pair % 7;
    for (uint64_t& count : counts)
        count %= uint64_t{1} << 40;
    CodeLengthWork work;
    ComputeCodeLengths(kSymbols, counts, HuffCoder8::maxCodeLength, lengths, work);
    // One length changed now and then makes a code with unused space, or none.
    if (input.Choose(4) == 0)
        lengths[input.Choose(kSymbols)] += static_cast<uint32_t>(input.Choose(3));
}

bool IsCodeOf(const uint32_t (&lengths)[kSymbols])
{
    uint8_t small[kSymbols];
    std::transform(std::begin(lengths), std::end(lengths), small,
                   [](uint32_t length) { return static_cast<uint8_t>(std::min(length, 255U)); });
    return frame_rules::IsCode(small, HuffCoder8::maxCodeLength);
}

std::vector<uint8_t> DecodeWhole(const HuffCoder& coder, std::span<const uint8_t> stream, size_t count)
{
    InBitStream state;
    BitStreamInit(state, stream.data(), stream.size());
    const std::span<uint8_t> symbols = SymbolMemory().Place(count, 0xEE);
    coder.Decode(state, symbols.data(), count);
    Require(SymbolMemory().IsIntact(), "nothing is written beside the symbols");
    return {symbols.begin(), symbols.end()};
}

std::vector<uint8_t> DecodeInCalls(const HuffCoder& coder, std::span<const uint8_t> stream, size_t count,
                                   size_t perCall)
{
    InBitStream state;
    BitStreamInit(state, stream.data(), stream.size());
    const std::span<uint8_t> symbols = SymbolMemory().Place(count, 0xEE);
    for (size_t done = 0; done < count; done += perCall)
        coder.Decode(state, symbols.data() + done, std::min(perCall, count - done));
    Require(SymbolMemory().IsIntact(), "nothing is written beside the symbols of many calls");
    return {symbols.begin(), symbols.end()};
}

/// The stream as blocks of the sizes that the input gives: all at once and one by one. The symbols of
/// neighbouring blocks touch, as those of rows in a picture do.
void CompareBlocks(const HuffCoder& fast, const HuffCoder& plain, std::span<const uint8_t> stream,
                   FuzzInput input)
{
    const size_t blocks = 1 + input.Choose(9);
    std::vector<DecodeJob> jobs;
    std::vector<size_t> counts;
    std::vector<uint8_t> expected;
    size_t at = 0;
    for (size_t i = 0; i < blocks; ++i) {
        const size_t bytes = i + 1 == blocks
                                 ? stream.size() - at
                                 : std::min<size_t>(input.Take<uint16_t>() % 1024, stream.size() - at);
        const size_t count = input.Take<uint16_t>() % (kMaxSymbols / blocks);
        const std::span<const uint8_t> own = stream.subspan(at, bytes);
        const std::vector<uint8_t> symbols = DecodeWhole(plain, own, count);
        expected.insert(expected.end(), symbols.begin(), symbols.end());
        counts.push_back(count);
        jobs.push_back({own, {}});
        at += bytes;
    }
    const std::span<uint8_t> symbols = SymbolMemory().Place(expected.size(), 0xEE);
    for (size_t i = 0, done = 0; i < blocks; done += counts[i++])
        jobs[i].symbols = symbols.subspan(done, counts[i]);
    fast.DecodeBlocks(jobs);
    Require(SymbolMemory().IsIntact(), "nothing is written beside the symbols of many blocks");
    Require(std::equal(symbols.begin(), symbols.end(), expected.begin()),
            "blocks decode side by side as alone");
}

std::vector<uint8_t> EncodeAll(const HuffCoder& coder, std::span<const uint8_t> symbols)
{
    std::vector<uint8_t> stream(symbols.size() * 12 / 8 + 16);
    OutBitStream state;
    BitStreamInit(state, stream.data(), stream.size());
    coder.Encode(state, symbols.data(), symbols.size());
    stream.resize(BitStreamFinish(state));
    return stream;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static History history;
    history.Enter({data, size});
    FuzzInput input(data, size);
    uint32_t lengths[kSymbols] = {};
    TakeLengths(input, lengths);

    static HuffCoder8 fast;
    static PlainCoder plain;
    const bool isCode = IsCodeOf(lengths);
    Require(fast.BuildFromLengths(kSymbols, lengths, false) == isCode,
            "lengths are refused when no code has them");
    Require(plain.BuildFromLengths(kSymbols, lengths, false) == isCode, "by the plain coder, too");
    if (!isCode)
        return 0;

    const auto perCall = static_cast<uint32_t>(1 + input.Choose(64));
    const auto count = static_cast<uint32_t>(input.Take<uint16_t>() % kMaxSymbols);
    const FuzzInput blockInput = input;
    const std::span<const uint8_t> stream = StreamMemory().Place(input.TakeBytes(kMaxStream));
    const std::vector<uint8_t> symbols = DecodeWhole(plain, stream, count);
    Require(DecodeWhole(fast, stream, count) == symbols, "fast and plain symbols are the same");
    Require(DecodeInCalls(fast, stream, count, perCall) == symbols, "many calls give the same as one");
    CompareBlocks(fast, plain, stream, blockInput);

    // Any symbols have a stream, and come back from it.
    const std::vector<uint8_t> original(stream.begin(), stream.end());
    const std::vector<uint8_t> encoded = EncodeAll(fast, original);
    Require(encoded == EncodeAll(plain, original), "both coders write the same bits");
    Require(DecodeWhole(fast, StreamMemory().Place(encoded), static_cast<uint32_t>(original.size())) ==
                original,
            "what was encoded decodes");

    const auto fresh = std::make_unique<HuffCoder8>();
    history.Require(fresh->BuildFromLengths(kSymbols, lengths, false), "a fresh coder takes the lengths");
    history.Require(EncodeAll(*fresh, original) == encoded, "a fresh coder writes the same bits");
    history.Require(DecodeWhole(*fresh, StreamMemory().Place(original), count) == symbols,
                    "a fresh coder reads the same symbols");
    return 0;
}
