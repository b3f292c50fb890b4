// DriverProc of the built library: opening, closing, the small messages, and what a null instance gets.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace {

constexpr LPARAM kAllOnes = -1;

ResultCode Without(UINT message, LPARAM first = 0, LPARAM second = 0)
{
    return Instance::Raw(0, message, first, second);
}

ICOPEN OpenRecord(uint32_t type, uint32_t handler)
{
    ICOPEN open{};
    open.dwSize = sizeof open;
    open.fccType = type;
    open.fccHandler = handler;
    open.dwVersion = 0x1000;
    open.dwError = 77;
    return open;
}

/// The FourCC that an instance says it is.
uint32_t HandlerOf(LRESULT instance)
{
    ICINFO info{};
    Instance::Raw(static_cast<DWORD_PTR>(instance), ICM_GETINFO, reinterpret_cast<LPARAM>(&info),
                  sizeof info);
    return info.fccHandler;
}

std::string Text(std::span<const WCHAR> wide)
{
    std::string text;
    for (const WCHAR c : wide) {
        if (c == 0)
            break;
        text += static_cast<char>(c);
    }
    return text;
}

} // namespace

TEST(DriverEntry, SystemMessagesIgnoreTheDriverId)
{
    struct Row {
        UINT message;
        LRESULT result;
    };
    const Row rows[] = {{DRV_LOAD, 1},      {DRV_ENABLE, 1},         {DRV_DISABLE, 1}, {DRV_FREE, 1},
                        {DRV_CONFIGURE, 1}, {DRV_QUERYCONFIGURE, 0}, {DRV_INSTALL, 1}, {DRV_REMOVE, 1}};
    // A host sends DISABLE and FREE with the id of an instance that it has closed before.
    for (const DWORD_PTR id : {DWORD_PTR{0}, DWORD_PTR{0xDEAD0001}, ~DWORD_PTR{0}})
        for (const Row& row : rows)
            EXPECT_EQ(Instance::Raw(id, row.message, kAllOnes, kAllOnes), row.result) << row.message;
}

TEST(DriverEntry, NullInstancesGetWhatTheirMessageGives)
{
    EXPECT_EQ(Without(DRV_CLOSE), 1);
    for (const UINT message :
         {ICM_COMPRESS_GET_FORMAT, ICM_COMPRESS_GET_SIZE, ICM_COMPRESS_QUERY, ICM_COMPRESS_BEGIN,
          ICM_COMPRESS, ICM_COMPRESS_END, ICM_GETSTATE, ICM_SETSTATE, ICM_GETINFO, ICM_CONFIGURE, ICM_ABOUT})
        EXPECT_EQ(Without(message, 0xBAD, 0xBAD), 0) << message;
    for (const UINT message : {ICM_DECOMPRESS_GET_FORMAT, ICM_DECOMPRESS_QUERY, ICM_DECOMPRESS_BEGIN,
                               ICM_DECOMPRESS, ICM_DECOMPRESS_END})
        EXPECT_EQ(Without(message, 0xBAD, 0xBAD), ICERR_BADPARAM) << message;
    EXPECT_EQ(Without(ICM_DECOMPRESS_GET_PALETTE, 0xBAD, 0xBAD), ICERR_BADFORMAT);
}

TEST(DriverEntry, EveryOtherMessageIsUnsupportedAndItsPointersAreNotFollowed)
{
    const Instance instance("O8Y2");
    const std::set<UINT> known = {16388, 16389, 16390, 16391, 16392, 16393, 16394, 16395, 16396,
                                  16397, 16398, 16414, 20480, 20481, 20482, 20490, 20491, 20510};
    for (UINT message = 16384; message < 21000; ++message) {
        if (!known.contains(message)) {
            ASSERT_EQ(instance.Send(message, LPARAM{0xBAD}, LPARAM{0xBAD}), ICERR_UNSUPPORTED) << message;
        }
    }
    for (const UINT message : {UINT{0x7FFFFFFF}, UINT{0x80000000}, UINT{0x80004006}, UINT{0xFFFFFFFF}})
        EXPECT_EQ(instance.Send(message, LPARAM{0xBAD}, LPARAM{0xBAD}), ICERR_UNSUPPORTED) << message;
}

