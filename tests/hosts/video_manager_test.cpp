// The library as the system's video manager finds, lists and opens it.
#include "common/settings_records.h"
#include "driver/process_state.h"
#include "hosts/codec_handle.h"
#include "hosts/installed_driver.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>

namespace {

class VideoManager : public testing::Test
{
  protected:
    TestStore store;
};

/// A code in small letters: so the list of drivers may spell it.
std::string Small(const std::string& fourCC)
{
    std::string small = fourCC;
    std::ranges::transform(small, small.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return small;
}

} // namespace

TEST_F(VideoManager, OpensEveryCodeInEveryMode)
{
    const std::map<std::string, std::wstring> names = {
        {"O8RG", L"Orvane RGB"},    {"O8RA", L"Orvane RGBA"},   {"O8YA", L"Orvane YUVA"},
        {"O8Y4", L"Orvane YUV444"}, {"O8Y2", L"Orvane YUV422"}, {"O8Y0", L"Orvane YUV420"},
        {"O8G0", L"Orvane YUV400"}, {"ORVN", L"Orvane Gen."},
    };
    for (const char* fourCC : kServedFourCCs)
        for (const UINT mode : {ICMODE_COMPRESS, ICMODE_DECOMPRESS, ICMODE_FASTDECOMPRESS, ICMODE_QUERY,
                                ICMODE_FASTCOMPRESS, ICMODE_DRAW}) {
            const HIC codec = ICOpen(ICTYPE_VIDEO, FourCCOf(fourCC), mode);
            ASSERT_TRUE(codec) << fourCC << " mode " << mode;
            ICINFO info{};
            ASSERT_EQ(ICGetInfo(codec, &info, sizeof info), static_cast<LRESULT>(sizeof info));
            EXPECT_EQ(info.fccType, static_cast<DWORD>(ICTYPE_VIDEO));
            EXPECT_EQ(info.fccHandler, FourCCOf(fourCC));
            EXPECT_EQ(info.dwVersion, 0x02040100U);
            EXPECT_EQ(info.dwFlags, 0U) << "every frame is a key frame, and there is no quality";
            EXPECT_EQ(info.szName, names.at(fourCC));
            EXPECT_TRUE(std::wstring(info.szDescription).starts_with(L"Orvane"));
            EXPECT_TRUE(Driver().IsLoaded());
            EXPECT_EQ(ICClose(codec), ICERR_OK);
        }
}

TEST_F(VideoManager, FindsACodeInAnyCase)
{
    for (const char* fourCC : {"o8rg", "O8rG", "orvn"})
        EXPECT_NO_THROW(CodecHandle(fourCC, ICMODE_QUERY)) << fourCC;
}

TEST_F(VideoManager, GetsNothingForACodeThatTheDriverDoesNotServe)
{
    const DriverEntry entry("O8XX", Driver().Library());
    EXPECT_FALSE(ICOpen(ICTYPE_VIDEO, FourCCOf("O8XX"), ICMODE_QUERY));
    EXPECT_TRUE(CodecHandle("O8RG", ICMODE_QUERY)) << "a refused open leaves the driver usable";
}

TEST_F(VideoManager, ListsEveryCodeOnce)
{
    std::map<std::string, int> listed;
    ICINFO info{};
    info.dwSize = sizeof info;
    for (DWORD i = 0; ICInfo(ICTYPE_VIDEO, i, &info); ++i)
        ++listed[Small(FourCCText(info.fccHandler))];
    for (const char* fourCC : kServedFourCCs)
        EXPECT_EQ(listed[Small(fourCC)], 1) << fourCC;
}

TEST_F(VideoManager, DialogsMayAskEveryCodecAboutEverything)
{
    // What an editor does when its list of codecs opens: each codec, many sizes and layouts, twice.
    int accepted = 0;
    int asked = 0;
    const int threads = ThreadsInProcess();
    for (int round = 0; round < 2; ++round)
        for (const char* fourCC : kServedFourCCs) {
            const CodecHandle codec(fourCC, ICMODE_QUERY);
            for (const HostFormat& format : kHostFormats)
                for (const int width : {160, 321, 720}) {
                    BITMAPINFOHEADER in = MakeHeader(format, width, 240);
                    ++asked;
                    accepted += ICCompressQuery(codec, &in, nullptr) == ICERR_OK;
                }
        }
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, asked);
    EXPECT_EQ(ThreadsInProcess(), threads) << "questions need no thread";
}

