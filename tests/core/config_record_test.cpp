#include "core/native_table.h"
#include "core/orvane.h"
#include "support/codec_run.h"

#include <gtest/gtest.h>

namespace {

TEST(ConfigRecord, TakesItsFieldsFromTheSettings)
{
    Orvane codec(true, true);
    EncodeSettings settings;
    settings.ColorMatrix = 1;
    settings.FullRangeYUV = 1;
    settings.Interlaced = 1;
    codec.ApplyEncodeSettings(settings);
    FrameHeader record;
    ASSERT_TRUE(codec.FillConfig(record, kHostI420, 720, 576, kCodeYuv420));
    EXPECT_TRUE(HasMagic(&record));
    EXPECT_EQ(record.headerSize, 32U);
    EXPECT_EQ(record.version, 7);
    EXPECT_EQ(record.formatCode, 105);
    EXPECT_EQ(record.maxCodeLength, 12);
    EXPECT_EQ(record.colorMatrix, 1);
    EXPECT_EQ(record.flags, (1U << 1) | (1U << 2) | (1U << 17) | (2U << 20));
    EXPECT_EQ(record.width, 720U);
    EXPECT_EQ(record.height, 576U);
    EXPECT_EQ(record.codedWidth, 720U);
    EXPECT_EQ(record.blockHeight, 28U);
}

TEST(ConfigRecord, StoresCoderTypeOneAsTwoAndOthersAsTheyStand)
{
    for (const auto& [setting, stored] : {std::pair{0U, 0U}, {1U, 2U}, {2U, 2U}, {3U, 3U}, {4U, 2U}}) {
        Orvane codec(true, true);
        EncodeSettings settings;
        settings.CoderType = setting;
        codec.ApplyEncodeSettings(settings);
        FrameHeader record;
        ASSERT_TRUE(codec.FillConfig(record, kHostY8, 8, 8, kAnyFormat));
        EXPECT_EQ(record.formatCode, kCodeGray);
        EXPECT_EQ(StoredCoderType(record), stored) << "setting " << setting;
    }
}

TEST(ConfigRecord, IsRefusedWithoutARoute)
{
    const Orvane codec(true, true);
    FrameHeader record;
    EXPECT_FALSE(codec.FillConfig(record, kHostI420, 64, 64, kCodeYuv444));
    EXPECT_FALSE(codec.FillConfig(record, 300, 64, 64, kAnyFormat));
    EXPECT_EQ(codec.GetConfigSize(kHostI420, 64, 64, kCodeYuv444), 0U);
    EXPECT_EQ(codec.GetConfigSize(kHostI420, 64, 64, kCodeYuv420), 32U);
}

TEST(ConfigRecord, ParseTestsSizeMagicHeaderSizeAndVersion)
{
    const Orvane codec(true, true);
    FrameHeader good;
    ASSERT_TRUE(codec.FillConfig(good, kHostY8, 8, 8, kCodeGray));
    const auto parse = [](FrameHeader header, size_t size) {
        std::vector<uint8_t> bytes(std::max(size, sizeof header), 0);
        std::memcpy(bytes.data(), &header, sizeof header);
        return ParseConfig(nullptr, bytes.data(), size);
    };
    EXPECT_TRUE(parse(good, 32));
    EXPECT_FALSE(parse(good, 31));
    EXPECT_FALSE(parse(good, 33));
    FrameHeader longer = good;
    longer.headerSize = 2080;
    EXPECT_TRUE(parse(longer, 2080));
    longer.headerSize = 2081;
    EXPECT_FALSE(parse(longer, 2081)) << "a record has room for four tables of 512 bytes and no more";
    FrameHeader magic = good;
    magic.magic[3] = 'n';
    EXPECT_FALSE(parse(magic, 32));
    for (int version = 0; version < 256; ++version) {
        FrameHeader other = good;
        other.version = static_cast<uint8_t>(version);
        EXPECT_EQ(parse(other, 32), version <= 7) << "version " << version;
    }
    EXPECT_FALSE(ParseConfig(nullptr, nullptr, 32));
}

TEST(ConfigRecord, EffectiveMatrixFollowsTheFamily)
{
    for (int code = 0; code < 256; ++code) {
        const bool rgb = code == 101 || code == 102 || (code >= 109 && code <= 114) || code == 116 ||
                         code == 117 || code == 120 || code == 121;
        EXPECT_EQ(IsRgbFamily(code), rgb) << code;
        EXPECT_EQ(EffectiveMatrix(code, 0), 2U);
        EXPECT_EQ(EffectiveMatrix(code, 1), rgb ? 2U : 1U);
        EXPECT_EQ(EffectiveMatrix(code, 2), 2U);
        EXPECT_EQ(EffectiveMatrix(code, 3), 3U);
        EXPECT_EQ(EffectiveMatrix(code, 255), 255U);
        const bool yuv = (code >= 103 && code <= 108) || code == 115 || code == 118 || code == 119 ||
                         (code >= 123 && code <= 126);
        EXPECT_EQ(IsYuvFamily(code), yuv) << code;
    }
}

TEST(MaxCompressedSize, IsTheRawPlanesAndAFixedRest)
{
    const Orvane codec(true, true);
    EXPECT_EQ(codec.MaxCompressedSize(kHostI420, 720, 576, kCodeYuv420), 262144U + 720 * 576 * 3 / 2);
    EXPECT_EQ(codec.MaxCompressedSize(kHostY8, 5, 5, kCodeGray), 262144U + 28U);
    EXPECT_EQ(codec.MaxCompressedSize(kHostI420, 720, 576, kCodeYuv444), 0U);
    EXPECT_EQ(codec.MaxCompressedSize(kHostYv24, 65536, 32768, kCodeYuv444), 0U) << "beyond 32 bits";
}

TEST(CanCompress, AsksForTheMultiplesOfTheRoute)
{
    Orvane codec(true, true);
    EXPECT_TRUE(codec.CanCompress(kHostI420, kCodeYuv420, 4, 4));
    EXPECT_FALSE(codec.CanCompress(kHostI420, kCodeYuv420, 2, 4));
    EXPECT_FALSE(codec.CanCompress(kHostI420, kCodeYuv420, 4, 2));
    EXPECT_FALSE(codec.CanCompress(kHostI420, kCodeYuv420, 5, 4));
    EXPECT_FALSE(codec.CanCompress(kHostI420, kCodeYuv420, 6, 5));
    EXPECT_TRUE(codec.CanCompress(kHostI420, kCodeYuv420, 6, 6));
    EXPECT_TRUE(codec.CanCompress(kHostY8, kCodeGray, 5, 7));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 5, 3));
    EXPECT_TRUE(codec.CanCompress(kHostY8, kAnyFormat, 5, 7));
    EncodeSettings settings;
    settings.Interlaced = 1;
    codec.ApplyEncodeSettings(settings);
    EXPECT_FALSE(codec.CanCompress(kHostI420, kCodeYuv420, 6, 6));
    EXPECT_TRUE(codec.CanCompress(kHostI420, kCodeYuv420, 6, 8));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 5, 7));
    EXPECT_TRUE(codec.CanCompress(kHostY8, kCodeGray, 5, 8));
}

