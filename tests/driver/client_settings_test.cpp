// State blobs, the order in which settings override each other, and the block that logs them.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include "common/settings_records.h"
#include "platform/processor_count.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/test_seed.h"

namespace {

EncodeSettings StateOf(const Instance& instance)
{
    EncodeSettings state;
    if (instance.Send(ICM_GETSTATE, &state, LPARAM{sizeof state}) != 0)
        throw std::runtime_error("no state");
    return state;
}

ResultCode SetState(const Instance& instance, const EncodeSettings& state)
{
    return instance.Send(ICM_SETSTATE, &state, LPARAM{sizeof state});
}

/// The stored defaults: thread counts that are not stored are the processor count.
EncodeSettings DefaultState()
{
    EncodeSettings state;
    state.NumEncodeThreads = static_cast<uint32_t>(platform::ProcessorCount());
    return state;
}

std::vector<std::string> SettingsBlock(const std::string& reason)
{
    const std::string threads = std::to_string(platform::ProcessorCount());
    return {"--------------------------",
            "Setting codec preferences (" + reason + "):",
            "    Encode:",
            "        Auto threads:  YES",
            "        Threads:       " + threads,
            "        Color space:               Rec.709",
            "        Full range YUV:            NO",
            "        Assume interlaced:         NO",
            "        Interpolate downsampling:  YES",
            "        Compression method:        Dynamic",
            "    Decode:",
            "        Auto threads:  YES",
            "        Threads:       " + threads,
            "        Allow YUV 4:4:4 conv. to: RGB",
            "        Allow YUV 4:2:2 conv. to: RGB, YUV 4:4:4",
            "        Allow YUV 4:2:0 conv. to: RGB, YUV 4:4:4, YUV 4:2:2",
            "        Allow YUV 4:0:0 conv. to: RGB, YUV 4:4:4, YUV 4:2:2, YUV 4:2:0",
            "        Suggest RGB first:  NO",
            "--------------------------"};
}

} // namespace

TEST(GetState, TellsItsSizeAndAnswersZeroForACopy)
{
    const TestUser user;
    const Instance instance("O8Y2");
    uint8_t buffer[64];
    std::memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(instance.Send(ICM_GETSTATE), 44);
    EXPECT_EQ(instance.Send(ICM_GETSTATE, LPARAM{0}, LPARAM{44}), 44);
    for (const LPARAM size : {LPARAM{0}, LPARAM{4}, LPARAM{43}})
        EXPECT_EQ(instance.Send(ICM_GETSTATE, buffer, size), ICERR_BADSIZE);
    EXPECT_EQ(buffer[0], 0xCC);
    EXPECT_EQ(instance.Send(ICM_GETSTATE, buffer, LPARAM{64}), 0);
    EXPECT_EQ(buffer[44], 0xCC);
    const uint32_t words[11] = {202, DefaultState().NumEncodeThreads, 1, 4, 2, 0xFFFFFFFF, 0, 2, 0, 1, 0};
    EXPECT_EQ(std::memcmp(buffer, words, 44), 0);
}

TEST(GetState, OfTheGenericDecoderIsTheDefaultRecord)
{
    const TestUser user;
    TestUser::SetFor("ORVN", "CompMethod", 2);
    TestUser::Set("CompMethod", 2);
    EXPECT_EQ(StateOf(Instance("ORVN")), EncodeSettings{});
}

TEST(SetState, TakesBackWhatGetStateGave)
{
    const TestUser user;
    const Instance first("O8Y2");
    EncodeSettings state = {202, 3, 0, 2, 3, 8, 1, 1, 1, 0, 0xABCD};
    EXPECT_EQ(SetState(first, state), 44);
    EXPECT_EQ(StateOf(first), state);
    const Instance second("O8Y2");
    EXPECT_EQ(StateOf(second), DefaultState()) << "nothing of it is stored";
    EXPECT_EQ(SetState(second, StateOf(first)), 44);
    EXPECT_EQ(StateOf(second), state);
}

TEST(SetState, RefusesShortAndForeignBlobsWithZero)
{
    const TestUser user;
    const Instance instance("O8Y2");
    EncodeSettings state = DefaultState();
    state.ColorMatrix = 1;
    for (const LPARAM size : {LPARAM{0}, LPARAM{1}, LPARAM{3}})
        EXPECT_EQ(instance.Send(ICM_SETSTATE, &state, size), 0);
    for (const uint32_t version : {0U, 101U, 201U, 203U, 0xFFFFFFFFU}) {
        state.Version = version;
        EXPECT_EQ(SetState(instance, state), 0) << version;
    }
    EXPECT_EQ(StateOf(instance), DefaultState());
}

