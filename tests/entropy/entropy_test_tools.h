// What the entropy tests share: random codes and counts, bytes that end where their memory ends, and a coder
// that works bit by bit with no table at all.
#pragma once

#include "entropy/canonical_codes.h"
#include "entropy/huff_coder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <utility>
#include <vector>

using Lengths = std::array<uint32_t, 256>;
using Counts = std::array<uint64_t, 256>;
using Bytes = std::vector<uint8_t>;

inline uint32_t Below(std::mt19937& random, uint32_t bound)
{
    return static_cast<uint32_t>(random() % bound);
}

/// Bytes in memory of exactly their size, so that an address sanitizer sees every access beside them.
class ExactBytes
{
  public:
    explicit ExactBytes(size_t size, uint8_t fill = 0) : memory(new uint8_t[size]), count(size)
    {
        std::fill_n(memory.get(), size, fill);
    }
    explicit ExactBytes(std::span<const uint8_t> bytes) : ExactBytes(bytes.size())
    {
        std::ranges::copy(bytes, memory.get());
    }
    uint8_t* data() { return memory.get(); }
    const uint8_t* data() const { return memory.get(); }
    size_t size() const { return count; }
    Bytes Copy() const { return Bytes(memory.get(), memory.get() + count); }

  private:
    std::unique_ptr<uint8_t[]> memory;
    size_t count;
};

/// The code space that lengths take, in units of 2^-12: 4,096 is all of it.
inline uint64_t CodeSpace(std::span<const uint32_t> lengths)
{
    uint64_t space = 0;
    for (const uint32_t length : lengths)
        space += uint64_t{4096} >> length;
    return space;
}

/// A code of 256 symbols with lengths from 1 to 12. One of two leaves code space unused, often most of it.
inline Lengths RandomLengths(std::mt19937& random)
{
    Lengths lengths;
    lengths.fill(12);
    const bool complete = random() % 2 == 0;
    const uint32_t most = complete ? 4096 : 256 + Below(random, 4096 - 256);
    uint32_t space = 256;
    const uint32_t tries = 1 + Below(random, 600);
    for (uint32_t i = 0; i < tries; ++i) {
        uint32_t& length = lengths[Below(random, 256)];
        const uint32_t shorter = 1 + Below(random, length);
        const uint32_t after = space - (4096U >> length) + (4096U >> shorter);
        if (after <= most) {
            space = after;
            length = shorter;
        }
    }
    while (complete && space < 4096)
        for (uint32_t& length : lengths)
            if (space + (4096U >> length) <= 4096) {
                space += 4096U >> length;
                --length;
            }
    return lengths;
}

/// Counts of many shapes: flat, steep, with few values (so that many are equal), with few symbols.
inline Counts RandomCounts(std::mt19937& random)
{
    Counts counts{};
    const uint32_t shape = Below(random, 5);
    const double ratio = 0.3 + 0.7 * static_cast<double>(random()) / 4294967296.0;
    const uint32_t values = 1 + Below(random, 6);
    double weight = 1e6;
    for (int i = 0; i < 256; ++i) {
        const int distance = (i + 1) / 2;
        const auto symbol = static_cast<uint8_t>(i % 2 == 0 ? distance : -distance);
        switch (shape) {
        case 0:
            counts[symbol] = Below(random, 100000);
            break;
        case 1:
            counts[symbol] = static_cast<uint64_t>(weight);
            break;
        case 2:
            counts[symbol] = Below(random, values);
            break;
        case 3:
            counts[symbol] = random() % 16 == 0 ? Below(random, 1000) : 0;
            break;
        default:
            counts[symbol] = uint64_t{1} << Below(random, 40);
            break;
        }
        weight *= ratio;
    }
    return counts;
}

/// `size` symbols drawn by the counts (plus one, so that every symbol comes up).
inline Bytes RandomSymbols(std::mt19937& random, const Counts& counts, size_t size)
{
    std::vector<double> weights;
    for (const uint64_t count : counts)
        weights.push_back(static_cast<double>(count) + 1);
    std::discrete_distribution<int> draw(weights.begin(), weights.end());
    Bytes symbols(size);
    for (uint8_t& symbol : symbols)
        symbol = static_cast<uint8_t>(draw(random));
    return symbols;
}

/// Codes and reads one bit after the other.
class BitByBitCoder
{
  public:
    explicit BitByBitCoder(const Lengths& lengths) : records(256)
    {
        valid = entropy::BuildCanonicalCodes(256, lengths.data(), 12, records.data());
        for (const entropy::CodeRecord& record : records) {
            codeOf[record.symbol] = record;
            symbolOf[{record.length, record.code}] = static_cast<uint8_t>(record.symbol);
        }
    }

    bool IsValid() const { return valid; }

    Bytes Encode(std::span<const uint8_t> symbols) const
    {
        Bytes bytes;
        size_t position = 0;
        for (const uint8_t symbol : symbols) {
            const entropy::CodeRecord& record = codeOf[symbol];
            for (uint32_t bit = record.length; bit-- > 0; ++position) {
                if (position % 8 == 0)
                    bytes.push_back(0);
                if (record.code >> bit & 1)
                    bytes.back() |= static_cast<uint8_t>(0x80 >> position % 8);
            }
        }
        return bytes;
    }

    /// Up to `count` symbols with zero bits behind the end; stops at 12 bits that begin with no code.
    Bytes Decode(std::span<const uint8_t> bytes, size_t count) const
    {
        Bytes symbols;
        size_t position = 0;
        while (symbols.size() < count) {
            uint32_t code = 0;
            uint32_t length = 0;
            auto found = symbolOf.end();
            while (found == symbolOf.end() && length < 12) {
                const size_t byte = position / 8;
                const int bit = byte < bytes.size() ? bytes[byte] >> (7 - position % 8) & 1 : 0;
                code = code << 1 | static_cast<uint32_t>(bit);
                ++length;
                ++position;
                found = symbolOf.find({length, code});
            }
            if (found == symbolOf.end())
                break;
            symbols.push_back(found->second);
        }
        return symbols;
    }

  private:
    bool valid = false;
    std::vector<entropy::CodeRecord> records;
    std::array<entropy::CodeRecord, 256> codeOf{};
    std::map<std::pair<uint32_t, uint32_t>, uint8_t> symbolOf;
};

/// The stream of `symbols`, written into memory that just holds what a writer may touch.
inline Bytes EncodeAll(const entropy::HuffCoder& coder, std::span<const uint8_t> symbols)
{
    ExactBytes area((symbols.size() * 12 + 7) / 8 + 8, 0xA5);
    entropy::OutBitStream stream;
    entropy::BitStreamInit(stream, area.data(), area.size());
    coder.Encode(stream, symbols.data(), symbols.size());
    const size_t size = entropy::BitStreamFinish(stream);
    return Bytes(area.data(), area.data() + size);
}

/// `count` symbols of a stream, read into memory of just that size.
inline Bytes DecodeAll(const entropy::HuffCoder& coder, std::span<const uint8_t> bytes, size_t count)
{
    const ExactBytes source(bytes);
    ExactBytes symbols(count, 0xA5);
    entropy::InBitStream stream;
    entropy::BitStreamInit(stream, source.data(), source.size());
    coder.Decode(stream, symbols.data(), count);
    return symbols.Copy();
}
