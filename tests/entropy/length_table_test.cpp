#include "entropy/length_table.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

namespace {

Bytes Write(const std::vector<uint32_t>& lengths)
{
    ExactBytes out(std::max<size_t>(kMaxLengthTableBytes, 2 * lengths.size()));
    const size_t size = WriteLengthTable(lengths.data(), lengths.size(), out.data());
    return Bytes(out.data(), out.data() + size);
}

/// The writer's rule as a walk over the entries: a run goes out when the next entry differs or 255 followers
/// stand.
Bytes WriteByWalking(const std::vector<uint32_t>& lengths)
{
    Bytes bytes;
    uint32_t value = lengths[0];
    uint32_t followers = 0;
    const auto emit = [&] {
        if (followers > 0) {
            bytes.push_back(static_cast<uint8_t>(0x80 + value));
            bytes.push_back(static_cast<uint8_t>(followers));
        } else {
            bytes.push_back(static_cast<uint8_t>(value));
        }
    };
    for (size_t entry = 1; entry < lengths.size(); ++entry) {
        if (lengths[entry] != value || followers == 255) {
            emit();
            value = lengths[entry];
            followers = 0;
        } else {
            ++followers;
        }
    }
    emit();
    return bytes;
}

struct ReadResult {
    std::vector<uint32_t> lengths;
    int64_t used; ///< bytes of the table, -1 if it was cut off
};

constexpr uint32_t kUntouched = 0xA5A5A5A5;

ReadResult Read(const Bytes& bytes, size_t count)
{
    const ExactBytes source(bytes);
    std::vector<uint32_t> lengths(count, kUntouched);
    const uint8_t* const behind =
        ReadLengthTable(source.data(), source.data() + source.size(), count, lengths.data());
    return {lengths, behind ? behind - source.data() : -1};
}

std::vector<uint32_t> Equal(size_t count, uint32_t value)
{
    return std::vector<uint32_t>(count, value);
}

} // namespace

TEST(LengthTable, EqualLengthsAreTwoBytes)
{
    EXPECT_EQ(Write(Equal(256, 8)), (Bytes{0x88, 0xFF}));
    EXPECT_EQ(Read({0x88, 0xFF}, 256).lengths, Equal(256, 8));
    EXPECT_EQ(Read({0x88, 0xFF}, 256).used, 2);
}

TEST(LengthTable, RunsOfEveryLengthTakeTheirShortestForm)
{
    EXPECT_EQ(Write(Equal(1, 5)), (Bytes{0x05}));
    EXPECT_EQ(Write(Equal(2, 5)), (Bytes{0x85, 0x01}));
    EXPECT_EQ(Write(Equal(255, 5)), (Bytes{0x85, 0xFE}));
    EXPECT_EQ(Write(Equal(256, 5)), (Bytes{0x85, 0xFF}));
    EXPECT_EQ(Write(Equal(257, 5)), (Bytes{0x85, 0xFF, 0x05}));
    EXPECT_EQ(Write(Equal(258, 5)), (Bytes{0x85, 0xFF, 0x85, 0x01}));
    EXPECT_EQ(Write({1, 2, 2, 3, 3, 3, 1}), (Bytes{0x01, 0x82, 0x01, 0x83, 0x02, 0x01}));
    EXPECT_EQ(Write({127, 127, 0}), (Bytes{0xFF, 0x01, 0x00}));
}

TEST(LengthTable, WhatIsWrittenIsReadBack)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 1000; ++round) {
        std::vector<uint32_t> lengths(256 + (round % 4 == 0 ? Below(random, 400) : 0));
        const uint32_t change = 1 + Below(random, 1 + Below(random, 400));
        uint32_t value = 8;
        for (uint32_t& length : lengths) {
            if (random() % change == 0)
                value = 1 + Below(random, 12);
            length = value;
        }
        const Bytes bytes = Write(lengths);
        ASSERT_EQ(bytes, WriteByWalking(lengths));
        if (lengths.size() == 256) {
            ASSERT_LE(bytes.size(), 256U);
        }
        // What follows the table is not touched.
        Bytes longer = bytes;
        longer.insert(longer.end(), {0x81, 0x05, 0x07});
        const ReadResult result = Read(longer, lengths.size());
        ASSERT_EQ(result.lengths, lengths);
        ASSERT_EQ(result.used, static_cast<int64_t>(bytes.size()));
        ASSERT_EQ(Read(bytes, lengths.size()).used, static_cast<int64_t>(bytes.size()));
    }
}

TEST(LengthTable, ARunThatPassesTheLastEntryIsCutThere)
{
    const ReadResult result = Read({0x03, 0x84, 0xFF, 0x05}, 256);
    EXPECT_EQ(result.used, 3);
    EXPECT_EQ(result.lengths[0], 3U);
    for (size_t entry = 1; entry < 256; ++entry)
        EXPECT_EQ(result.lengths[entry], 4U);
}

TEST(LengthTable, ARunTokenOfOneEntryIsRead)
{
    const ReadResult result = Read({0x83, 0x00, 0x04}, 2);
    EXPECT_EQ(result.lengths, (std::vector<uint32_t>{3, 4}));
    EXPECT_EQ(result.used, 3);
}

TEST(LengthTable, AllSevenBitsOfAValueAreRead)
{
    for (uint8_t value = 0; value < 128; ++value) {
        const ReadResult result = Read({value, static_cast<uint8_t>(0x80 + value), 2}, 4);
        EXPECT_EQ(result.lengths, Equal(4, value));
        EXPECT_EQ(result.used, 3);
    }
}

TEST(LengthTable, EveryCutIsNoticedAndKeepsWhatWasRead)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 20; ++round) {
        std::vector<uint32_t> lengths(256);
        uint32_t value = 8;
        for (uint32_t& length : lengths) {
            if (random() % 3 == 0)
                value = 1 + Below(random, 12);
            length = value;
        }
        const Bytes bytes = Write(lengths);
        for (size_t cut = 0; cut < bytes.size(); ++cut) {
            size_t entries = 0; // in the tokens that are whole
            for (size_t at = 0;;) {
                const size_t tokenBytes = bytes[at] & 0x80 ? 2 : 1;
                if (at + tokenBytes > cut)
                    break;
                entries += tokenBytes == 2 ? size_t{bytes[at + 1]} + 1 : 1;
                at += tokenBytes;
            }
            const ReadResult result =
                Read(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(cut)), 256);
            ASSERT_EQ(result.used, -1) << "cut to " << cut;
            for (size_t entry = 0; entry < 256; ++entry)
                ASSERT_EQ(result.lengths[entry], entry < entries ? lengths[entry] : kUntouched)
                    << "cut to " << cut << " entry " << entry;
        }
    }
}

TEST(LengthTable, AnEmptyRangeHasNoTable)
{
    EXPECT_EQ(Read({}, 256).used, -1);
    EXPECT_EQ(Read({0x88}, 256).used, -1);
}
