#include "surroundings/compression_settings_model.h"

#include "driver/settings/settings_io.h"
#include "platform/processor_count.h"
#include "support/input_labels.h"
#include "support/test_store.h"
#include "surroundings/fake_controls.h"
#include "surroundings/resource_ids.h"

using namespace settings;
using namespace surroundings;

namespace {

constexpr char kOrdinaryHost[] = "C:\\Programs\\editor.exe";
constexpr char kAfterburnerHost[] = "C:\\Programs\\MSI Afterburner\\capture.exe";

constexpr int kVariant = 40007, kInputs = 40006, kMatrixLabel = 40021, kMatrix = 40008, kInterlaced = 40009,
              kFullRange = 40010, kInterpolate = 40019, kThreads = 40000, kAuto = 40001, kMethod = 40002,
              kSaveDefault = 40011, kVersion = 40005, kOk = 1, kCancel = 2;

FakeControls Controls()
{
    return {kVariant,     kVersion, kInputs, kMatrixLabel, kMatrix,      kInterlaced, kFullRange,
            kInterpolate, kThreads, kAuto,   kMethod,      kSaveDefault, kOk,         kCancel};
}

using Item = FakeControls::Item;

CodecVariant VariantOf(FormatId id)
{
    for (const CodecVariant& variant : BuildVariantTable())
        if (variant.Id == id)
            return variant;
    ADD_FAILURE() << "no variant " << id;
    return {};
}

CompressionSettingsModel GlobalModel(const char* host = kOrdinaryHost)
{
    return {BuildVariantTable(), CompressionScope::Global, host};
}

CompressionSettingsModel ClientModel(CodecVariant variant, const char* host = kOrdinaryHost)
{
    return {{std::move(variant)}, CompressionScope::Client, host};
}

/// The user takes another row of the list.
void ChooseVariant(CompressionSettingsModel& model, FakeControls& controls, int index)
{
    controls.Select(kVariant, index);
    EXPECT_EQ(model.Command(controls, kVariant, kSelectionChanged), DialogEnd::Stay);
}

TEST(CompressionSettingsModel, ListsAllVariantsButTheGenericOne)
{
    CompressionSettingsModel model = GlobalModel();
    FakeControls controls = Controls();
    model.Init(controls);
    std::vector<std::string> texts;
    for (const Item& item : controls[kVariant].items)
        texts.push_back(item.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"Orvane - RGB", "Orvane - RGBA", "Orvane - YUVA 4:4:4:4",
                                               "Orvane - YUV 4:4:4", "Orvane - YUV 4:2:2",
                                               "Orvane - YUV 4:2:0", "Orvane - YUV 4:0:0 (Greyscale)"}));
    EXPECT_EQ(controls[kVariant].selection, 0);
    EXPECT_TRUE(controls[kVariant].enabled);
    EXPECT_EQ(controls[kVersion].text, "Version: 2.4.1 (Standard)");
    EXPECT_EQ(controls.title, "") << "the title of the template stays";
    EXPECT_EQ(model.Rows.size(), 7U);
}

TEST(CompressionSettingsModel, ListsOpenToTheirWidths)
{
    FakeControls controls = Controls();
    GlobalModel().Init(controls);
    EXPECT_EQ(controls[kVariant].droppedWidth, 220);
    EXPECT_EQ(controls[kInputs].droppedWidth, 300);
    EXPECT_EQ(controls[kMatrix].droppedWidth, 200);
    EXPECT_EQ(controls[kMethod].droppedWidth, 220);
    EXPECT_EQ(controls[kThreads].upDown, (std::pair{1, 64}));
}

