// Small frames whose every byte is derived by hand. The one thing a derivation leaves open is which of the
// symbols with a count of zero takes the one shorter code; the tests find its place in the table and go on
// from there.

#include "support/codec_run.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<uint8_t>;

void Append(Bytes& bytes, std::initializer_list<int> values)
{
    for (const int value : values)
        bytes.push_back(static_cast<uint8_t>(value));
}

void AppendWord(Bytes& bytes, uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(word >> shift));
}

/// The 32 bytes of a 4 x 4 frame of 4:0:0 under default settings.
Bytes HeaderOf4x4Gray(bool interlaced)
{
    Bytes bytes;
    Append(bytes, {'O', 'R', 'V', 'N', 32, 0, 0, 0});
    Append(bytes, {7, 107, 12, 2});                        // version, format, code limit, Rec.709
    Append(bytes, {interlaced ? 0x02 : 0x00, 0, 0x22, 0}); // bit 17 always, coder type 2 in bits 20 to 23
    for (const uint32_t field : {4U, 4U, 4U, 28U})         // width, height, coded width, block height
        AppendWord(bytes, field);
    return bytes;
}

/// Runs of (length, symbols) as a code length table.
void AppendRuns(Bytes& bytes, const std::vector<std::pair<int, int>>& runs)
{
    for (const auto& [length, symbols] : runs) {
        if (symbols == 1)
            Append(bytes, {length});
        else if (symbols > 1)
            Append(bytes, {0x80 | length, symbols - 1});
    }
}

/// Header, offset table and coder section of a one-block frame, given its code length table.
Bytes FrontOf(bool interlaced, const Bytes& table)
{
    Bytes bytes = HeaderOf4x4Gray(interlaced);
    const auto blockOffset =
        static_cast<uint32_t>(8 + 1 + 1 + table.size()); // two words, coder count, one id
    AppendWord(bytes, blockOffset);
    AppendWord(bytes, blockOffset);
    Append(bytes, {1, 0});
    bytes.insert(bytes.end(), table.begin(), table.end());
    return bytes;
}

/// The tail: 15 zeros; at an even end one more byte is reported, which holds what the buffer held.
void AppendTail(Bytes& bytes)
{
    const bool even = bytes.size() % 2 == 0;
    bytes.insert(bytes.end(), 15, 0);
    if (even)
        bytes.push_back(0xA5);
}

Bytes EncodeGray4x4(const Bytes& picture, bool interlaced, PredictMethod method)
{
    CodecRun run({.host = kHostY8,
                  .code = kCodeGray,
                  .width = 4,
                  .height = 4,
                  .method = method,
                  .interlaced = interlaced});
    const Bytes frame = run.Encode(picture);
    const auto decoded = run.Decode(frame);
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
    EXPECT_TRUE(SameBytes(decoded.picture, picture));
    return frame;
}

TEST(HandWorkedFrame, PlaneOfOneSymbol)
{
    // All residuals are 0. The count sees column 0 alone: symbol 0 four times, the 255 others never. Symbol 0
    // has the code "1"; one of the others has 8 bits and the rest 9, since 1/2 + 1/256 + 254/512 = 1.
    const Bytes frame = EncodeGray4x4(Bytes(16, 0), false, PredictMethod::Left);

    // Which symbol has 8 bits shows in the table: the first run behind symbol 0 ends in front of it.
    const size_t tableStart = 32 + 8 + 2;
    const int place = frame[tableStart + 1] == 8   ? 1
                      : frame[tableStart + 1] == 9 ? 2
                                                   : frame[tableStart + 2] + 2;
    ASSERT_GE(place, 1);
    ASSERT_LE(place, 255);
    Bytes table;
    AppendRuns(table, {{1, 1}, {9, place - 1}, {8, 1}, {9, 255 - place}});

    Bytes expected = FrontOf(false, table);
    Append(expected, {0, 1});       // coded, Left
    Append(expected, {0xFF, 0xFF}); // sixteen times "1"
    AppendTail(expected);
    EXPECT_EQ(frame, expected);
}

TEST(HandWorkedFrame, PlaneOfOneSymbolIsTheSameWithEveryMethodButForThePredictorByte)
{
    const Bytes left = EncodeGray4x4(Bytes(16, 0), false, PredictMethod::Left);
    for (const auto method : {PredictMethod::Gradient, PredictMethod::Median}) {
        Bytes expected = left;
        const size_t predictor = 32 + expected[32] + 1;
        ASSERT_EQ(expected[predictor], 1);
        expected[predictor] = static_cast<uint8_t>(method);
        EXPECT_EQ(EncodeGray4x4(Bytes(16, 0), false, method), expected);
    }
    // A picture of four columns has no scored samples: the three scores tie at 0, and Left wins the tie.
    EXPECT_EQ(EncodeGray4x4(Bytes(16, 0), false, PredictMethod::Dynamic), left);
}

/// Rows that rise by one from column to column: residual 1 in every column but 0.
Bytes RowsFrom(const std::vector<int>& firstColumn)
{
    Bytes picture;
    for (const int first : firstColumn)
        Append(picture, {first, first + 1, first + 2, first + 3});
    return picture;
}

