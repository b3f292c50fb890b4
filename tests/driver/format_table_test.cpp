#include "driver/format_table.h"

#include "core/native_table.h"
#include "driver/driver_session.h"
#include "driver/host_formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using namespace driver;

namespace {

struct ExpectedRow {
    int id;
    const char* fourCC;
    uint32_t bits;
    uint32_t flags;
    int last; ///< compressed: native output; else category
    int compressesTo;
};

constexpr ExpectedRow kCompressedRows[] = {
    {102, "O8RA", 32, 1, 2, 0},  {101, "O8RG", 24, 0, 3, 0},  {106, "O8YA", 32, 1, 8, 0},
    {103, "O8Y4", 24, 0, 7, 0},  {104, "O8Y2", 24, 0, 4, 0},  {105, "O8Y0", 24, 0, 6, 0},
    {107, "O8G0", 24, 0, 9, 0},  {118, "O0Y4", 30, 0, 47, 0}, {108, "O0Y2", 20, 0, 11, 0},
    {123, "O0Y0", 15, 0, 11, 0}, {115, "O0G0", 10, 0, 11, 0}, {109, "O0RG", 30, 0, 33, 0},
    {110, "O0RA", 40, 1, 31, 0}, {111, "O2RG", 36, 0, 33, 0}, {112, "O2RA", 48, 1, 31, 0},
    {113, "O4RG", 42, 0, 33, 0}, {114, "O4RA", 56, 1, 31, 0},
};

/// Families and partners of the layouts of more than 8 bits, and which have alpha.
struct DeepLayout {
    std::set<int> ids;
    int category;
    int compressesTo;
    bool alpha = false;
};

const DeepLayout kDeepLayouts[] = {
    {{12, 13, 36}, 109, 109},
    {{47, 48}, 118, 118},
    {{11, 34, 35}, 108, 108},
    {{57, 58}, 123, 123},
    {{24, 25, 27, 28, 32, 33, 39}, 116, 109},
    {{23, 26, 31, 43}, 117, 110, true},
    {{37}, 111, 111},
    {{38}, 113, 113},
    {{40}, 110, 110, true},
    {{41}, 112, 112, true},
    {{42}, 114, 114, true},
};

const DeepLayout& DeepLayoutOf(int id)
{
    const auto found =
        std::ranges::find_if(kDeepLayouts, [=](const DeepLayout& deep) { return deep.ids.contains(id); });
    if (found == std::end(kDeepLayouts))
        throw std::out_of_range("kDeepLayouts lacks layout " + std::to_string(id));
    return *found;
}

/// The row of one id of a host format. RGB is told by its bits alone.
ExpectedRow RowOf(const HostFormat& format, int id)
{
    const std::string name = format.name;
    const uint32_t exactBits = name == "RGB" || name == "DIB " ? 2 : 0;
    const auto bits = static_cast<uint32_t>(format.bits);
    if (const PlainLayout* layout = FindPlainLayout(id))
        return {id, format.name, bits, exactBits | (layout->Has('A') ? 1U : 0U), layout->code, layout->code};
    const DeepLayout& deep = DeepLayoutOf(id);
    return {id, format.name, bits, deep.alpha ? 1U : 0U, deep.category, deep.compressesTo};
}

const std::vector<ExpectedRow> kHostRows = [] {
    std::vector<ExpectedRow> rows;
    for (const HostFormat& format : kHostFormats) {
        rows.push_back(RowOf(format, format.id));
        if (format.idWithAlpha != format.id)
            rows.push_back(RowOf(format, format.idWithAlpha));
    }
    return rows;
}();

FormatId IdOf(const BITMAPINFOHEADER& header, bool wantAlpha = false)
{
    return ClassifyHeader(&header, wantAlpha).id;
}

/// A compressed header with any record behind it.
std::vector<uint8_t> HeaderWith(const std::string& fourCC, std::span<const uint8_t> record, uint32_t size)
{
    BITMAPINFOHEADER header = MakeHeader(fourCC, 24, 64, 48);
    header.biSize = 40 + size;
    std::vector<uint8_t> bytes(sizeof header + size);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + sizeof header, record.data(), std::min<size_t>(size, record.size()));
    return bytes;
}

HeaderClass ClassOf(const std::vector<uint8_t>& bytes)
{
    return ClassifyHeader(reinterpret_cast<const BITMAPINFOHEADER*>(bytes.data()), false);
}