TEST(CanCompress, AsksTheInputMaskByCategory)
{
    Orvane codec(true, true);
    EncodeSettings settings;
    settings.InputColorSpace = 1U << (105 - 101);
    codec.ApplyEncodeSettings(settings);
    EXPECT_TRUE(codec.CanCompress(kHostYv12, kCodeYuv420, 8, 8));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 8, 8));
    EXPECT_FALSE(codec.CanCompress(kUnknownFormat, kCodeGray, 8, 8));
    EXPECT_FALSE(codec.CanCompress(256, kCodeGray, 8, 8));
    EXPECT_FALSE(codec.CanCompress(-1, kCodeGray, 8, 8));
}

TEST(CanCompress, RefusesWhatSigned32BitOffsetsDoNotReach)
{
    const Orvane codec(true, true);
    EXPECT_TRUE(codec.CanCompress(kHostY8, kCodeGray, 65536, 32767));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 65536, 32768));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 0xFFFFFFFF, 4));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 4, 0x80000000));
    // 2^20 blocks of 28 rows in one plane.
    EXPECT_TRUE(codec.CanCompress(kHostY8, kCodeGray, 4, 28U << 20));
    EXPECT_FALSE(codec.CanCompress(kHostY8, kCodeGray, 4, (28U << 20) + 1));
}