// The four symbols of column 0 differ, so that each has a count of 1 and all others 0: the used ones get
// codes of 2, 2, 2 and 3 bits and the 252 unused ones share the last eighth of the code space with 10 and 11
// bits. The twelve residuals 1 of the other columns then cost 10 bits or more each: at least 129 bits, more
// than the 16 raw bytes.
void ExpectRawFrame(const Bytes& picture, bool interlaced, const Bytes& residuals)
{
    const Bytes frame = EncodeGray4x4(picture, interlaced, PredictMethod::Left);
    // The table is taken as it stands; all around it is derived.
    ASSERT_GT(frame.size(), 36U);
    const uint32_t blockOffset = frame[32] + 256U * frame[33];
    ASSERT_LT(32 + blockOffset, frame.size());
    Bytes expected = FrontOf(interlaced, Bytes(frame.begin() + 42, frame.begin() + 32 + blockOffset));
    Append(expected, {1, 1}); // raw, Left
    expected.insert(expected.end(), residuals.begin(), residuals.end());
    AppendTail(expected);
    EXPECT_EQ(frame, expected);
}

TEST(HandWorkedFrame, RawBlock)
{
    // Column 0 of rows 1 to 3 is predicted from above: 30 - 10, 60 - 30, 100 - 60.
    ExpectRawFrame(RowsFrom({10, 30, 60, 100}), false, {10, 1, 1, 1, 20, 1, 1, 1, 30, 1, 1, 1, 40, 1, 1, 1});
}

TEST(HandWorkedFrame, InterlacedRawBlock)
{
    // Rows 0 and 2 are one field, rows 1 and 3 the other; each begins with a first row. Payload rows stay in
    // picture order.
    ExpectRawFrame(RowsFrom({10, 100, 30, 160}), true, {10, 1, 1, 1, 100, 1, 1, 1, 20, 1, 1, 1, 60, 1, 1, 1});
}

TEST(HandWorkedFrame, TwoPlanesOfBlocksStandInPlaneOrderWithoutGaps)
{
    // 4:2:0, 8 x 32: blocks of 28 and 4 rows in plane 0, of 14 and 2 in planes 1 and 2.
    CodecRun run(
        {.host = kHostI420, .code = kCodeYuv420, .width = 8, .height = 32, .method = PredictMethod::Median});
    const Bytes frame = run.Encode(Bytes(run.InputBytes(), 0));
    ASSERT_EQ(run.encoder.Blocks().size(), 6U);
    // Every plane is one symbol with the code "1": payload bytes are the samples of the block divided by 8.
    const uint32_t payload[] = {28, 4, 7, 1, 7, 1};
    const uint32_t rows[] = {28, 4, 14, 2, 14, 2};
    uint32_t offset = 0;
    std::memcpy(&offset, frame.data() + 32, 4);
    for (size_t i = 0; i < 6; ++i) {
        uint32_t word = 0;
        std::memcpy(&word, frame.data() + 36 + 4 * i, 4);
        EXPECT_EQ(word, offset) << "block " << i;
        EXPECT_EQ(static_cast<uint32_t>(run.encoder.Blocks()[i].rows), rows[i]);
        EXPECT_EQ(frame[32 + word], 0);
        EXPECT_EQ(frame[32 + word + 1], 3);
        for (uint32_t k = 0; k < payload[i]; ++k)
            EXPECT_EQ(frame[32 + word + 2 + k], 0xFF) << "block " << i << " byte " << k;
        offset += 2 + payload[i];
    }
    EXPECT_EQ(frame.size(), (32 + offset + 16) / 2 * 2);
}

TEST(HandWorkedFrame, FlatCodeTakesTwoBytesAndATieGoesToRaw)
{
    // 4 x 256: column 0 gives every residual once, so that all counts are equal and all codes have 8 bits.
    // Coded blocks are then exactly as large as raw ones.
    Bytes picture;
    Bytes expectedResiduals;
    int above = 0;
    for (int row = 0; row < 256; ++row) {
        // The first row of each block is predicted from nothing.
        if (row % 28 == 0)
            above = 0;
        const int residual = (row * 7) & 255;
        above = (above + residual) & 255;
        Append(picture, {above, above, above, above});
        Append(expectedResiduals, {residual, 0, 0, 0});
    }
    CodecRun run(
        {.host = kHostY8, .code = kCodeGray, .width = 4, .height = 256, .method = PredictMethod::Left});
    const Bytes frame = run.Encode(picture);
    const size_t section = 32 + 4 * 11; // ten blocks
    EXPECT_EQ(frame[section], 1);
    EXPECT_EQ(frame[section + 11], 0x88);
    EXPECT_EQ(frame[section + 12], 0xFF);
    const uint8_t* block = frame.data() + section + 13;
    for (int band = 0; band < 10; ++band) {
        const int rows = band < 9 ? 28 : 4;
        EXPECT_EQ(block[0], 1) << "band " << band;
        EXPECT_EQ(block[1], 1);
        EXPECT_TRUE(std::equal(block + 2, block + 2 + 4 * rows, expectedResiduals.begin() + band * 4 * 28));
        block += 2 + 4 * rows;
    }
    EXPECT_TRUE(SameBytes(run.Decode(frame).picture, picture));
}

} // namespace