TEST(SetState, TakesAsManyBytesAsTheBlobHas)
{
    const TestUser user;
    const Instance instance("O8Y2");
    const EncodeSettings state = {202, 3, 0, 2, 3, 8, 1, 1, 1, 0, 0xABCD};
    for (size_t size = 4; size <= 100; ++size) {
        ASSERT_EQ(instance.Send(ICM_SETSTATE), 0);
        std::vector<uint8_t> blob(size, uint8_t{0});
        std::memcpy(blob.data(), &state, std::min<size_t>(size, 44));
        ASSERT_EQ(instance.Send(ICM_SETSTATE, blob.data(), static_cast<LPARAM>(size)), 44);
        EncodeSettings expected = DefaultState();
        std::memcpy(&expected, &state, std::min<size_t>(size, 44));
        ASSERT_EQ(StateOf(instance), expected) << size;
    }
}

TEST(SetState, ClampsMethodMatrixAndCoderType)
{
    const TestUser user;
    const Instance instance("O8Y2");
    const auto taken = [&](uint32_t EncodeSettings::*field, uint32_t value) {
        EncodeSettings state;
        state.*field = value;
        EXPECT_EQ(SetState(instance, state), 44);
        return StateOf(instance).*field;
    };
    const uint32_t methods[][2] = {{0, 0}, {1, 4}, {2, 2},          {3, 3},
                                   {4, 4}, {5, 4}, {0x80000000, 4}, {0xFFFFFFFF, 4}};
    for (const auto& [given, expected] : methods)
        EXPECT_EQ(taken(&EncodeSettings::CompMethod, given), expected) << given;
    const uint32_t matrices[][2] = {{0, 2}, {1, 1}, {2, 2}, {3, 2}, {0xFFFFFFFF, 2}};
    for (const auto& [given, expected] : matrices)
        EXPECT_EQ(taken(&EncodeSettings::ColorMatrix, given), expected) << given;
    const uint32_t coders[][2] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 2}, {0xFFFFFFFF, 2}};
    for (const auto& [given, expected] : coders)
        EXPECT_EQ(taken(&EncodeSettings::CoderType, given), expected) << given;
    for (const auto field :
         {&EncodeSettings::NumEncodeThreads, &EncodeSettings::AutoEncodeThreads,
          &EncodeSettings::InputColorSpace, &EncodeSettings::Interlaced, &EncodeSettings::FullRangeYUV,
          &EncodeSettings::InterpolateDownscale, &EncodeSettings::Reserved})
        for (const uint32_t value : {0U, 7U, 0xFFFFFFFFU})
            EXPECT_EQ(taken(field, value), value);
}

TEST(SetState, WithNullGoesBackToTheStore)
{
    const TestUser user;
    TestUser::SetFor("O8Y2", "CompMethod", 3);
    const Instance instance("O8Y2");
    EXPECT_EQ(SetState(instance, {}), 44);
    EXPECT_EQ(StateOf(instance).CompMethod, 4U);
    TestUser::SetFor("O8Y2", "ColorMatrix", 1);
    EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
    EXPECT_EQ(StateOf(instance).CompMethod, 3U);
    EXPECT_EQ(StateOf(instance).ColorMatrix, 1U);

    // Decode settings are read again as well.
    StreamHeader stream = MakeStream(104, 64, 48);
    const BITMAPINFOHEADER yv24 = MakeHeader("YV24", 24, 64, 48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream, &yv24), ICERR_BADFORMAT);
    TestUser::Set("DecompSettings_YUV422", 5);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream, &yv24), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream, &yv24), 0);
}

TEST(SetState, IsIgnoredWhereTheUserWantsIt)
{
    const TestUser user;
    TestUser::Set("IgnoreClientConfig", 1);
    const Instance instance("O8Y2");
    EncodeSettings state;
    state.ColorMatrix = 1;
    EXPECT_EQ(SetState(instance, state), 44) << "the host believes that it was heard";
    EXPECT_EQ(instance.Send(ICM_SETSTATE, &state, LPARAM{0}), 44);
    TestUser::SetFor("O8Y2", "CompMethod", 3);
    EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
    EXPECT_EQ(StateOf(instance), DefaultState()) << "and nothing has changed, not even by a reset";
}

TEST(SetState, SurvivesBlobsOfAnyContent)
{
    const TestUser user;
    const Instance instance("O8Y0");
    std::mt19937 random(TestSeed());
    const BITMAPINFOHEADER in = MakeHeader("YV12", 12, 64, 48);
    for (int i = 0; i < 500; ++i) {
        std::vector<uint8_t> blob(random() % 80);
        for (uint8_t& value : blob)
            value = static_cast<uint8_t>(random());
        if (blob.size() >= 4) {
            const uint32_t version = 202;
            std::memcpy(blob.data(), &version, 4);
        }
        const LRESULT result =
            instance.Send(ICM_SETSTATE, blob.empty() ? LPARAM{1} : reinterpret_cast<LPARAM>(blob.data()),
                          static_cast<LPARAM>(blob.size()));
        ASSERT_EQ(result, blob.size() >= 4 ? 44 : 0);
        const EncodeSettings state = StateOf(instance);
        ASSERT_LE(state.CompMethod, 4U);
        ASSERT_NE(state.CompMethod, 1U);
        ASSERT_TRUE(state.ColorMatrix == 1 || state.ColorMatrix == 2);
        ASSERT_LE(state.CoderType, 3U);
        instance.Send(ICM_COMPRESS_QUERY, &in);
    }
}