TEST(DriverEntry, UnknownSystemMessagesGoToTheSystemsDefault)
{
    const Instance instance("O8Y2");
    std::vector<UINT> messages = {11, 15, 16, 100, 0x0800, 16383};
    for (const UINT message : messages) {
        const auto id = static_cast<DWORD_PTR>(instance.Id());
        EXPECT_EQ(instance.Send(message), DefDriverProc(id, {}, message, 0, 0)) << message;
        EXPECT_EQ(Without(message), DefDriverProc(0, {}, message, 0, 0)) << message;
    }
}

TEST(OpenInstance, GivesEveryVariantInAnyCase)
{
    const std::array<const char*, 8> names = {"ORVN", "O8RG", "O8RA", "O8YA", "O8Y4", "O8Y2", "O8Y0", "O8G0"};
    for (const std::string name : names) {
        std::string lower = name;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(c));
        for (const std::string& handler : {name, lower, name.substr(0, 2) + lower.substr(2)}) {
            ICOPEN open = OpenRecord(ICTYPE_VIDEO, FourCCOf(handler));
            const LRESULT instance = Without(DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open));
            ASSERT_NE(instance, 0) << handler;
            EXPECT_EQ(open.dwError, 0) << handler;
            EXPECT_EQ(HandlerOf(instance), FourCCOf(name)) << handler;
            EXPECT_EQ(Instance::Raw(static_cast<DWORD_PTR>(instance), DRV_CLOSE, 0, 0), 1);
        }
    }
}

TEST(OpenInstance, GivesTheGenericDecoderToASession)
{
    const LRESULT session = Without(DRV_OPEN);
    ASSERT_NE(session, 0);
    EXPECT_EQ(HandlerOf(session), FourCCOf("ORVN"));
    EXPECT_EQ(Instance::Raw(static_cast<DWORD_PTR>(session), DRV_CLOSE, 0, 0), 1);
}

TEST(OpenInstance, RefusesOtherTypesAndOtherFourCCs)
{
    for (const char* type : {"vids", "VIDC", "audc", "RGB"}) {
        ICOPEN open = OpenRecord(FourCCOf(type), FourCCOf("O8Y2"));
        EXPECT_EQ(Without(DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open)), 0) << type;
        EXPECT_EQ(open.dwError, ICERR_BADFORMAT) << type;
    }
    for (const char* handler : {"O0Y2", "YUY2", "RGB", "O8Y ", "O8Y3", "[239]8Y2", "[15]8Y2"}) {
        ICOPEN open = OpenRecord(ICTYPE_VIDEO, FourCCOf(handler));
        EXPECT_EQ(Without(DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open)), 0) << handler;
        EXPECT_EQ(open.dwError, ICERR_BADFORMAT) << handler;
    }
}

TEST(OpenInstance, LooksAtTypeAndHandlerAlone)
{
    ICOPEN open = OpenRecord(ICTYPE_VIDEO, FourCCOf("O8G0"));
    open.dwSize = 0;
    open.dwVersion = 0xFFFFFFFF;
    open.dwFlags = 0xFFFFFFFF;
    open.pV1Reserved = open.pV2Reserved = reinterpret_cast<void*>(0xBAD);
    const ICOPEN before = open;
    const LRESULT instance = Without(DRV_OPEN, 0xBAD, reinterpret_cast<LPARAM>(&open));
    ASSERT_NE(instance, 0);
    open.dwError = before.dwError;
    EXPECT_EQ(std::memcmp(&open, &before, sizeof open), 0) << "nothing but dwError is written";
    Instance::Raw(static_cast<DWORD_PTR>(instance), DRV_CLOSE, 0, 0);
}

