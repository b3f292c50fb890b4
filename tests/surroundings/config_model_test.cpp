#include "surroundings/config_model.h"

#include "driver/settings/settings_io.h"
#include "platform/processor_count.h"
#include "support/test_store.h"
#include "surroundings/adobe_config_model.h"
#include "surroundings/fake_controls.h"
#include "surroundings/resource_ids.h"

using namespace settings;
using namespace surroundings;

namespace {

FakeControls ConfigControls()
{
    return {40005, 40013, 40012, 40014, 40015, 40016, 40017, 40003, 40018, 40000, 1, 2};
}

FakeControls AdobeControls()
{
    return {40003, 40018, 1, 2};
}

/// Child dialogs that change one value and are confirmed or not, and a shell that notes what it opened.
class FakeActions final : public DialogActions
{
  public:
    void EditDecompression(DecodeSettings& decode) override
    {
        if (confirm)
            decode.DecompSettings_YUV422 = 5;
    }
    void EditCompression(std::vector<CodecVariant>& rows) override
    {
        if (confirm)
            rows.back().Encode.CompMethod = 3;
    }
    void OpenFolder(const std::filesystem::path& folder) override { opened.push_back(folder); }

    bool confirm = true;
    std::vector<std::filesystem::path> opened;
};

ConfigModel ModelWith(const DecodeSettings& decode)
{
    return ConfigModel(decode, BuildVariantTable());
}

TEST(ConfigModel, ShowsTheRecord)
{
    for (uint32_t bits = 0; bits < 64; ++bits) {
        DecodeSettings decode;
        decode.NotificationSettings = bits & 15;
        decode.EnableCodecLog = bits >> 4 & 1;
        decode.IgnoreClientConfig = bits >> 5 & 1;
        FakeControls controls = ConfigControls();
        ModelWith(decode).Init(controls);
        EXPECT_EQ(controls[40014].checked, (bits & 1) != 0);
        EXPECT_EQ(controls[40015].checked, (bits & 3) == 3) << "no balloon without an icon";
        EXPECT_EQ(controls[40016].checked, (bits & 4) != 0);
        EXPECT_EQ(controls[40017].checked, (bits & 12) == 12);
        EXPECT_EQ(controls[40015].enabled, (bits & 1) != 0);
        EXPECT_EQ(controls[40017].enabled, (bits & 4) != 0);
        EXPECT_EQ(controls[40003].checked, (bits & 16) != 0);
        EXPECT_EQ(controls[40000].checked, (bits & 32) != 0);
    }
}

TEST(ConfigModel, ShowsTheVersionAndTwoTips)
{
    FakeControls controls = ConfigControls();
    ModelWith({}).Init(controls);
    EXPECT_EQ(controls[40005].text, "Version: 2.4.1 (Standard)");
    ASSERT_EQ(controls[40003].tools.size(), 1U);
    EXPECT_EQ(
        controls[40003].tools[0].text,
        "Create logfiles for every compression/decompression session.\n\nThe logs contain detailed "
        "information "
        "about codec communication with the application using it.\nThis can be very useful to troubleshoot "
        "format conversion issues, among others.\n\nThe logs also contain timing information, measuring the "
        "time the codec spends processing frames.\nThis is raw codec-only processing time, excluding disk "
        "I/O "
        "etc., and can be very useful to measure codec performance while in use and to see whether the codec "
        "is "
        "the bottleneck if there is a performance problem.");
    ASSERT_EQ(controls[40000].tools.size(), 1U);
    EXPECT_EQ(controls[40000].tools[0].text,
              "Ignore codec configuration set from inside applications and use only "
              "global codec settings instead.");
}

TEST(ConfigModel, TakingAnIconAwayTakesItsBalloonAwayAtOnce)
{
    struct Row {
        int tray, balloon;
        uint32_t balloonBit;
    };
    for (const Row& row : {Row{40014, 40015, 2}, Row{40016, 40017, 8}}) {
        DecodeSettings decode;
        decode.NotificationSettings = 15;
        ConfigModel model = ModelWith(decode);
        FakeControls controls = ConfigControls();
        FakeActions actions;
        model.Init(controls);
        controls[row.tray].checked = false;
        EXPECT_EQ(model.Command(controls, row.tray, actions), DialogEnd::Stay);
        EXPECT_FALSE(controls[row.balloon].enabled);
        EXPECT_FALSE(controls[row.balloon].checked);
        EXPECT_EQ(model.Decode.NotificationSettings, 15 & ~row.balloonBit) << "in the record even before OK";
        controls[row.tray].checked = true;
        model.Command(controls, row.tray, actions);
        EXPECT_TRUE(controls[row.balloon].enabled);
        EXPECT_FALSE(controls[row.balloon].checked) << "it does not come back by itself";
    }
}

TEST(ConfigModel, OkCollectsTheBoxesAndNothingElse)
{
    for (uint32_t bits = 0; bits < 64; ++bits) {
        DecodeSettings decode;
        decode.NotificationSettings = 0xF0; // bits without a box
        decode.EnableCodecLog = decode.IgnoreClientConfig = 7;
        ConfigModel model = ModelWith(decode);
        FakeControls controls = ConfigControls();
        FakeActions actions;
        model.Init(controls);
        for (int i = 0; i < 4; ++i)
            controls[40014 + i].checked = (bits >> i & 1) != 0;
        controls[40003].checked = (bits & 16) != 0;
        controls[40000].checked = (bits & 32) != 0;
        EXPECT_EQ(model.Command(controls, 1, actions), DialogEnd::Ok);
        DecodeSettings expected;
        expected.NotificationSettings = 0xF0 | (bits & 15);
        expected.EnableCodecLog = bits >> 4 & 1;
        expected.IgnoreClientConfig = bits >> 5 & 1;
        EXPECT_EQ(model.Decode, expected) << bits;
    }
}

TEST(ConfigModel, CancelAndOtherCommandsCollectNothing)
{
    ConfigModel model = ModelWith({});
    FakeControls controls = ConfigControls();
    FakeActions actions;
    model.Init(controls);
    controls[40003].checked = true;
    EXPECT_EQ(model.Command(controls, 2, actions), DialogEnd::Cancel);
    EXPECT_EQ(model.Command(controls, 40003, actions), DialogEnd::Stay);
    EXPECT_EQ(model.Command(controls, 40099, actions), DialogEnd::Stay);
    EXPECT_EQ(model.Decode, DecodeSettings{});
}

TEST(ConfigModel, ConfirmedChildDialogsChangeTheCopiesOnly)
{
    const TestStore store;
    ConfigModel model = ConfigModel::Load();
    FakeControls controls = ConfigControls();
    FakeActions actions;
    model.Init(controls);
    actions.confirm = false;
    model.Command(controls, 40012, actions);
    model.Command(controls, 40013, actions);
    EXPECT_EQ(model.Decode.DecompSettings_YUV422, 1U);
    EXPECT_EQ(model.Rows.back().Encode.CompMethod, 4U);
    actions.confirm = true;
    model.Command(controls, 40012, actions);
    model.Command(controls, 40013, actions);
    EXPECT_EQ(model.Decode.DecompSettings_YUV422, 5U);
    EXPECT_EQ(model.Rows.back().Encode.CompMethod, 3U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "DecompSettings_YUV422"), std::nullopt)
        << "nothing is stored yet";
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8G0", "CompMethod"), std::nullopt);