TEST(CompressionSettingsModel, OffersWhatEachVariantAccepts)
{
    const Item all = {"All supported", 0xFFFFFFFF};
    const Item rgb = {kRgbLabel, 1};
    const Item yuv444 = {kYuv444Label, 4};
    const Item yuv422 = {kYuv422Label, 8};
    const Item yuv420 = {kYuv420Label, 16};
    const Item gray = {kGrayLabel, 64};
    const Item rgba = {kRgbaLabel, 2};
    const Item yuva = {kYuvaLabel, 32};
    const std::vector<std::vector<Item>> expected = {
        {all, rgb},                         // RGB
        {all, rgba},                        // RGBA
        {all, rgba, yuva},                  // YUVA
        {all, rgb, yuv444},                 // 4:4:4
        {all, rgb, yuv444, yuv422},         // 4:2:2
        {all, rgb, yuv444, yuv422, yuv420}, // 4:2:0
        {all, rgb, yuv444, yuv422, yuv420, gray},
    };
    CompressionSettingsModel model = GlobalModel();
    FakeControls controls = Controls();
    model.Init(controls);
    for (size_t i = 0; i < expected.size(); ++i) {
        ChooseVariant(model, controls, static_cast<int>(i));
        EXPECT_EQ(controls[kInputs].items, expected[i]) << model.Rows[i].Name;
        EXPECT_EQ(controls[kInputs].selection, 0);
    }
}

TEST(CompressionSettingsModel, DeepFormatsHaveListsOfTheirOwn)
{
    struct Row {
        FormatId id;
        std::vector<uint32_t> data;
        bool color;
    };
    const Row rows[] = {
        {108, {128}, true},
        {109, {256, 1024, 4096, 32768}, false},
        {110, {512, 2048, 8192, 65536}, false},
        {111, {1024, 4096, 32768}, false},
        {112, {2048, 8192, 65536}, false},
        {113, {4096, 32768}, false},
        {114, {8192, 65536}, false},
        {115, {131072, 128, 16384}, true},
        {118, {131072}, true},
        {123, {128, 4194304}, true},
    };
    for (const Row& row : rows) {
        CompressionSettingsModel model = ClientModel({row.id, 0, "", "", {}});
        FakeControls controls = Controls();
        model.Init(controls);
        std::vector<uint32_t> data;
        for (const Item& item : controls[kInputs].items)
            data.push_back(item.data);
        EXPECT_EQ(data.front(), 0xFFFFFFFFU);
        data.erase(data.begin());
        EXPECT_EQ(data, row.data) << row.id;
        EXPECT_EQ(controls[kMatrix].enabled, row.color) << row.id;
        EXPECT_FALSE(controls[kInterpolate].enabled) << row.id;
    }
}

TEST(CompressionSettingsModel, AnUnknownVariantTakesEverythingAndHasNoColorControls)
{
    FakeControls controls = Controls();
    ClientModel({99, 0, "", "", {}}).Init(controls);
    EXPECT_EQ(controls[kInputs].items, (std::vector<Item>{{"All supported", 0xFFFFFFFF}}));
    EXPECT_FALSE(controls[kMatrix].enabled);
}

TEST(CompressionSettingsModel, ControlsFollowTheVariant)
{
    CompressionSettingsModel model = GlobalModel();
    for (CodecVariant& row : model.Rows)
        row.Encode.FullRangeYUV = row.Encode.InterpolateDownscale = row.Encode.Interlaced = 1;
    FakeControls controls = Controls();
    model.Init(controls);
    for (int i = 0; i < 7; ++i) {
        ChooseVariant(model, controls, i);
        const FormatId id = model.Rows[static_cast<size_t>(i)].Id;
        const bool color = id >= 103;
        const bool interpolate = id == 104 || id == 105;
        EXPECT_EQ(controls[kMatrix].enabled, color) << id;
        EXPECT_EQ(controls[kMatrixLabel].enabled, color) << id;
        EXPECT_EQ(controls[kMatrix].items.size(), color ? 2U : 0U) << id;
        EXPECT_EQ(controls[kFullRange].enabled, color) << id;
        EXPECT_EQ(controls[kFullRange].checked, color) << id;
        EXPECT_EQ(controls[kInterpolate].enabled, interpolate) << id;
        EXPECT_EQ(controls[kInterpolate].checked, interpolate) << id;
        EXPECT_TRUE(controls[kInterlaced].enabled) << id;
        EXPECT_TRUE(controls[kInterlaced].checked) << id;
    }
    for (const CodecVariant& row : model.Rows)
        EXPECT_EQ(row.Encode.InterpolateDownscale, 1U) << row.Name << " keeps what it does not show";
}

