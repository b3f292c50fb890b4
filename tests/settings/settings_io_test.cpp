#include "driver/settings/settings_io.h"

#include "common/four_cc.h"
#include "driver/settings/settings_table.h"
#include "platform/processor_count.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

using namespace settings;

namespace {

constexpr char kY2[] = "Software\\Orvane\\O8Y2";

uint32_t Processors()
{
    return static_cast<uint32_t>(platform::ProcessorCount());
}

CodecVariant VariantOf(FormatId id)
{
    for (const CodecVariant& variant : BuildVariantTable())
        if (variant.Id == id)
            return variant;
    ADD_FAILURE() << "no variant " << id;
    return {};
}

EncodeSettings LoadY2()
{
    CodecVariant variant = VariantOf(kCodeYuv422);
    LoadVariantSettings(variant);
    return variant.Encode;
}

DecodeSettings LoadGlobal()
{
    DecodeSettings decode;
    LoadGlobalSettings(decode);
    return decode;
}

/// A record in which every word is another one.
template <class Record>
Record NumberedRecord(uint32_t first)
{
    uint32_t words[sizeof(Record) / 4];
    for (uint32_t& word : words)
        word = first++;
    Record record;
    std::memcpy(&record, words, sizeof record);
    return record;
}

std::set<std::string> NamesIn(const char* path)
{
    std::set<std::string> names;
    for (const platform::SettingsValue& value : TestStore::List(path))
        names.insert(value.name);
    return names;
}

TEST(VariantTable, HasTheGenericDecoderAndTheSevenFormatsInOrder)
{
    struct Row {
        FormatId id;
        const char* fourCC;
        const char* name;
        const char* description;
    };
    constexpr Row rows[] = {
        {0, "ORVN", "Orvane Gen.", "Orvane Decoder (Generic)"},
        {101, "O8RG", "Orvane RGB", "Orvane - RGB"},
        {102, "O8RA", "Orvane RGBA", "Orvane - RGBA"},
        {106, "O8YA", "Orvane YUVA", "Orvane - YUVA 4:4:4:4"},
        {103, "O8Y4", "Orvane YUV444", "Orvane - YUV 4:4:4"},
        {104, "O8Y2", "Orvane YUV422", "Orvane - YUV 4:2:2"},
        {105, "O8Y0", "Orvane YUV420", "Orvane - YUV 4:2:0"},
        {107, "O8G0", "Orvane YUV400", "Orvane - YUV 4:0:0 (Greyscale)"},
    };
    const std::vector<CodecVariant> table = BuildVariantTable();
    ASSERT_EQ(table.size(), std::size(rows));
    for (size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table[i].Id, rows[i].id);
        EXPECT_EQ(FourCCText(table[i].FourCC), rows[i].fourCC);
        EXPECT_EQ(table[i].Name, rows[i].name);
        EXPECT_LE(table[i].Name.size(), 15U) << "has to fit ICINFO::szName";
        EXPECT_EQ(table[i].Description, rows[i].description);
        EXPECT_EQ(table[i].Encode, EncodeSettings{});
    }
    EXPECT_EQ(table[1].FourCC, 0x4752384FU) << "the first character is the lowest byte";
}

TEST(GlobalSettings, EmptyStoreGivesDefaultsAndTheProcessorCount)
{
    const TestStore store;
    DecodeSettings expected;
    expected.NumDecodeThreads = Processors();
    EXPECT_EQ(LoadGlobal(), expected);
    EXPECT_EQ(LoadGlobal().AutoDecodeThreads, 1U);
}

TEST(GlobalSettings, EveryStoredValueComesBackButTheVersion)
{
    const TestStore store;
    const auto saved = NumberedRecord<DecodeSettings>(1000);
    SaveGlobalSettings(saved);
    DecodeSettings expected = saved;
    expected.Version = 101;
    EXPECT_EQ(LoadGlobal(), expected) << "no value is clamped";
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "Version"), 1000U);
}