    EXPECT_EQ(model.Command(controls, 1, actions), DialogEnd::Ok);
    model.Save();
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "DecompSettings_YUV422"), 5U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8G0", "CompMethod"), 3U);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8RG", "CompMethod"), 4U)
        << "rows are stored changed or not";
    EXPECT_TRUE(TestStore::List("Software\\Orvane\\ORVN").empty()) << "the generic decoder has no key";
}

TEST(ConfigModel, LoadsWhatIsStored)
{
    const TestStore store;
    TestStore::Write("Software\\Orvane", "NotificationSettings", 10);
    TestStore::Write("Software\\Orvane\\O8Y2", "ColorMatrix", 1);
    const ConfigModel model = ConfigModel::Load();
    EXPECT_EQ(model.Decode.NotificationSettings, 10U);
    EXPECT_EQ(model.Decode.NumDecodeThreads, static_cast<uint32_t>(platform::ProcessorCount()));
    for (const CodecVariant& row : model.Rows)
        EXPECT_EQ(row.Encode.ColorMatrix, row.Id == kCodeYuv422 ? 1U : 2U) << row.Name;
}

TEST(AdobeConfigModel, ShowsTheStoredFlagAndOneTip)
{
    for (const uint32_t stored : {0U, 1U, 9U}) {
        const TestStore store;
        TestStore::Write("Software\\Orvane", "EnableAdobeLog", stored);
        FakeControls controls = AdobeControls();
        AdobeConfigModel::Init(controls);
        EXPECT_EQ(controls[40003].checked, stored != 0);
        ASSERT_EQ(controls[40003].tools.size(), 1U);
        EXPECT_EQ(controls[40003].tools[0].text, "Create logfiles while using the Orvane for Adobe "
                                                 "plugins.\n\nThese logs are huge, so only enable "
                                                 "them for debugging purposes.");
    }
}

TEST(AdobeConfigModel, StoresOnOkOnly)
{
    const TestStore store;
    FakeControls controls = AdobeControls();
    FakeActions actions;
    AdobeConfigModel::Init(controls);
    EXPECT_FALSE(controls[40003].checked) << "off when nothing is stored";
    controls[40003].checked = true;
    EXPECT_EQ(AdobeConfigModel::Command(controls, 2, actions), DialogEnd::Cancel);
    EXPECT_EQ(AdobeConfigModel::Command(controls, 40003, actions), DialogEnd::Stay);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableAdobeLog"), std::nullopt);
    EXPECT_EQ(AdobeConfigModel::Command(controls, 1, actions), DialogEnd::Ok);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableAdobeLog"), 1U);
    controls[40003].checked = false;
    AdobeConfigModel::Command(controls, 1, actions);
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableAdobeLog"), 0U);
}

} // namespace