TEST(GetInfo, TellsTheVariant)
{
    struct Row {
        const char* fourCC;
        const char* name;
        const char* description;
    };
    const Row rows[] = {
        {"ORVN", "Orvane Gen.", "Orvane Decoder (Generic)"},
        {"O8RG", "Orvane RGB", "Orvane - RGB"},
        {"O8RA", "Orvane RGBA", "Orvane - RGBA"},
        {"O8YA", "Orvane YUVA", "Orvane - YUVA 4:4:4:4"},
        {"O8Y4", "Orvane YUV444", "Orvane - YUV 4:4:4"},
        {"O8Y2", "Orvane YUV422", "Orvane - YUV 4:2:2"},
        {"O8Y0", "Orvane YUV420", "Orvane - YUV 4:2:0"},
        {"O8G0", "Orvane YUV400", "Orvane - YUV 4:0:0 (Greyscale)"},
    };
    for (const Row& row : rows) {
        const Instance instance(row.fourCC);
        ICINFO info;
        std::memset(&info, 0xCC, sizeof info);
        ASSERT_EQ(instance.Send(ICM_GETINFO, &info, LPARAM{568}), 568);
        EXPECT_EQ(info.dwSize, 568U);
        EXPECT_EQ(info.fccType, FourCCOf("vidc"));
        EXPECT_EQ(info.fccHandler, FourCCOf(row.fourCC));
        EXPECT_EQ(info.dwFlags, 0U);
        EXPECT_EQ(info.dwVersion, 0x02040100U);
        EXPECT_EQ(info.dwVersionICM, 260U);
        EXPECT_EQ(Text(info.szName), row.name);
        EXPECT_EQ(Text(info.szDescription), row.description);
        EXPECT_EQ(info.szDriver[0], 0xCCCC) << "the system fills in the driver's file";
    }
}

TEST(GetInfo, WantsRoomForTheWholeRecord)
{
    const Instance instance("O8Y2");
    std::array<uint8_t, 600> buffer;
    buffer.fill(0xCC);
    EXPECT_EQ(instance.Send(ICM_GETINFO), 568);
    EXPECT_EQ(instance.Send(ICM_GETINFO, LPARAM{0}, LPARAM{568}), 568);
    for (const LPARAM size : {LPARAM{0}, LPARAM{40}, LPARAM{567}})
        EXPECT_EQ(instance.Send(ICM_GETINFO, buffer.data(), size), 0);
    EXPECT_TRUE(std::ranges::all_of(buffer, [](uint8_t value) { return value == 0xCC; }));
    EXPECT_EQ(instance.Send(ICM_GETINFO, buffer.data(), LPARAM{600}), 568);
    EXPECT_EQ(buffer[568], 0xCC);
}

TEST(SmallMessages, ConfigureAndAboutAnswerWhetherTheyExist)
{
    const Instance generic("ORVN");
    EXPECT_EQ(generic.Send(ICM_CONFIGURE, kAllOnes), ICERR_UNSUPPORTED);
    EXPECT_EQ(generic.Send(ICM_CONFIGURE, LPARAM{0}), ICERR_UNSUPPORTED)
        << "the generic decoder has nothing to configure";
    EXPECT_EQ(generic.Send(ICM_ABOUT, kAllOnes), 0);
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        EXPECT_EQ(instance.Send(ICM_CONFIGURE, kAllOnes, LPARAM{1}), 0) << variant.fourCC;
        EXPECT_EQ(instance.Send(ICM_ABOUT, kAllOnes, LPARAM{1}), 0) << variant.fourCC;
    }
}

TEST(SmallMessages, DefaultQualityIsStoredAsEightBytes)
{
    const Instance instance("O8Y2");
    uint64_t target[2] = {~uint64_t{0}, ~uint64_t{0}};
    EXPECT_EQ(instance.Send(ICM_GETDEFAULTQUALITY), ICERR_UNSUPPORTED);
    EXPECT_EQ(instance.Send(ICM_GETDEFAULTQUALITY, target, LPARAM{4}), 0);
    EXPECT_EQ(target[0], 7500U);
    EXPECT_EQ(target[1], ~uint64_t{0});
    EXPECT_EQ(Without(ICM_GETDEFAULTQUALITY, reinterpret_cast<LPARAM>(target + 1)), 0) << "needs no instance";
    EXPECT_EQ(target[1], 7500U);
    EXPECT_EQ(Without(ICM_GETDEFAULTQUALITY), ICERR_UNSUPPORTED);
    for (const UINT message : {ICM_GETQUALITY, ICM_SETQUALITY})
        EXPECT_EQ(instance.Send(message, target, LPARAM{0}), ICERR_UNSUPPORTED);
}

TEST(DriverEntry, MessageNumbersAreComparedWithoutSignAndInFull)
{
    const Instance instance("O8Y2");
    EXPECT_EQ(instance.Send(0x80000001), ICERR_UNSUPPORTED);
    EXPECT_EQ(instance.Send(0x00010001), ICERR_UNSUPPORTED);
    EXPECT_EQ(instance.Send(16399), ICERR_UNSUPPORTED);
}