TEST(CompressionSettingsModel, MatrixHasTwoItemsAndShowsTheStoredOne)
{
    for (const uint32_t matrix : {1U, 2U}) {
        CodecVariant variant = VariantOf(kCodeYuv444);
        variant.Encode.ColorMatrix = matrix;
        FakeControls controls = Controls();
        ClientModel(variant).Init(controls);
        EXPECT_EQ(controls[kMatrix].items, (std::vector<Item>{{"Rec.601 (SD video standard, older)", 1},
                                                              {"Rec.709 (HD video standard, newer)", 2}}));
        EXPECT_EQ(controls[kMatrix].selection, static_cast<int>(matrix) - 1);
    }
}

TEST(CompressionSettingsModel, MethodsHaveThreeItemsAndOthersShowAsDynamic)
{
    for (const uint32_t method : {0U, 1U, 2U, 3U, 4U, 5U, 0xFFFFFFFFU}) {
        CodecVariant variant = VariantOf(kCodeRgb);
        variant.Encode.CompMethod = method;
        CompressionSettingsModel model = ClientModel(variant);
        FakeControls controls = Controls();
        model.Init(controls);
        EXPECT_EQ(controls[kMethod].items, (std::vector<Item>{{"Gradient (faster decode)", 2},
                                                              {"Median (fast encode - good compression)", 3},
                                                              {"Dynamic (max. compression)", 4}}));
        EXPECT_EQ(controls[kMethod].selection, method == 2 ? 0 : method == 3 ? 1 : 2) << method;
        model.Command(controls, kOk, 0);
        EXPECT_EQ(model.Rows[0].Encode.CompMethod, method == 2 || method == 3 ? method : 4) << method;
    }
}

TEST(CompressionSettingsModel, SeveralAcceptedInputsShowAsTheFirstAndAreStoredAsShown)
{
    struct Row {
        uint32_t stored;
        int selection;
        uint32_t collected;
    };
    constexpr Row rows[] = {
        {0xFFFFFFFF, 0, 0xFFFFFFFF}, {1, 1, 1},         {4 | 8, 2, 4}, {16, 4, 16}, {16 | 64, 4, 16},
        {64, 0, 0xFFFFFFFF},         {0, 0, 0xFFFFFFFF}};
    for (const Row& row : rows) {
        CodecVariant variant = VariantOf(kCodeYuv420);
        variant.Encode.InputColorSpace = row.stored;
        CompressionSettingsModel model = ClientModel(variant);
        FakeControls controls = Controls();
        model.Init(controls);
        EXPECT_EQ(controls[kInputs].selection, row.selection) << row.stored;
        model.Command(controls, kOk, 0);
        EXPECT_EQ(model.Rows[0].Encode.InputColorSpace, row.collected) << row.stored;
    }
}

TEST(CompressionSettingsModel, OkCollectsEveryControl)
{
    CompressionSettingsModel model = ClientModel(VariantOf(kCodeYuv422));
    FakeControls controls = Controls();
    model.Init(controls);
    controls[kAuto].checked = false;
    model.Command(controls, kAuto, 0);
    controls[kThreads].number = 9;
    controls.Select(kMethod, 1);
    controls.Select(kInputs, 3);
    controls[kInterlaced].checked = true;
    controls.Select(kMatrix, 0);
    controls[kFullRange].checked = true;
    controls[kInterpolate].checked = false;
    EXPECT_EQ(model.Command(controls, kOk, 0), DialogEnd::Ok);
    EXPECT_EQ(model.Rows[0].Encode, (EncodeSettings{202, 9, 0, 3, 2, 8, 1, 1, 1, 0, 0}));
}

TEST(CompressionSettingsModel, HiddenSettingsKeepTheirValues)
{
    CodecVariant variant = VariantOf(kCodeRgb);
    variant.Encode.ColorMatrix = 1;
    variant.Encode.FullRangeYUV = 1;
    variant.Encode.InterpolateDownscale = 0;
    CompressionSettingsModel model = ClientModel(variant);
    FakeControls controls = Controls();
    model.Init(controls);
    EXPECT_FALSE(controls[kFullRange].checked);
    model.Command(controls, kOk, 0);
    EXPECT_EQ(model.Rows[0].Encode.ColorMatrix, 1U);
    EXPECT_EQ(model.Rows[0].Encode.FullRangeYUV, 1U);
    EXPECT_EQ(model.Rows[0].Encode.InterpolateDownscale, 0U);
}

