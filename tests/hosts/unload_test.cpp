// The library comes and goes with its instances: hosts let it go at the last close, at once.
#include "driver/process_state.h"
#include "hosts/codec_handle.h"
#include "hosts/installed_driver.h"
#include "support/eventually.h"
#include "support/long_tests.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

/// Uses a copy of the library of its own: other tests may hold theirs for good, as some hosts do.
class Unload : public testing::Test
{
  protected:
    Unload() { TestStore::Write("Software\\Orvane", "AutoDecodeThreads", 0); }

    void SetThreads(uint32_t threads)
    {
        TestStore::Write("Software\\Orvane", "NumDecodeThreads", threads);
        for (const Variant& variant : kVariants) {
            const std::string key = std::string("Software\\Orvane\\") + variant.fourCC;
            TestStore::Write(key, "AutoEncodeThreads", 0);
            TestStore::Write(key, "NumEncodeThreads", threads);
        }
    }

    /// Threads on their way out hold the library for a moment; true when it has gone.
    bool WaitUntilGone() const
    {
        return Eventually([this] { return !driver.IsLoaded(); });
    }

    TestStore store;
    InstalledDriver driver{"orvane_unload"};
};

/// A clip that goes through a compressor and a decompressor of its own; closed with this object.
class RoundTrip
{
  public:
    explicit RoundTrip(const LosslessRoute& chosen)
        : route(chosen), compressor(route.variant->fourCC, ICMODE_COMPRESS),
          decompressor("ORVN", ICMODE_DECOMPRESS)
    {}

    void Run() const
    {
        const Clip clip = MakeClip(route, 64, 96, 2);
        const std::vector<Bytes> pictures = DecompressStream(decompressor, CompressClip(compressor, clip),
                                                             clip.header, clip.header.biSizeImage);
        EXPECT_TRUE(AreSamePictures(clip, pictures)) << route.Name();
    }

  private:
    LosslessRoute route;
    CodecHandle compressor;
    CodecHandle decompressor;
};

/// What a host does that takes the library for a plug-in: no system library stands between. Compresses one
/// picture.
bool PluginRun(const std::string& path)
{
    const HMODULE library = LoadLibraryA(path.c_str());
    const auto entry =
        reinterpret_cast<DriverProcCall>(reinterpret_cast<void*>(GetProcAddress(library, "DriverProc")));
    ICOPEN open{};
    open.dwSize = sizeof open;
    open.fccType = ICTYPE_VIDEO;
    open.fccHandler = FourCCOf("O8RG");
    open.dwFlags = ICMODE_COMPRESS;
    entry(0, nullptr, DRV_LOAD, 0, 0);
    const auto id = static_cast<DWORD_PTR>(entry(0, nullptr, DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open)));

    Clip clip = MakeClip(RgbRoute("O8RG", 24), 64, 96, 1);
    StreamHeader out{};
    const auto in = reinterpret_cast<LPARAM>(&clip.header);
    bool good = entry(id, nullptr, ICM_COMPRESS_GET_FORMAT, in, reinterpret_cast<LPARAM>(&out)) == ICERR_OK;
    Bytes frame(out.header.biSizeImage);
    DWORD flags = 0;
    ICCOMPRESS params{};
    params.lpbiInput = &clip.header;
    params.lpInput = clip.pictures[0].data();
    params.lpbiOutput = &out.header;
    params.lpOutput = frame.data();
    params.lpdwFlags = &flags;
    good = good && entry(id, nullptr, ICM_COMPRESS, reinterpret_cast<LPARAM>(&params), 0) == ICERR_OK;
    good = good && flags == AVIIF_KEYFRAME && out.header.biSizeImage > 0;
    entry(id, nullptr, DRV_CLOSE, 0, 0);
    FreeLibrary(library);
    return good;
}

/// Thread-local slots that this process could still have; there are some thousand for all its libraries.
size_t FreeThreadLocalSlots()
{
    std::vector<DWORD> slots;
    for (DWORD slot; (slot = TlsAlloc()) != TLS_OUT_OF_INDEXES;)
        slots.push_back(slot);
    for (const DWORD slot : slots)
        TlsFree(slot);
    return slots.size();
}

} // namespace

TEST_F(Unload, LastCloseLetsTheLibraryGo)
{
    SetThreads(4);
    ASSERT_FALSE(driver.IsLoaded());
    {
        const CodecHandle first("O8RG", ICMODE_QUERY);
        {
            const CodecHandle second("O8Y0", ICMODE_QUERY);
            EXPECT_TRUE(driver.IsLoaded());
        }
        EXPECT_TRUE(driver.IsLoaded()) << "one instance is still open";
    }
    EXPECT_FALSE(driver.IsLoaded()) << "an instance that was only asked has no threads";
}