/// The record of a stream, `size` bytes long and saying so.
std::vector<uint8_t> RecordOf(int code, uint32_t size = 32)
{
    FrameHeader record = MakeStream(104, 64, 48).record;
    record.formatCode = static_cast<uint8_t>(code);
    record.headerSize = size;
    std::vector<uint8_t> bytes(std::max<size_t>(size, sizeof record));
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

} // namespace

TEST(FormatTable, HasAllRowsInOrder)
{
    ASSERT_EQ(FormatTable().size(), std::size(kCompressedRows) + kHostRows.size());
    size_t at = 0;
    for (const ExpectedRow& expected : kCompressedRows) {
        const FormatRow& row = FormatTable()[at++];
        EXPECT_EQ(row.Id, expected.id);
        EXPECT_EQ(row.FourCC, FourCCOf(expected.fourCC)) << expected.fourCC;
        EXPECT_EQ(row.BitCount, expected.bits) << expected.fourCC;
        EXPECT_EQ(row.Flags, expected.flags) << expected.fourCC;
        EXPECT_EQ(row.NativeOutput, expected.last) << expected.fourCC;
    }
    for (const ExpectedRow& expected : kHostRows) {
        const FormatRow& row = FormatTable()[at++];
        EXPECT_EQ(row.Id, expected.id);
        EXPECT_EQ(row.FourCC, FourCCOf(expected.fourCC)) << expected.fourCC;
        EXPECT_EQ(row.BitCount, expected.bits) << expected.fourCC;
        EXPECT_EQ(row.Flags, expected.flags) << expected.fourCC;
        EXPECT_EQ(row.NativeOutput, 255) << expected.fourCC;
        EXPECT_EQ(CategoryTable[static_cast<size_t>(row.Id)], expected.last) << expected.fourCC;
        EXPECT_EQ(NativeTable[static_cast<size_t>(row.Id)], expected.compressesTo) << expected.fourCC;
    }
}

TEST(FormatTable, EveryHostRowIsFoundByItsOwnHeader)
{
    for (const ExpectedRow& row : kHostRows)
        EXPECT_EQ(IdOf(MakeHeader(row.fourCC, static_cast<int>(row.bits), 64, 48), (row.flags & 1) != 0),
                  row.id)
            << row.fourCC;
}

TEST(FormatTable, EveryCompressedRowIsFoundThroughItsRecord)
{
    for (const ExpectedRow& row : kCompressedRows) {
        const auto bytes = HeaderWith(row.fourCC, RecordOf(row.id), 32);
        EXPECT_EQ(ClassOf(bytes).id, row.id) << row.fourCC;
        EXPECT_TRUE(ClassOf(bytes).Parsed()) << row.fourCC;
    }
}

TEST(ClassifyHeader, AlphaChoosesBetweenLayoutsUnderOneHeader)
{
    for (const HostFormat& format : kHostFormats) {
        EXPECT_EQ(IdOf(MakeHeader(format, 64, 48), false), format.id) << format.name;
        EXPECT_EQ(IdOf(MakeHeader(format, 64, 48), true), format.idWithAlpha) << format.name;
    }
}

TEST(ClassifyHeader, OnlyRgbLooksAtTheBitCount)
{
    for (const char* rgb : {"RGB", "DIB "})
        for (const int bits : {0, 1, 4, 8, 15, 16, 30, 48, 64})
            EXPECT_EQ(IdOf(MakeHeader(rgb, bits, 64, 48)), 0) << rgb << bits;
    for (const HostFormat& format : kHostFormats) {
        if (std::string(format.name) != "RGB" && std::string(format.name) != "DIB ") {
            EXPECT_EQ(IdOf(MakeHeader(format.name, 1, 64, 48)), format.id) << format.name;
        }
    }
}

TEST(ClassifyHeader, UnknownFourCCsAreNoFormat)
{
    for (const char* fourCC : {"B.S.", "yuy2", "o8rg", "YUV9", "CLJR", "XVID", "Y41B", "BGR ", "Y3[12][10]"})
        for (const int bits : {16, 24, 32})
            EXPECT_EQ(IdOf(MakeHeader(fourCC, bits, 64, 48)), 0) << fourCC;
}

TEST(ClassifyHeader, NullIsAnyFormat)
{
    EXPECT_EQ(ClassifyHeader(nullptr, false).id, 255);
    EXPECT_FALSE(ClassifyHeader(nullptr, true).Parsed());
}