TEST(CompressionSettingsModel, ClampsWhatItCollects)
{
    CodecVariant variant = VariantOf(kCodeRgb);
    variant.Encode.ColorMatrix = 0;
    variant.Encode.CoderType = 9;
    variant.Encode.Reserved = 77;
    CompressionSettingsModel model = ClientModel(variant);
    FakeControls controls = Controls();
    model.Init(controls);
    model.Command(controls, kOk, 0);
    EXPECT_EQ(model.Rows[0].Encode.ColorMatrix, 2U);
    EXPECT_EQ(model.Rows[0].Encode.CoderType, 2U);
    EXPECT_EQ(model.Rows[0].Encode.Reserved, 77U);
}

TEST(CompressionSettingsModel, AutomaticThreadsLockTheEditOnTheProcessorCount)
{
    const auto processors = static_cast<uint32_t>(platform::ProcessorCount());
    CodecVariant variant = VariantOf(kCodeRgb);
    variant.Encode.NumEncodeThreads = processors + 3;
    CompressionSettingsModel model = ClientModel(variant);
    FakeControls controls = Controls();
    model.Init(controls);
    EXPECT_FALSE(controls[kThreads].enabled);
    EXPECT_EQ(controls[kThreads].number, processors);
    controls[kAuto].checked = false;
    EXPECT_EQ(model.Command(controls, kAuto, 0), DialogEnd::Stay);
    EXPECT_TRUE(controls[kThreads].enabled);
    controls[kAuto].checked = true;
    model.Command(controls, kAuto, 0);
    EXPECT_FALSE(controls[kThreads].enabled);
    model.Command(controls, kOk, 0);
    EXPECT_EQ(model.Rows[0].Encode.NumEncodeThreads, processors);
    EXPECT_EQ(model.Rows[0].Encode.AutoEncodeThreads, 1U);
}

TEST(CompressionSettingsModel, AChangeOfVariantKeepsTheEditsOfTheRowThatIsLeft)
{
    CompressionSettingsModel model = GlobalModel();
    FakeControls controls = Controls();
    model.Init(controls);
    controls.Select(kMethod, 0);
    controls[kInterlaced].checked = true;
    ChooseVariant(model, controls, 4);
    EXPECT_EQ(controls[kMethod].selection, 2) << "the other row has its own method";
    EXPECT_FALSE(controls[kInterlaced].checked);
    controls[kInterpolate].checked = false;
    ChooseVariant(model, controls, 3); // 4:4:4 does not interpolate
    ChooseVariant(model, controls, 4);
    EXPECT_FALSE(controls[kInterpolate].checked);
    EXPECT_TRUE(controls[kInterpolate].enabled);
    ChooseVariant(model, controls, 0);
    EXPECT_EQ(controls[kMethod].selection, 0);
    EXPECT_TRUE(controls[kInterlaced].checked);
    model.Command(controls, kOk, 0);
    EXPECT_EQ(model.Rows[0].Encode.CompMethod, 2U);
    EXPECT_EQ(model.Rows[0].Encode.Interlaced, 1U);
    EXPECT_EQ(model.Rows[4].Encode.InterpolateDownscale, 0U);
    EXPECT_EQ(model.Rows[3].Encode.InterpolateDownscale, 1U);
}

TEST(CompressionSettingsModel, OtherNotificationsOfTheListChangeNothing)
{
    CompressionSettingsModel model = GlobalModel();
    FakeControls controls = Controls();
    model.Init(controls);
    controls.Select(kVariant, 4);
    for (const int notification : {0, 2, 3, 7, 8, 9, 10})
        model.Command(controls, kVariant, notification);
    EXPECT_FALSE(controls[kInterpolate].enabled);
}

TEST(CompressionSettingsModel, ClientModeShowsOneVariantAndOffersToStoreIt)
{
    FakeControls controls = Controls();
    ClientModel(VariantOf(kCodeYuv422)).Init(controls);
    EXPECT_EQ(controls.title, "Orvane - YUV 4:2:2 (64 bit) compression settings");
    ASSERT_EQ(controls[kVariant].items.size(), 1U);
    EXPECT_EQ(controls[kVariant].items[0].text, "Orvane - YUV 4:2:2");
    EXPECT_FALSE(controls[kVariant].enabled);
    EXPECT_TRUE(controls[kSaveDefault].visible);
    ASSERT_EQ(controls[kSaveDefault].tools.size(), 1U);

    FakeControls globalControls = Controls();
    GlobalModel().Init(globalControls);
    EXPECT_FALSE(globalControls[kSaveDefault].visible);
    EXPECT_TRUE(globalControls[kSaveDefault].tools.empty());
}

