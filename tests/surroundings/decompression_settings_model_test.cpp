#include "surroundings/decompression_settings_model.h"

#include "platform/processor_count.h"
#include "surroundings/fake_controls.h"
#include "surroundings/resource_ids.h"

using namespace surroundings;

namespace {

FakeControls Controls()
{
    return {40000, 40001, 40100, 40101, 40102, 40103, 40104, 40105,
            40106, 40107, 40108, 40109, 40110, 40111, 1,     2};
}

struct BoxRow {
    int id;
    uint32_t DecodeSettings::*mask;
    uint32_t value;
};

constexpr BoxRow kBoxes[] = {
    {40100, &DecodeSettings::DecompSettings_YUV400, 16}, {40101, &DecodeSettings::DecompSettings_YUV400, 8},
    {40102, &DecodeSettings::DecompSettings_YUV400, 4},  {40103, &DecodeSettings::DecompSettings_YUV400, 1},
    {40104, &DecodeSettings::DecompSettings_YUV420, 8},  {40107, &DecodeSettings::DecompSettings_YUV420, 4},
    {40108, &DecodeSettings::DecompSettings_YUV420, 1},  {40105, &DecodeSettings::DecompSettings_YUV422, 4},
    {40106, &DecodeSettings::DecompSettings_YUV422, 1},  {40109, &DecodeSettings::DecompSettings_YUV444, 1},
};

/// A record with a count of its own and all conversions off.
DecodeSettings EmptyRecord()
{
    DecodeSettings decode;
    decode.NumDecodeThreads = 7;
    decode.AutoDecodeThreads = 0;
    for (const BoxRow& box : kBoxes)
        decode.*box.mask = 0;
    return decode;
}

TEST(DecompressionSettingsModel, EachBoxShowsAndStoresItsOwnBit)
{
    for (const BoxRow& box : kBoxes) {
        DecodeSettings expected = EmptyRecord();
        expected.*box.mask = box.value;
        FakeControls controls = Controls();
        DecompressionSettingsModel(expected).Init(controls);
        for (const BoxRow& other : kBoxes)
            EXPECT_EQ(controls[other.id].checked, other.id == box.id) << box.id << ' ' << other.id;

        DecompressionSettingsModel model(EmptyRecord());
        model.Init(controls);
        controls[box.id].checked = true;
        EXPECT_EQ(model.Command(controls, 1), DialogEnd::Ok);
        EXPECT_EQ(model.Decode, expected) << box.id;
    }
}

TEST(DecompressionSettingsModel, BitsWithoutABoxAreLostOnConfirmation)
{
    DecodeSettings decode = EmptyRecord();
    decode.DecompSettings_YUV400 = 0xFFFFFFFF;
    decode.DecompSettings_YUV420 = 2 | 16 | 8;
    decode.DecompSettings_YUV422 = 2;
    decode.DecompSettings_YUV444 = 0xFFFFFFFE;
    DecompressionSettingsModel model(decode);
    FakeControls controls = Controls();
    model.Init(controls);
    model.Command(controls, 1);
    EXPECT_EQ(model.Decode.DecompSettings_YUV400, 29U);
    EXPECT_EQ(model.Decode.DecompSettings_YUV420, 8U);
    EXPECT_EQ(model.Decode.DecompSettings_YUV422, 0U);
    EXPECT_EQ(model.Decode.DecompSettings_YUV444, 0U);
}

TEST(DecompressionSettingsModel, SetDefaultsGivesTheDefaultMasksAndNoRgbFirst)
{
    DecodeSettings decode = EmptyRecord();
    decode.DecompSettings_YUV400 = decode.DecompSettings_YUV420 = 4;
    decode.DecompSettings_YUV422 = 4;
    decode.SuggestRGB = 1;
    DecompressionSettingsModel model(decode);
    FakeControls controls = Controls();
    model.Init(controls);
    EXPECT_TRUE(controls[40111].checked);
    EXPECT_EQ(model.Command(controls, 40110), DialogEnd::Stay);
    for (const int on : {40100, 40101, 40103, 40104, 40106, 40108, 40109})
        EXPECT_TRUE(controls[on].checked) << on;
    for (const int off : {40102, 40105, 40107, 40111})
        EXPECT_FALSE(controls[off].checked) << off;
    EXPECT_EQ(model.Decode, decode) << "nothing is collected before OK";
    model.Command(controls, 1);
    DecodeSettings expected; // the masks 25, 9, 1, 1
    expected.NumDecodeThreads = 7;
    expected.AutoDecodeThreads = 0;
    EXPECT_EQ(model.Decode, expected) << "and threads stay as they were";
}

TEST(DecompressionSettingsModel, SuggestRgbIsStored)
{
    DecompressionSettingsModel model(EmptyRecord());
    FakeControls controls = Controls();
    model.Init(controls);
    controls[40111].checked = true;
    model.Command(controls, 1);
    EXPECT_EQ(model.Decode.SuggestRGB, 1U);
}

TEST(DecompressionSettingsModel, AutomaticThreadsLockTheEditOnTheProcessorCount)
{
    const auto processors = static_cast<uint32_t>(platform::ProcessorCount());
    DecodeSettings decode = EmptyRecord();
    decode.NumDecodeThreads = processors + 3;
    DecompressionSettingsModel model(decode);
    FakeControls controls = Controls();
    model.Init(controls);
    EXPECT_TRUE(controls[40000].enabled);
    EXPECT_EQ(controls[40000].number, processors + 3);
    EXPECT_EQ(controls[40000].upDown, (std::pair{1, 64}));

    controls[40001].checked = true;
    EXPECT_EQ(model.Command(controls, 40001), DialogEnd::Stay);
    EXPECT_FALSE(controls[40000].enabled);
    EXPECT_EQ(controls[40000].number, processors);
    model.Command(controls, 1);
    EXPECT_EQ(model.Decode.AutoDecodeThreads, 1U);
    EXPECT_EQ(model.Decode.NumDecodeThreads, processors) << "the shown number is stored too";

    controls[40001].checked = false;
    model.Command(controls, 40001);
    EXPECT_TRUE(controls[40000].enabled);
    EXPECT_EQ(controls[40000].number, processors);
    controls[40000].number = 65; // typed: only the arrows have a range
    model.Command(controls, 1);
    EXPECT_EQ(model.Decode.AutoDecodeThreads, 0U);
    EXPECT_EQ(model.Decode.NumDecodeThreads, 65U);
}

TEST(DecompressionSettingsModel, StartsLockedWhenAutomatic)
{
    DecodeSettings decode;
    decode.NumDecodeThreads = 63;
    FakeControls controls = Controls();
    DecompressionSettingsModel(decode).Init(controls);
    EXPECT_TRUE(controls[40001].checked);
    EXPECT_FALSE(controls[40000].enabled);
    EXPECT_EQ(controls[40000].number, static_cast<uint32_t>(platform::ProcessorCount()));
}

TEST(DecompressionSettingsModel, CancelCollectsNothing)
{
    DecompressionSettingsModel model(EmptyRecord());
    FakeControls controls = Controls();
    model.Init(controls);
    controls[40100].checked = true;
    EXPECT_EQ(model.Command(controls, 2), DialogEnd::Cancel);
    EXPECT_EQ(model.Command(controls, 40100), DialogEnd::Stay);
    EXPECT_EQ(model.Decode, EmptyRecord());
}

TEST(DecompressionSettingsModel, HasTwoTips)
{
    FakeControls controls = Controls();
    DecompressionSettingsModel(EmptyRecord()).Init(controls);
    ASSERT_EQ(controls[40110].tools.size(), 1U);
    EXPECT_EQ(controls[40110].tools[0].text, "Set up conversion settings (the checkboxes above) to be most "
                                             "compatible with Avisynth, avoiding unnecessary "
                                             "upscaling.\n\nAvisynth doesn't ask the codec for the preferred "
                                             "output format, instead it tries formats in a "
                                             "hard-coded order and picks the first supported by the "
                                             "decoder.\nThis order is:\nYV24, YV16, YV12, YV411, "
                                             "YUY2, RGB32, RGB24 and Y8\nThis would result in unnecessary "
                                             "upscaling to YV24 from YV12 and YUY2 for "
                                             "example.\nTo avoid this from happening, this sets up allowed "
                                             "output conversions accordingly.\n\nNOTE: Y8 is "
                                             "not easy to set up this way, as Avisynth tries that last, and "
                                             "that would require all conversions to be "
                                             "disabled for it, and preventing decoding Y8 to RGB would make "
                                             "it impossible to view it in media players.");
    ASSERT_EQ(controls[40111].tools.size(), 1U);
    EXPECT_EQ(
        controls[40111].tools[0].text,
        "Instead of the native output of the compressed format, always suggest RGB for output first if "
        "conversion is "
        "allowed.\n\nThis is not normally needed, only in special cases when you always need RGB output "
        "explicitly.\n\nNOTE:\nThis does not prevent the codec from outputting the native or other "
        "convertible "
        "formats if explicitly asked to do so.\nAlso, this setting only applies to formats which have "
        "conversion to "
        "RGB enabled.");
}

} // namespace