TEST(ClassifyHeader, TheRecordGovernsWhateverTheFourCCSays)
{
    for (const char* fourCC : {"O8Y0", "O8RG", "O4RA", "ORVN"})
        for (const int code : {104, 101, 107, 118, 0, 1, 200}) {
            const auto bytes = HeaderWith(fourCC, RecordOf(code), 32);
            EXPECT_EQ(ClassOf(bytes).id, code) << fourCC;
            ASSERT_EQ(ClassOf(bytes).record.size(), 32U);
            EXPECT_EQ(ClassOf(bytes).record.data(), bytes.data() + 40);
        }
    // A FourCC of an uncompressed layout never looks behind the header.
    EXPECT_EQ(ClassOf(HeaderWith("YUY2", RecordOf(104), 32)).id, 4);
    EXPECT_FALSE(ClassOf(HeaderWith("YUY2", RecordOf(104), 32)).Parsed());
}

TEST(ClassifyHeader, MalformedRecordsAreNoFormat)
{
    EXPECT_EQ(ClassOf(HeaderWith("O8Y2", RecordOf(104, 2080), 2080)).id, 104);
    const auto refused = [](const std::vector<uint8_t>& record, uint32_t size) {
        const auto bytes = HeaderWith("O8Y2", record, size);
        return ClassOf(bytes).id == 0 && !ClassOf(bytes).Parsed();
    };
    for (const uint32_t size : {0U, 1U, 3U, 4U, 31U, 33U, 2080U})
        EXPECT_TRUE(refused(RecordOf(104), size)) << "32 bytes announced, given " << size;
    EXPECT_TRUE(refused(RecordOf(104, 2081), 2081)) << "longer than four tables";
    for (size_t at = 0; at < 4; ++at) {
        auto record = RecordOf(104);
        record[at] ^= 0x20;
        EXPECT_TRUE(refused(record, 32)) << "magic byte " << at;
    }
    for (int version = 0; version < 256; ++version) {
        auto record = RecordOf(104);
        record[8] = static_cast<uint8_t>(version);
        EXPECT_EQ(refused(record, 32), version > 7) << "version " << version;
    }
}

TEST(ClassifyHeader, AHeaderSizeOfFortyOrLessHasNoRecord)
{
    StreamHeader stream = MakeStream(104, 64, 48);
    for (const uint32_t size : {0U, 1U, 39U, 40U}) {
        stream.header.biSize = size;
        EXPECT_EQ(ClassifyHeader(&stream.header, false).id, 0) << size;
    }
}

TEST(FormatTable, PaddedLayoutsAreTheSixPackedOnes)
{
    std::vector<int> padded;
    for (int id = 0; id < 256; ++id)
        if (HasPaddedRows(id))
            padded.push_back(id);
    EXPECT_EQ(padded, (std::vector<int>{9, 25, 28, 30, 33, 44}));
}

TEST(FormatTable, OnlyRgbOfPositiveHeightIsBottomUp)
{
    for (const char* fourCC : {"RGB", "DIB "}) {
        EXPECT_TRUE(IsBottomUp(1, FourCCOf(fourCC)));
        EXPECT_TRUE(IsBottomUp(std::numeric_limits<int32_t>::max(), FourCCOf(fourCC)));
        EXPECT_FALSE(IsBottomUp(0, FourCCOf(fourCC)));
        EXPECT_FALSE(IsBottomUp(-1, FourCCOf(fourCC)));
        EXPECT_FALSE(IsBottomUp(std::numeric_limits<int32_t>::min(), FourCCOf(fourCC)));
    }
    for (const char* fourCC : {"YUY2", "AYUV", "O8RG", "dib "})
        EXPECT_FALSE(IsBottomUp(480, FourCCOf(fourCC))) << fourCC;
}

TEST(FormatTable, HeightsCompareByTheirAbsoluteValue)
{
    BITMAPINFOHEADER header = MakeHeader("RGB", 24, 64, -48);
    EXPECT_EQ(HeightOf(header), 48U);
    EXPECT_TRUE(SameSize(header, MakeHeader("RGB", 24, 64, 48)));
    EXPECT_FALSE(SameSize(header, MakeHeader("RGB", 24, 64, 47)));
    EXPECT_FALSE(SameSize(header, MakeHeader("RGB", 24, -64, 48)));
    header.biHeight = std::numeric_limits<LONG>::min();
    EXPECT_EQ(HeightOf(header), 0x80000000U);
}