TEST(Settings, OfAVariantComeFromItsOwnKeyAndElseFromTheOldGlobalOne)
{
    const TestUser user;
    TestUser::Set("CompMethod", 2);
    TestUser::Set("ColorMatrix", 1);
    TestUser::SetFor("O8Y2", "CompMethod", 3);
    EXPECT_EQ(StateOf(Instance("O8Y2")).CompMethod, 3U);
    EXPECT_EQ(StateOf(Instance("O8Y2")).ColorMatrix, 1U);
    EXPECT_EQ(StateOf(Instance("O8Y0")).CompMethod, 2U);
    EXPECT_EQ(StateOf(Instance("ORVN")).CompMethod, 4U);
}

TEST(SettingsLog, BlockOpensTheLogWithTheDefaults)
{
    const TestUser user;
    TestUser::EnableLog();
    {
        const Instance instance("O8Y2");
        EXPECT_EQ(user.Lines(), SettingsBlock("init from global config"));
    }
    auto expected = SettingsBlock("init from global config");
    expected.insert(expected.end(), {"--------------------------", "Log closed"});
    EXPECT_EQ(user.Lines(), expected);
}

TEST(SettingsLog, NamesEveryValue)
{
    TestUser user;
    TestUser::EnableLog();
    TestUser::Set("NumDecodeThreads", 5);
    TestUser::Set("AutoDecodeThreads", 0);
    TestUser::Set("SuggestRGB", 2);
    const Instance instance("O8Y2");
    user.NewLines();
    const char* const methods[] = {"", "Dynamic", "Gradient", "Median", "Dynamic"};
    for (uint32_t method = 0; method <= 4; ++method) {
        EXPECT_EQ(SetState(instance, {202, 3, 0, method, 2, 0, 1, method % 2 + 1, 1, 0, 0}), 44);
        auto expected = SettingsBlock("from client app state");
        expected[3] = "        Auto threads:  NO";
        expected[4] = "        Threads:       3";
        expected[5] =
            std::string("        Color space:               ") + (method % 2 == 0 ? "Rec.601" : "Rec.709");
        expected[6] = "        Full range YUV:            YES";
        expected[7] = "        Assume interlaced:         YES";
        expected[8] = "        Interpolate downsampling:  NO";
        expected[9] = std::string("        Compression method:        ") + methods[method];
        expected[11] = "        Auto threads:  NO";
        expected[12] = "        Threads:       5";
        expected[17] = "        Suggest RGB first:  YES";
        EXPECT_EQ(user.NewLines(), expected);
    }
    EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
    EXPECT_EQ(user.NewLines()[1], "Setting codec preferences (client app reset-request to global config):");
}

TEST(SettingsLog, ConversionLinesTestTheMasksAgainstDecimalNumbers)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    user.NewLines();
    for (const uint32_t mask : {0U, 1U, 2U, 4U, 8U, 9U, 16U, 25U, 32U, 64U, 96U, 128U, 0xFFFFFFFFU}) {
        const char* const fields[] = {"DecompSettings_YUV444", "DecompSettings_YUV422",
                                      "DecompSettings_YUV420", "DecompSettings_YUV400"};
        for (const char* field : fields)
            TestUser::Set(field, mask);
        EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
        const auto lines = user.NewLines();
        ASSERT_EQ(lines.size(), 19U);
        const std::pair<const char*, uint32_t> targets[] = {
            {"RGB", 101}, {"YUV 4:4:4", 103}, {"YUV 4:2:2", 104}, {"YUV 4:2:0", 105}};
        const char* const labels[] = {"4:4:4", "4:2:2", "4:2:0", "4:0:0"};
        for (size_t line = 0; line < 4; ++line) {
            std::string expected = "        Allow YUV " + std::string(labels[line]) + " conv. to: ";
            const char* separator = "";
            for (size_t target = 0; target <= line; ++target)
                if ((mask & targets[target].second) != 0) {
                    expected += separator + std::string(targets[target].first);
                    separator = ", ";
                }
            EXPECT_EQ(lines[13 + line], expected) << mask;
        }
    }
}

TEST(SettingsLog, RefusedBlobsLogNothing)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    user.NewLines();
    const uint32_t foreign = 203, bare = 202;
    instance.Send(ICM_SETSTATE, &foreign, LPARAM{4});
    instance.Send(ICM_SETSTATE, &bare, LPARAM{3});
    EXPECT_TRUE(user.NewLines().empty());
    EXPECT_EQ(instance.Send(ICM_SETSTATE, &bare, LPARAM{4}), 44)
        << "a bare version changes nothing but the log";
    EXPECT_EQ(user.NewLines(), SettingsBlock("from client app state"));
}