TEST(CompressionSettingsModel, SaveAsDefaultStoresTheRowAndStays)
{
    const TestStore store;
    CompressionSettingsModel model = ClientModel(VariantOf(kCodeYuv422));
    FakeControls controls = Controls();
    model.Init(controls);
    controls.Select(kMethod, 0);
    EXPECT_EQ(model.Command(controls, kSaveDefault, 0), DialogEnd::Stay);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "CompMethod"), 2U);
}

TEST(CompressionSettingsModel, OkStoresNothingByItself)
{
    const TestStore store;
    CompressionSettingsModel client = ClientModel(VariantOf(kCodeYuv422));
    CompressionSettingsModel global = GlobalModel();
    for (CompressionSettingsModel* model : {&client, &global}) {
        FakeControls controls = Controls();
        model->Init(controls);
        model->Command(controls, kOk, 0);
        model->Command(controls, kCancel, 0);
    }
    EXPECT_TRUE(TestStore::List("Software\\Orvane\\O8Y2").empty());
    EXPECT_TRUE(TestStore::List("Software\\Orvane\\O8RG").empty());
}

TEST(CompressionSettingsModel, CancelCollectsNothing)
{
    CompressionSettingsModel model = GlobalModel();
    FakeControls controls = Controls();
    model.Init(controls);
    controls.Select(kMethod, 0);
    EXPECT_EQ(model.Command(controls, kCancel, 0), DialogEnd::Cancel);
    EXPECT_EQ(model.Rows[0].Encode.CompMethod, 4U);
}

TEST(CompressionSettingsModel, AfterburnerIsKnownByBothWordsAnywhereInThePath)
{
    for (const char* path : {"C:\\MSI Afterburner\\a.exe", "C:\\msi\\x\\AFTERBURNER.EXE",
                             "d:\\AfterBurner\\MsI.exe", "c:\\remsident\\myafterburners\\x.exe"})
        EXPECT_TRUE(IsAfterburnerPath(path)) << path;
    for (const char* path : {"", "C:\\Afterburner\\a.exe", "C:\\MSI\\a.exe", "C:\\MSI After burner\\a.exe"})
        EXPECT_FALSE(IsAfterburnerPath(path)) << path;
}

TEST(CompressionSettingsModel, UnderAfterburnerOkIsWideAndStoresAtOnce)
{
    for (const CompressionScope scope : {CompressionScope::Client, CompressionScope::Global}) {
        const TestStore store;
        const bool client = scope == CompressionScope::Client;
        CompressionSettingsModel model =
            client ? ClientModel(VariantOf(kCodeYuv422), kAfterburnerHost) : GlobalModel(kAfterburnerHost);
        FakeControls controls = Controls();
        model.Init(controls);
        EXPECT_FALSE(controls[kSaveDefault].visible);
        EXPECT_TRUE(controls[kOk].widened);
        EXPECT_EQ(controls[kOk].text, "Save as default and Close");
        ASSERT_EQ(controls[kOk].tools.size(), 1U);
        EXPECT_EQ(
            controls[kOk].tools[0].text,
            "MSI Afterburner workaround\n\nMSI Afterburner doesn't store VFW codec settings by itself as it "
            "should,\nso for the changes to take effect the settings must be stored globally in the "
            "registry!\n\nNOTE: This affects all applications using this variant of the codec!");
        if (!client)
            ChooseVariant(model, controls, 4);
        controls.Select(kMethod, 1);
        EXPECT_EQ(model.Command(controls, kOk, 0), DialogEnd::Ok);
        EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "CompMethod"), 3U);
        EXPECT_TRUE(TestStore::List("Software\\Orvane\\O8RG").empty()) << "only the selected row";
    }
    FakeControls controls = Controls();
    GlobalModel().Init(controls);
    EXPECT_FALSE(controls[kOk].widened);
    EXPECT_TRUE(controls[kOk].tools.empty());
}