TEST_F(VideoManager, LocatesACompressorForEveryLayout)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        BITMAPINFOHEADER in = MakeHeader(*route.format, 64, 48);
        const CodecHandle codec(
            ICLocate(ICTYPE_VIDEO, FourCCOf(route.variant->fourCC), &in, nullptr, ICMODE_COMPRESS),
            route.Name().c_str());
        ICINFO info{};
        ICGetInfo(codec, &info, sizeof info);
        EXPECT_EQ(info.fccHandler, FourCCOf(route.variant->fourCC)) << route.Name();
    }
}

TEST_F(VideoManager, LocatesADecompressorByTheStreamAlone)
{
    for (const Variant& variant : kVariants) {
        StreamHeader in = MakeStream(variant.id, 64, 48);
        for (const DWORD handler : {DWORD{FourCCOf(variant.fourCC)}, DWORD{0}}) {
            const CodecHandle codec(ICLocate(ICTYPE_VIDEO, handler, &in.header, nullptr, ICMODE_DECOMPRESS),
                                    variant.fourCC);
            EXPECT_EQ(ICDecompressQuery(codec, &in, nullptr), ICERR_OK) << variant.fourCC;
        }
    }
}

TEST_F(VideoManager, LocatesADecompressorOnlyForAllowedOutputs)
{
    StreamHeader in = MakeStream(104, 64, 48);
    BITMAPINFOHEADER out = MakeHeader("YV24", 24, 64, 48);
    EXPECT_FALSE(ICLocate(ICTYPE_VIDEO, FourCCOf("O8Y2"), &in.header, &out, ICMODE_DECOMPRESS));
    TestStore::Write("Software\\Orvane", "DecompSettings_YUV422", 5);
    EXPECT_NO_THROW(
        CodecHandle(ICLocate(ICTYPE_VIDEO, FourCCOf("O8Y2"), &in.header, &out, ICMODE_DECOMPRESS), "YV24"));
}

TEST_F(VideoManager, EnablesTheButtonsOfCodecsThatHaveDialogs)
{
    for (const char* fourCC : kServedFourCCs) {
        const CodecHandle codec(fourCC, ICMODE_QUERY);
        EXPECT_EQ(ICQueryConfigure(codec), std::string("ORVN") != fourCC) << fourCC;
        EXPECT_TRUE(ICQueryAbout(codec)) << fourCC;
    }
}

TEST_F(VideoManager, CarriesSettingsFromOneInstanceToTheNext)
{
    const CodecHandle first("O8Y0", ICMODE_COMPRESS);
    EncodeSettings settings;
    ASSERT_EQ(ICGetStateSize(first), sizeof settings);
    Require(static_cast<LONG>(ICGetState(first, &settings, sizeof settings)), "ICGetState");
    EXPECT_EQ(settings.ColorMatrix, 2U);
    settings.ColorMatrix = 1;
    const CodecHandle second("O8Y0", ICMODE_COMPRESS);
    ICSetState(second, &settings, sizeof settings);
    BITMAPINFOHEADER in = MakeHeader("I420", 12, 64, 48);
    StreamHeader out{};
    Require(ICCompressGetFormat(second, &in, &out), "ICCompressGetFormat");
    EXPECT_EQ(out.record.colorMatrix, 1);
}

TEST_F(VideoManager, HearsOfADefaultQuality)
{
    const CodecHandle codec("O8RG", ICMODE_COMPRESS);
    uint64_t quality = ~uint64_t{0}; // the answer fills eight bytes
    EXPECT_EQ(
        ICSendMessage(codec, ICM_GETDEFAULTQUALITY, reinterpret_cast<DWORD_PTR>(&quality), sizeof(DWORD)),
        ICERR_OK);
    EXPECT_EQ(quality, 7500U);
}
