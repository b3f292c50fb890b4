#include "driver/settings/settings_catalog.h"

#include "common/four_cc.h"
#include "driver/settings/accepted_input.h"
#include "driver/settings/settings_io.h"
#include "platform/processor_count.h"
#include "support/input_labels.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <set>

using namespace settings;

namespace {

const CatalogEntry& Setting(std::string_view key)
{
    static const std::vector<CatalogEntry> settings = ListSettings();
    const CatalogEntry* entry = FindSetting(settings, key);
    EXPECT_NE(entry, nullptr) << key;
    return entry ? *entry : settings.front();
}

TEST(SettingsCatalog, ListsEverySettingOnceAndNoVersion)
{
    std::set<std::string> keys;
    for (const CatalogEntry& entry : ListSettings())
        EXPECT_TRUE(keys.insert(entry.key).second) << entry.key;
    EXPECT_EQ(keys.size(), 11U + 7 * 8);
    for (const char* key :
         {"NumDecodeThreads", "EnableAdobeLog", "O8RG.CompMethod", "O8G0.InterpolateDownscale"})
        EXPECT_TRUE(keys.contains(key)) << key;
    for (const char* key : {"Version", "O8RG.Version", "ORVN.CompMethod", "CompMethod"})
        EXPECT_FALSE(keys.contains(key)) << key;
}

TEST(SettingsCatalog, KeysAreFoundWithoutRegardToCase)
{
    const std::vector<CatalogEntry> settings = ListSettings();
    EXPECT_EQ(FindSetting(settings, "o8y2.compmethod"), FindSetting(settings, "O8Y2.CompMethod"));
    EXPECT_EQ(FindSetting(settings, "O8Y2"), nullptr);
    EXPECT_EQ(FindSetting(settings, ""), nullptr);
}

TEST(SettingsCatalog, DefaultsAreWhatAnEmptyStoreGives)
{
    const TestStore store;
    for (const CatalogEntry& entry : ListSettings()) {
        EXPECT_EQ(LoadSetting(entry), entry.defaultValue) << entry.key;
        EXPECT_TRUE(entry.rule.Allows(entry.defaultValue) || platform::ProcessorCount() > 64) << entry.key;
        EXPECT_STRNE(entry.summary, "") << entry.key;
    }
}

TEST(SettingsCatalog, EveryAllowedValueComesBackAndAResetBringsTheDefault)
{
    const TestStore store;
    for (const CatalogEntry& entry : ListSettings()) {
        for (const uint32_t value : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 13U, 29U, 64U, 65U, 0xFFFFFFFFU}) {
            const uint32_t before = LoadSetting(entry);
            const std::optional<uint32_t> stored = StoreSetting(entry, value);
            EXPECT_EQ(stored.has_value(), entry.rule.Allows(value)) << entry.key << ' ' << value;
            EXPECT_EQ(LoadSetting(entry), stored.value_or(before)) << entry.key << ' ' << value;
        }
        EXPECT_EQ(ResetSettings({&entry, 1}), nullptr);
        EXPECT_EQ(LoadSetting(entry), entry.defaultValue) << entry.key;
    }
}

TEST(SettingsCatalog, AllAreLoadedAndResetTogether)
{
    const TestStore store;
    const std::vector<CatalogEntry> settings = ListSettings();
    std::vector<uint32_t> expected, defaults;
    for (const CatalogEntry& entry : settings) {
        const uint32_t other = entry.rule.Allows(1) ? 1 : 2;
        expected.push_back(StoreSetting(entry, other).value_or(entry.defaultValue));
        defaults.push_back(entry.defaultValue);
    }
    EXPECT_NE(expected, defaults);
    EXPECT_EQ(LoadSettings(settings), expected);
    EXPECT_EQ(ResetSettings(settings), nullptr);
    EXPECT_EQ(LoadSettings(settings), defaults);
    EXPECT_TRUE(TestStore::List("Software\\Orvane").empty());
    EXPECT_TRUE(TestStore::List("Software\\Orvane\\O8Y2").empty());
}

TEST(SettingsCatalog, StoresWhereTheDriverReads)
{
    const TestStore store;
    EXPECT_EQ(StoreSetting(Setting("O8Y2.CompMethod"), 3), 3U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "CompMethod"), 3U);
    EXPECT_EQ(StoreSetting(Setting("EnableCodecLog"), 1), 1U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableCodecLog"), 1U);
    EXPECT_EQ(StoreSetting(Setting("EnableAdobeLog"), 1), 1U);
    EXPECT_EQ(LoadAdobeLog(), 1U);
}