TEST(GlobalSettings, AreStoredUnderTheirNames)
{
    const TestStore store;
    SaveGlobalSettings({});
    const std::set<std::string> expected = {"Version",
                                            "NumDecodeThreads",
                                            "AutoDecodeThreads",
                                            "DecompSettings_YUV400",
                                            "DecompSettings_YUV420",
                                            "DecompSettings_YUV422",
                                            "DecompSettings_YUV444",
                                            "SuggestRGB",
                                            "NotificationSettings",
                                            "EnableCodecLog",
                                            "IgnoreClientConfig"};
    EXPECT_EQ(NamesIn("Software\\Orvane"), expected);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "DecompSettings_YUV400"), 25U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "NotificationSettings"), 5U);
}

TEST(GlobalSettings, EachValueIsReadFromItsOwnName)
{
    for (const SettingRow<DecodeSettings>& row : kGlobalSettings) {
        const TestStore store;
        TestStore::Write("Software\\Orvane", row.name, 77);
        DecodeSettings expected;
        expected.NumDecodeThreads = Processors();
        if (row.reading != Reading::Never)
            expected.*row.field = 77;
        EXPECT_EQ(LoadGlobal(), expected) << row.name;
    }
}

TEST(GlobalSettings, SavingRemovesTheValuesOfTheEarlierLayoutAndNothingElse)
{
    const TestStore store;
    const char* const retired[] = {"AdaptiveCoding", "NumThreads",  "AutoThreads",  "CompressMode",
                                   "EnableRGBA",     "CompMethod",  "CoderType",    "InputColorSpace",
                                   "Interlaced",     "ColorMatrix", "FullRangeYUV", "InterpolateDownscale"};
    for (const char* name : retired)
        TestStore::Write("Software\\Orvane", name, 1);
    TestStore::Write("Software\\Orvane", "EnableAdobeLog", 1);
    SaveGlobalSettings({});
    for (const char* name : retired)
        EXPECT_EQ(TestStore::Read("Software\\Orvane", name), std::nullopt) << name;
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableAdobeLog"), 1U);
}

TEST(VariantSettings, EmptyStoreGivesDefaultsAndTheProcessorCount)
{
    const TestStore store;
    EncodeSettings expected;
    expected.NumEncodeThreads = Processors();
    EXPECT_EQ(LoadY2(), expected);
}

TEST(VariantSettings, ComeBackButVersionCoderTypeAndReservedWord)
{
    const TestStore store;
    CodecVariant variant = VariantOf(kCodeYuv422);
    variant.Encode = {7, 9, 0, 3, 1, 8, 1, 1, 1, 0, 5};
    SaveVariantSettings(variant);
    EXPECT_EQ(LoadY2(), (EncodeSettings{202, 9, 0, 3, 2, 8, 1, 1, 1, 0, 0}));
    EXPECT_EQ(NamesIn(kY2), (std::set<std::string>{"Version", "NumEncodeThreads", "AutoEncodeThreads",
                                                   "CompMethod", "InputColorSpace", "Interlaced",
                                                   "ColorMatrix", "FullRangeYUV", "InterpolateDownscale"}));
    EXPECT_EQ(TestStore::Read(kY2, "Version"), 7U);
    CodecVariant other = VariantOf(kCodeRgb);
    LoadVariantSettings(other);
    EXPECT_EQ(other.Encode.CompMethod, 4U) << "each variant has values of its own";
}