TEST_F(Unload, HundredsOfRoundTripsLeaveNothing)
{
    SetThreads(4);
    const std::vector<LosslessRoute> routes = LosslessRoutes();
    const int rounds = LongTests() ? 2000 : 200;
    const auto run = [&](int count) {
        for (int round = 0; round < count; ++round) {
            RoundTrip(routes[static_cast<size_t>(round) % routes.size()]).Run();
            ASSERT_TRUE(WaitUntilGone()) << "round " << round;
        }
    };
    run(static_cast<int>(routes.size())); // what the system's libraries keep, they have now
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    run(rounds);
    EXPECT_TRUE(ThreadsFallTo(threads));
    EXPECT_EQ(HandleMark(), handles);
}

TEST_F(Unload, HostsNeedNotWaitForThreadsThatEnd)
{
    // The next open meets the library in whatever state the last close has left it.
    const std::vector<LosslessRoute> routes = LosslessRoutes();
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    const int rounds = LongTests() ? 3000 : 300;
    for (int round = 0; round < rounds; ++round) {
        if (round % 20 == 0)
            SetThreads(1 + static_cast<uint32_t>(round / 20) % 8);
        RoundTrip(routes[static_cast<size_t>(round) % routes.size()]).Run();
    }
    EXPECT_TRUE(WaitUntilGone());
    EXPECT_TRUE(ThreadsFallTo(threads));
    EXPECT_EQ(HandleMark(), handles);
}

TEST_F(Unload, RunsThatAreNotEndedLeaveNothing)
{
    SetThreads(3);
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), 64, 96, 1);
    for (int round = 0; round < 100; ++round) {
        {
            const CodecHandle codec("O8RG", ICMODE_COMPRESS);
            CompressClip(codec, clip);
            BITMAPINFOHEADER in = clip.header;
            StreamHeader out{};
            Require(ICCompressGetFormat(codec, &in, &out), "ICCompressGetFormat");
            Require(ICCompressBegin(codec, &in, &out), "ICCompressBegin");
        }
        ASSERT_TRUE(WaitUntilGone()) << "round " << round;
    }
}

TEST_F(Unload, InstancesThatWorkedSideBySideLeaveNothing)
{
    // One thread opens and closes: the system's list of open codecs is not made for several.
    SetThreads(2);
    const std::vector<LosslessRoute> routes = LosslessRoutes();
    for (size_t first = 0; first + 4 <= routes.size(); first += 4) {
        std::vector<std::unique_ptr<RoundTrip>> trips;
        for (size_t i = 0; i < 4; ++i)
            trips.push_back(std::make_unique<RoundTrip>(routes[first + i]));
        {
            std::vector<std::jthread> hosts;
            for (const std::unique_ptr<RoundTrip>& trip : trips)
                hosts.emplace_back([&trip] {
                    for (int round = 0; round < 3; ++round)
                        EXPECT_NO_THROW(trip->Run());
                });
        }
        trips.clear();
        ASSERT_TRUE(WaitUntilGone()) << "routes from " << first;
    }
}

TEST_F(Unload, HostsThatLoadTheLibraryThemselvesDoSoInManyThreads)
{
    SetThreads(2);
    const int threads = ThreadsInProcess();
    {
        std::vector<std::jthread> hosts;
        for (int host = 0; host < 4; ++host)
            hosts.emplace_back([this] {
                for (int round = 0; round < 50; ++round)
                    EXPECT_TRUE(PluginRun(driver.Library())) << "round " << round;
            });
    }
    EXPECT_TRUE(WaitUntilGone());
    EXPECT_TRUE(ThreadsFallTo(threads));
}

TEST_F(Unload, EveryLoadGivesBackWhatItTook)
{
    // Editors load the library again for each question: what one load keeps adds up until the host fails.
    SetThreads(3);
    const auto load = [this](int times) {
        for (int i = 0; i < times; ++i) {
            ASSERT_TRUE(PluginRun(driver.Library()));
            ASSERT_TRUE(WaitUntilGone());
        }
    };
    load(5);
    const size_t slots = FreeThreadLocalSlots();
    const size_t memory = MemoryInUse();
    load(100);
    EXPECT_EQ(FreeThreadLocalSlots(), slots);
    EXPECT_LT(MemoryInUse(), memory + 2'000'000) << "less than 20 KB a load";
}