TEST(CompressionSettingsModel, HasATipForEachSetting)
{
    struct Row {
        int id;
        const char* text;
    };
    constexpr Row rows[] = {
        {kVariant, "Global defaults for this variant of the codec.\n\n"
                   "These settings normally can be overridden in the application using the codec on each run "
                   "(app-specific settings).\n"},
        {kThreads,
         "Number of threads to use for encoding.\n\n"
         "This setting does not affect the structure of the encoded video.\n"
         "For example: a video encoded by 1 thread can still be efficiently decoded by multiple threads."},
        {kMethod, "Gradient:\n"
                  "Encode speed: same as Median.\n"
                  "Decode speed: 5-10% faster than Median.\n"
                  "Compression ratio: 5-10% worse than Median.\n"
                  "Select this for max. decoding speed.\n\n"
                  "Median:\n"
                  "Good compression, fast to encode/decode.\n"
                  "Recommended for recording and capture.\n\n"
                  "Dynamic:\n"
                  "Encode speed: 5-10% slower than Median.\n"
                  "Decode speed: 1-4% faster than Median.\n"
                  "Compression ratio: 1-2% better than Median.\n"
                  "Select this to get the last ounces of compression ratio.\n"},
        {kInputs,
         "Accept only the formats of the selected category as input when compressing and reject anything "
         "else.\n\n"
         "This is useful if you want to make sure and double-check that you receive the expected "
         "format.\n\n"
         "This is needed as applications sometimes negotiate the wrong formats."},
        {kInterlaced,
         "Check this if the input is interlaced.\n\n"
         "This improves compression ratio for interlaced sources.\n\n"
         "This option will be saved in the encoded stream and it is required for correct conversion "
         "(upsampling) from YUV to RGB formats when decompressing."},
        {kFullRange,
         "This option is relevant ONLY for RGB <-> YUV conversion.\n\n"
         "YUV source:\n"
         "Assume the input is full range YUV (0-255) and store this flag in the compressed data.\n\n"
         "RGB source -> YUV conversion:\n"
         "Convert RGB to full range YUV (0-255) and store this flag in the compressed data.\n\n"
         "This flag stored in the compressed data will be used only when decompressing YUV directly as "
         "RGB.\n\n"
         "NOTE:\n"
         "This setting has no effect when compressing and decompressing only in YUV color space.\n"
         "The codec always compresses/decompresses YUV data as-is, without any explicit clipping.\n\n"
         "RECOMMENDED:\n"
         "If unsure, leave this UNCHECKED. Most of the time YUV data is expected to have limited range."},
        {kInterpolate,
         "Interpolate chroma when downsampling the color (U/V) planes using a 3x3 kernel.\n\n"
         "This avoids color aliasing artifacts, at the expense of slightly slower (5-10%) compression "
         "speed.\n\n"
         "NOTE:\n"
         "This setting only has an effect when conversion with chroma subsampling is involved (ex. RGB -> "
         "YUV 4:2:2/4:2:0 compression)\n"},
        {kMatrix,
         "Color space for YUV formats. This setting affects YUV <-> RGB conversion.\n\n"
         "This option will be saved in the encoded stream and will also be used when decompressing from "
         "YUV to RGB formats.\n\n"
         "NOTE:\n"
         "This option is not relevant when compressing RGB inputs as-is."},
        {kSaveDefault,
         "Save current settings to the registry as defaults for the current variant of the codec.\n\n"
         "NOTE:\n"
         "Applications normally save the current codec settings while they are running, which override the "
         "defaults!"},
    };
    FakeControls controls = Controls();
    ClientModel(VariantOf(kCodeYuv422)).Init(controls);
    for (const Row& row : rows) {
        const auto& tools = controls[row.id].tools;
        ASSERT_EQ(tools.size(), row.id == kThreads ? 2U : 1U) << row.id;
        for (const FakeControls::Tool& tool : tools)
            EXPECT_EQ(tool.text, row.text) << row.id;
        EXPECT_EQ(tools[0].area, ToolArea::Control);
    }
    EXPECT_EQ(controls[kThreads].tools[1].area, ToolArea::Rectangle) << "the edit may be disabled";
}

} // namespace