TEST(CanCompressWith, TakesForeignRecordsThatSuitThePicture)
{
    const Orvane codec(true, true);
    FrameHeader good;
    ASSERT_TRUE(codec.FillConfig(good, kHostI420, 64, 64, kCodeYuv420));
    const auto accepts = [&](const FrameHeader& header) {
        return codec.CanCompressWith(reinterpret_cast<const uint8_t*>(&header), sizeof header, kHostI420, 64,
                                     64);
    };
    EXPECT_TRUE(accepts(good));
    FrameHeader changed = good;
    changed.width = 62;
    EXPECT_FALSE(accepts(changed));
    changed = good;
    changed.height = 62;
    EXPECT_FALSE(accepts(changed));
    changed = good;
    changed.version = 5;
    changed.flags = kFlagOldCoderTables;
    changed.colorMatrix = 77;
    changed.maxCodeLength = 3;
    EXPECT_TRUE(accepts(changed)) << "everything else governs the run as it came";
    changed = good;
    changed.blockHeight = 0;
    EXPECT_FALSE(accepts(changed)) << "frames without blocks hold no picture";
    changed.blockHeight = 27;
    EXPECT_FALSE(accepts(changed)) << "half a chroma row";
    changed.blockHeight = 0xFFFFFFFF;
    EXPECT_TRUE(accepts(changed));

    FrameHeader tall;
    ASSERT_TRUE(codec.FillConfig(tall, kHostI420, 4, 100000, kCodeYuv420));
    const auto acceptsTall = [&] {
        return codec.CanCompressWith(reinterpret_cast<const uint8_t*>(&tall), sizeof tall, kHostI420, 4,
                                     100000);
    };
    EXPECT_TRUE(acceptsTall());
    tall.blockHeight =
        2; // 150,000 blocks of seven bytes beside their payload: more than a frame's bound leaves
    EXPECT_FALSE(acceptsTall());

    FrameHeader odd;
    ASSERT_TRUE(codec.FillConfig(odd, kHostI420, 64, 66, kCodeYuv420));
    EXPECT_TRUE(codec.CanCompressWith(reinterpret_cast<const uint8_t*>(&odd), sizeof odd, kHostI420, 64, 66));
    odd.flags |= kFlagInterlaced;
    EXPECT_FALSE(codec.CanCompressWith(reinterpret_cast<const uint8_t*>(&odd), sizeof odd, kHostI420, 64, 66))
        << "66 rows are no multiple of 4";
}

TEST(CanDecompress, TestsTheRecord)
{
    const Orvane codec(true, true);
    FrameHeader good;
    ASSERT_TRUE(codec.FillConfig(good, kHostI420, 64, 64, kCodeYuv420));
    const auto accepts = [&](const FrameHeader& header, FormatId output = kAnyFormat) {
        return codec.CanDecompress(reinterpret_cast<const uint8_t*>(&header), sizeof header, output);
    };
    EXPECT_TRUE(accepts(good));
    EXPECT_TRUE(accepts(good, kHostYv12));
    EXPECT_FALSE(accepts(good, kHostY8));
    const auto refuses = [&](auto change) {
        FrameHeader header = good;
        change(header);
        return !accepts(header);
    };
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.width = 63; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.height = 65; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) {
        header.height = 66;
        header.flags |= kFlagInterlaced;
    }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.maxCodeLength = 11; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.colorMatrix = 3; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.formatCode = 108; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.width = 0x80000000; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) { header.width = header.height = 0x10000; }));
    EXPECT_TRUE(refuses([](FrameHeader& header) {
        header.height = 4 << 20;
        header.blockHeight = 1;
    }));
    EXPECT_FALSE(refuses([](FrameHeader& header) { header.colorMatrix = 0; }));
    EXPECT_FALSE(refuses([](FrameHeader& header) { header.version = 0; }));
}

TEST(NativeTables, HoldTheFamiliesAndPartnersOfAllIds)
{
    // Every uncompressed id with a native format has a category, and the two differ for 16-bit layouts only.
    for (size_t id = 0; id < 101; ++id) {
        EXPECT_EQ(CategoryTable[id] == 0, NativeTable[id] == 0) << id;
        if (CategoryTable[id] == 116)
            EXPECT_EQ(NativeTable[id], 109) << id;
        else if (CategoryTable[id] == 117)
            EXPECT_EQ(NativeTable[id], 110) << id;
        else
            EXPECT_EQ(CategoryTable[id], NativeTable[id]) << id;
    }
    for (size_t id = 101; id < 256; ++id)
        EXPECT_EQ(CategoryTable[id], 0) << id;
    for (const size_t id : {0, 14, 15, 30, 51, 52, 53, 54, 55, 56, 59, 60, 61})
        EXPECT_EQ(NativeTable[id], 0) << id;
}

} // namespace