TEST(SettingsCatalog, LeftIsStoredAsDynamic)
{
    const TestStore store;
    EXPECT_EQ(StoreSetting(Setting("O8RG.CompMethod"), 1), 4U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8RG", "CompMethod"), 4U);
}

TEST(SettingsCatalog, RefusesWhatNoDialogCouldStore)
{
    const TestStore store;
    struct Row {
        const char* key;
        uint32_t value;
        bool allowed;
    };
    constexpr Row rows[] = {
        {"O8Y2.CompMethod", 0, false},
        {"O8Y2.CompMethod", 5, false},
        {"O8Y2.ColorMatrix", 0, false},
        {"O8Y2.ColorMatrix", 3, false},
        {"O8Y2.NumEncodeThreads", 0, false},
        {"O8Y2.NumEncodeThreads", 64, true},
        {"O8Y2.NumEncodeThreads", 65, false},
        {"O8Y2.Interlaced", 2, false},
        {"NotificationSettings", 15, true},
        {"NotificationSettings", 16, false},
        {"DecompSettings_YUV400", 29, true},
        {"DecompSettings_YUV400", 2, false},
        {"DecompSettings_YUV420", 13, true},
        {"DecompSettings_YUV420", 16, false},
        {"DecompSettings_YUV422", 5, true},
        {"DecompSettings_YUV422", 8, false},
        {"DecompSettings_YUV444", 0, true},
        {"DecompSettings_YUV444", 4, false},
        {"O8RG.InputColorSpace", 1, true},
        {"O8RG.InputColorSpace", 2, false},
        {"O8RG.InputColorSpace", 0, false},
        {"O8RG.InputColorSpace", 0xFFFFFFFF, true},
        {"O8YA.InputColorSpace", 2 | 32, true},
        {"O8YA.InputColorSpace", 1 | 32, false},
        {"O8G0.InputColorSpace", 1 | 4 | 8 | 16 | 64, true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(StoreSetting(Setting(row.key), row.value).has_value(), row.allowed)
            << row.key << ' ' << row.value;
}

TEST(AcceptedInput, CategoriesHaveTheirBits)
{
    struct Row {
        FormatId category;
        uint32_t bit;
    };
    constexpr Row rows[] = {{101, 1},     {103, 4},    {104, 8},      {105, 16},   {107, 64},
                            {102, 2},     {106, 32},   {118, 131072}, {108, 128},  {123, 4194304},
                            {115, 16384}, {109, 256},  {110, 512},    {111, 1024}, {112, 2048},
                            {113, 4096},  {114, 8192}, {116, 32768},  {117, 65536}};
    ASSERT_EQ(std::size(rows), std::size(kInputCategories));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(kInputCategories[i].category, rows[i].category);
        EXPECT_EQ(CategoryBit(kInputCategories[i].category), rows[i].bit) << rows[i].category;
    }
}

TEST(AcceptedInput, LabelsNameEveryLayoutOfAFamilyOnce)
{
    constexpr const char* kLabels[] = {kRgbLabel,  kYuv444Label, kYuv422Label, kYuv420Label,
                                       kGrayLabel, kRgbaLabel,   kYuvaLabel};
    for (size_t i = 0; i < std::size(kLabels); ++i)
        EXPECT_EQ(InputLabel(kInputCategories[i]), kLabels[i]);
}

TEST(AcceptedInput, EveryVariantHasARowAndTakesItsOwnCategory)
{
    for (const CodecVariant& variant : BuildVariantTable()) {
        const VariantTraits* traits = FindVariantTraits(variant.Id);
        ASSERT_EQ(traits != nullptr, !IsGeneric(variant)) << variant.Name;
        EXPECT_TRUE(!traits || traits->acceptedInput & CategoryBit(variant.Id)) << variant.Name;
    }
}

TEST(AcceptedInput, VariantsTakeWhatTheyCanBeMadeFrom)
{
    struct Row {
        FormatId id;
        uint32_t accepted;
        bool color, interpolate;
    };
    constexpr Row rows[] = {{101, 1, false, false},
                            {102, 2, false, false},
                            {103, 1 | 4, true, false},
                            {104, 1 | 4 | 8, true, true},
                            {105, 1 | 4 | 8 | 16, true, true},
                            {106, 2 | 32, true, false},
                            {107, 1 | 4 | 8 | 16 | 64, true, false}};
    for (const Row& row : rows) {
        const VariantTraits* traits = FindVariantTraits(row.id);
        ASSERT_NE(traits, nullptr);
        EXPECT_EQ(traits->acceptedInput, row.accepted) << row.id;
        EXPECT_EQ(traits->hasColorControls, row.color) << row.id;
        EXPECT_EQ(traits->hasInterpolate, row.interpolate) << row.id;
    }
    EXPECT_EQ(FindVariantTraits(100), nullptr);
    EXPECT_EQ(FindVariantTraits(116), nullptr);
}

} // namespace
