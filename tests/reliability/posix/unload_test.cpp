// A host that lets the library go while its threads are on their way out. The code stays, so that they end
// well.
#include "driver/driver_session.h"
#include "driver/process_state.h"
#include "platform/host_path.h"
#include "reliability/amount.h"
#include "reliability/streams.h"
#include "support/test_seed.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <random>
#include <thread>

namespace {

/// What a host does from load to unload with one picture; the run is not always ended.
bool RunHost(const std::string& path, const char* fourCC, bool endRun)
{
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    const auto entry = reinterpret_cast<DriverProcCall>(dlsym(library, "DriverProc"));
    const HostStream stream = MakeHostStream(fourCC, "RGB", 24, 64, 112);
    const ExactBuffer picture = stream.Picture();
    const auto send = [&](DWORD_PTR id, UINT message, const void* first = nullptr,
                          const void* second = nullptr) {
        return entry(id, {}, message, reinterpret_cast<LPARAM>(first), reinterpret_cast<LPARAM>(second));
    };
    send(0, DRV_LOAD);
    ICOPEN open{};
    open.fccType = ICTYPE_VIDEO;
    open.fccHandler = FourCCOf(fourCC);
    const auto id = static_cast<DWORD_PTR>(send(0, DRV_OPEN, nullptr, &open));

    StreamHeader coded{};
    bool good = send(id, ICM_COMPRESS_GET_FORMAT, &stream.header, &coded) == ICERR_OK;
    std::vector<uint8_t> frame(coded.header.biSizeImage);
    BITMAPINFOHEADER in = stream.header;
    DWORD flags = 0;
    ICCOMPRESS params{};
    params.lpbiOutput = &coded.header;
    params.lpOutput = frame.data();
    params.lpbiInput = &in;
    params.lpInput = const_cast<uint8_t*>(picture.data());
    params.lpdwFlags = &flags;
    good = good && send(id, ICM_COMPRESS, &params) == ICERR_OK;
    if (endRun)
        good = good && send(id, ICM_COMPRESS_END) == ICERR_OK;
    good = good && send(id, DRV_CLOSE) == 1;
    return dlclose(library) == 0 && good;
}

} // namespace

TEST(Unload, WhileThreadsEndLeavesNoThreadAndNoHandle)
{
    const TestStore store;
    StoredChoice many;
    many.encodeThreads = 64;
    const std::string path =
        std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "liborvane.so";
    std::mt19937 random(TestSeed());
    const auto run = [&](int loads) {
        for (int i = 0; i < loads; ++i) {
            const Variant& variant = kVariants[random() % 2 == 0 ? 0 : 4];
            StoreChoice(variant.fourCC, many);
            // The icon's thread is never waited for.
            TestStore::Write("Software\\Orvane", "NotificationSettings", 15);
            ASSERT_TRUE(RunHost(path, variant.fourCC, random() % 2 == 0)) << "load " << i;
        }
    };
    std::thread([] {}).join(); // with the first one, a sanitizer may start a thread of its own
    const int threads = ThreadsInProcess();
    run(5); // what the system keeps of a library, it has now
    ASSERT_TRUE(ThreadsFallTo(threads));
    const size_t handles = HandleMark();
    run(Amount(60, 5000));
    EXPECT_TRUE(ThreadsFallTo(threads)) << ThreadsInProcess() << " threads";
    EXPECT_EQ(HandleMark(), handles);
}

TEST(Unload, ByManyHostThreadsAtOnce)
{
    const TestStore store;
    StoredChoice choice;
    choice.encodeThreads = 3;
    StoreChoice("O8RG", choice);
    TestStore::Write("Software\\Orvane", "NotificationSettings", 15);
    const std::string path =
        std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "liborvane.so";
    const int loads = Amount(15, 1000);
    std::vector<std::thread> hosts;
    for (int host = 0; host < 8; ++host)
        hosts.emplace_back([&, host] {
            for (int i = 0; i < loads; ++i)
                EXPECT_TRUE(RunHost(path, "O8RG", (host + i) % 2 == 0)) << "load " << i;
        });
    for (std::thread& host : hosts)
        host.join();
}