TEST(VariantSettings, OldGlobalValuesStandInForMissingOnes)
{
    struct Row {
        const char* oldName;
        uint32_t EncodeSettings::*field;
        const char* name;
    };
    constexpr Row rows[] = {
        {"AutoThreads", &EncodeSettings::AutoEncodeThreads, "AutoEncodeThreads"},
        {"CompMethod", &EncodeSettings::CompMethod, "CompMethod"},
        {"InputColorSpace", &EncodeSettings::InputColorSpace, "InputColorSpace"},
        {"Interlaced", &EncodeSettings::Interlaced, "Interlaced"},
        {"ColorMatrix", &EncodeSettings::ColorMatrix, "ColorMatrix"},
        {"FullRangeYUV", &EncodeSettings::FullRangeYUV, "FullRangeYUV"},
        {"InterpolateDownscale", &EncodeSettings::InterpolateDownscale, "InterpolateDownscale"}};
    for (const Row& row : rows)
        for (const uint32_t value : {1U, 2U, 3U}) {
            const TestStore store;
            TestStore::Write("Software\\Orvane", row.oldName, value);
            EncodeSettings expected;
            expected.NumEncodeThreads = Processors();
            expected.*row.field = value;
            ClampEncodeSettings(expected);
            EXPECT_EQ(LoadY2(), expected) << row.oldName;
            TestStore::Write(kY2, row.name, 2);
            expected.*row.field = 2;
            EXPECT_EQ(LoadY2(), expected) << row.name << " of the variant goes first";
        }
}

TEST(VariantSettings, OldThreadCountNeverStandsIn)
{
    const TestStore store;
    TestStore::Write("Software\\Orvane", "NumThreads", Processors() + 5);
    EXPECT_EQ(LoadY2().NumEncodeThreads, Processors());
}

TEST(VariantSettings, OldCoderTypeIsNotRead)
{
    const TestStore store;
    TestStore::Write("Software\\Orvane", "CoderType", 1);
    TestStore::Write(kY2, "CoderType", 1);
    EXPECT_EQ(LoadY2().CoderType, 2U);
}

TEST(VariantSettings, SavingTheGlobalRecordEndsTheOldValues)
{
    const TestStore store;
    TestStore::Write("Software\\Orvane", "CompMethod", 2);
    EXPECT_EQ(LoadY2().CompMethod, 2U);
    SaveGlobalSettings(LoadGlobal());
    EXPECT_EQ(LoadY2().CompMethod, 4U);
}

TEST(VariantSettings, MethodAndMatrixAreClampedWhenLoaded)
{
    for (const uint32_t stored : {0U, 1U, 2U, 3U, 4U, 5U, 200U, 0xFFFFFFFFU}) {
        const TestStore store;
        TestStore::Write(kY2, "CompMethod", stored);
        TestStore::Write(kY2, "ColorMatrix", stored);
        const bool known = stored == 0 || (stored >= 2 && stored <= 4);
        EXPECT_EQ(LoadY2().CompMethod, known ? stored : 4) << stored;
        EXPECT_EQ(LoadY2().ColorMatrix, stored == 1 ? 1U : 2U) << stored;
    }
}

TEST(ClampEncodeSettings, ChangesMethodMatrixAndCoderTypeOnly)
{
    for (uint32_t value = 0; value < 8; ++value) {
        auto encode = NumberedRecord<EncodeSettings>(100);
        encode.CompMethod = encode.ColorMatrix = encode.CoderType = value;
        EncodeSettings expected = encode;
        expected.CompMethod = value == 1 || value > 4 ? 4 : value;
        expected.ColorMatrix = value == 1 ? 1 : 2;
        expected.CoderType = value > 3 ? 2 : value;
        ClampEncodeSettings(encode);
        EXPECT_EQ(encode, expected) << value;
    }
}

TEST(AdobeLog, IsKeptInTheGlobalKeyAndAbsentAtFirst)
{
    const TestStore store;
    EXPECT_EQ(LoadAdobeLog(), std::nullopt);
    SaveAdobeLog(true);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableAdobeLog"), 1U);
    EXPECT_EQ(LoadAdobeLog(), 1U);
    SaveAdobeLog(false);
    EXPECT_EQ(LoadAdobeLog(), 0U);
}

TEST(SettingsTable, OldNamesGoAwayWhenTheGlobalRecordIsSaved)
{
    for (const SettingRow<EncodeSettings>& row : kVariantSettings) {
        const bool retired = !row.oldName || std::ranges::any_of(kRetiredGlobalNames, [&](const char* name) {
            return std::string_view(name) == row.oldName;
        });
        EXPECT_TRUE(retired) << row.name;
    }
}

} // namespace
