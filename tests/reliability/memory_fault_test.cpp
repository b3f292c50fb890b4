// Memory that runs out at every point of every operation: the answer is -3, nothing of the picture is
// written, nothing stays allocated, and the same operation then gives the bytes that it always gives.
#include "platform/profile_folder.h"
#include "reliability/memory_faults.h"
#include "reliability/streams.h"
#include "support/eventually.h"
#include "support/long_tests.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

constexpr long kFarTooMany = 100'000;
constexpr uint8_t kUntouched = 0xEE;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(_WIN32)
constexpr long kSampledPoints = 3; // of one operation, beside the first ones
#else
constexpr long kSampledPoints = 6;
#endif

/// All a host needs for one stream, made before any memory fails, and what comes out of it when none does.
struct Rehearsal {
    explicit Rehearsal(const HostStream& stream_) : stream(stream_), picture(stream_.Picture())
    {
        const Instance instance(stream.variant->fourCC);
        coded = instance.GetStream(stream.header);
        frame = instance.Compress(stream.header, coded, picture.data()).bytes;
        out = stream.header;
        ExactBuffer target(picture.size(), 0, kUntouched);
        EXPECT_EQ(instance.Decompress(coded, frame, out, target.data()), ICERR_OK);
        decoded.assign(target.Bytes().begin(), target.Bytes().end());
    }

    HostStream stream;
    ExactBuffer picture;
    StreamHeader coded;
    BITMAPINFOHEADER out;
    std::vector<uint8_t> frame;
    std::vector<uint8_t> decoded;
};

/// A host in the middle of its work: buffers that are there already, messages that allocate nothing by
/// themselves.
class Host
{
  public:
    explicit Host(const Rehearsal& rehearsal)
        : expected(rehearsal), coded(rehearsal.coded), out(rehearsal.out), in(rehearsal.stream.header),
          frame(coded.header.biSizeImage, uint8_t{0xA5}), target(rehearsal.picture.size(), 0, kUntouched)
    {
        stream = coded;
        compress.lpbiOutput = &coded.header;
        compress.lpOutput = frame.data();
        compress.lpbiInput = &in;
        compress.lpInput = const_cast<uint8_t*>(rehearsal.picture.data());
        compress.lpdwFlags = &flags;
        stream.header.biSizeImage = static_cast<DWORD>(rehearsal.frame.size());
        decompress.lpbiInput = &stream.header;
        decompress.lpInput = const_cast<uint8_t*>(rehearsal.frame.data());
        decompress.lpbiOutput = &out;
        decompress.lpOutput = target.data();
    }
    ~Host() { Close(); }

    LRESULT Open()
    {
        open = {};
        open.fccType = ICTYPE_VIDEO;
        open.fccHandler = FourCCOf(expected.stream.variant->fourCC);
        open.dwError = 77;
        id = static_cast<DWORD_PTR>(Instance::Raw(0, DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open)));
        return open.dwError;
    }
    void Close()
    {
        if (id != 0)
            Instance::Raw(id, DRV_CLOSE, 0, 0);
        id = 0;
    }
    bool IsOpen() const { return id != 0; }
    LRESULT Send(UINT message, void* first = nullptr, void* second = nullptr) const
    {
        return Instance::Raw(id, message, reinterpret_cast<LPARAM>(first), reinterpret_cast<LPARAM>(second));
    }

    LRESULT BeginCompress() { return Send(ICM_COMPRESS_BEGIN, &in, &coded.header); }
    LRESULT Compress() { return Send(ICM_COMPRESS, &compress); }
    LRESULT BeginDecompress() { return Send(ICM_DECOMPRESS_BEGIN, &stream.header, &out); }
    LRESULT Decompress() { return Send(ICM_DECOMPRESS, &decompress); }

    bool TargetIsUntouched() const
    {
        return std::ranges::all_of(target.Bytes(), [](uint8_t byte) { return byte == kUntouched; });
    }
    bool TargetIsDecoded() const { return std::ranges::equal(target.Bytes(), expected.decoded); }
    bool FrameIsRight() const
    {
        return coded.header.biSizeImage == expected.frame.size() &&
               std::ranges::equal(expected.frame, std::span(frame).first(expected.frame.size()));
    }

  private:
    const Rehearsal& expected;
    DWORD_PTR id = 0;
    ICOPEN open{};
    StreamHeader coded;  // the compressor's side
    StreamHeader stream; // the decompressor's side
    BITMAPINFOHEADER out;
    BITMAPINFOHEADER in;
    std::vector<uint8_t> frame;
    ExactBuffer target;
    DWORD flags = 0;
    ICCOMPRESS compress{};
    ICDECOMPRESS decompress{};
};

/// A notifier's thread is not waited for when its instance is closed.
bool NothingIsHeld(const AllocationWatch& watch)
{
    return Eventually([&watch] { return watch.Held() == 0; });
}

/// What is done while memory fails, what comes before, and what must be right behind it.
struct Operation {
    const char* name;
    LRESULT (*prepare)(Host&);
    LRESULT (*act)(Host&);
    bool (*isRight)(const Host&);
};

LRESULT Nothing(Host&)
{
    return 0;
}
bool Always(const Host&)
{
    return true;
}

const Operation kOperations[] = {
    {"compress begin", Nothing, [](Host& host) { return host.BeginCompress(); }, Always},
    {"first frame behind compress begin", [](Host& host) { return host.BeginCompress(); },
     [](Host& host) { return host.Compress(); }, [](const Host& host) { return host.FrameIsRight(); }},
    {"frame that begins a compress run", Nothing, [](Host& host) { return host.Compress(); },
     [](const Host& host) { return host.FrameIsRight(); }},
    {"decompress begin", Nothing, [](Host& host) { return host.BeginDecompress(); }, Always},
    {"first frame behind decompress begin", [](Host& host) { return host.BeginDecompress(); },
     [](Host& host) { return host.Decompress(); }, [](const Host& host) { return host.TargetIsDecoded(); }},
    {"frame that begins a decompress run", Nothing, [](Host& host) { return host.Decompress(); },
     [](const Host& host) { return host.TargetIsDecoded(); }},
    {"frame of the other direction",
     [](Host& host) { return host.Compress() == 0 ? host.Compress() : LRESULT{-100}; },
     [](Host& host) { return host.Decompress(); }, [](const Host& host) { return host.TargetIsDecoded(); }},
    {"settings from the store", Nothing, [](Host& host) { return host.Send(ICM_SETSTATE); }, Always},
};

/// The whole of a codec's work once more, in the instance that has just lacked memory.
void ExpectWholeWork(Host& host)
{
    EXPECT_EQ(host.BeginCompress(), 0);
    EXPECT_EQ(host.Compress(), 0);
    EXPECT_TRUE(host.FrameIsRight());
    EXPECT_EQ(host.Send(ICM_COMPRESS_END), 0);
    EXPECT_EQ(host.BeginDecompress(), 0);
    EXPECT_EQ(host.Decompress(), 0);
    EXPECT_TRUE(host.TargetIsDecoded());
    EXPECT_EQ(host.Send(ICM_DECOMPRESS_END), 0);
}

class MemoryFault : public testing::Test
{
  protected:
    MemoryFault() { TestStore::Write("Software\\Orvane", "NotificationSettings", 0); }

    ~MemoryFault() override { std::cout << faults << " faults injected\n"; }

    void Choose(const HostStream& stream, int threads)
    {
        StoredChoice choice;
        choice.encodeThreads = choice.decodeThreads = threads;
        choice.interlaced = stream.interlaced;
        StoreChoice(stream.variant->fourCC, choice);
    }

    /// Allocations of an operation when none fails.
    static long CountAllocations(const Rehearsal& rehearsal, const Operation& operation)
    {
        Host host(rehearsal);
        host.Open();
        operation.prepare(host);
        const AllocationFault never(kFarTooMany, AllocationFault::Kind::Once);
        operation.act(host);
        return never.Passed();
    }

    /// Every n in order, or when the tests are quick a sample with the first ones.
    std::vector<long> Points(const Rehearsal& rehearsal, const Operation& operation)
    {
        const long count = CountAllocations(rehearsal, operation);
        EXPECT_GT(count, 0) << operation.name << " would prove nothing";
        const long step = LongTests() ? 1 : std::max(1L, count / kSampledPoints);
        std::vector<long> points;
        for (long n = 0; n < count; n += n < 4 ? 1 : step)
            points.push_back(n);
        return points;
    }

    void FailEverywhere(const Rehearsal& rehearsal, const Operation& operation, bool mayBeAbsorbed)
    {
        for (const AllocationFault::Kind kind : kAllFaultKinds)
            for (const long n : Points(rehearsal, operation)) {
                SCOPED_TRACE(std::string(operation.name) + ", " + rehearsal.stream.Name() + ", allocation " +
                             std::to_string(n) +
                             (kind == AllocationFault::Kind::Once ? " alone" : " and all behind"));
                if (!FailOnce(rehearsal, operation, n, kind, mayBeAbsorbed) || HasFailure())
                    break;
            }
    }

    /// False when nothing has failed: the operation needs no more memory.
    bool FailOnce(const Rehearsal& rehearsal, const Operation& operation, long n, AllocationFault::Kind kind,
                  bool mayBeAbsorbed)
    {
        Host host(rehearsal);
        const AllocationWatch watch;
        EXPECT_EQ(host.Open(), 0);
        EXPECT_EQ(operation.prepare(host), 0);
        LRESULT result = 0;
        bool hit = false;
        {
            const AllocationFault fault(n, kind);
            result = operation.act(host);
            hit = fault.WasHit();
        }
        faults += hit;
        if (hit && (!mayBeAbsorbed || result != 0)) {
            EXPECT_EQ(result, ICERR_MEMORY);
            EXPECT_TRUE(host.TargetIsUntouched());
        }
        EXPECT_EQ(operation.act(host), 0);
        EXPECT_TRUE(operation.isRight(host));
        ExpectWholeWork(host);
        host.Close();
        EXPECT_TRUE(NothingIsHeld(watch))
            << watch.Held() << " allocations of a closed instance are still held";
        return hit;
    }

    const TestStore store;
    long faults = 0;
};

} // namespace

TEST_F(MemoryFault, WatchSeesWhatIsHeldAndFaultsComeWhenTheyArePlanned)
{
    const AllocationWatch watch;
    const auto one = std::make_unique<int>(1);
    std::unique_ptr<void, void (*)(void*)> two(std::calloc(15, 1), std::free);
    EXPECT_EQ(watch.Held(), 2U);
    two.reset();
    EXPECT_EQ(watch.Held(), 1U);
    const auto fails = [](long index, AllocationFault::Kind kind) {
        const AllocationFault fault(index, kind);
        std::string outcome;
        for (int i = 0; i < 4; ++i) {
            const std::unique_ptr<void, void (*)(void*)> memory(std::calloc(1, 1), std::free);
            outcome += memory ? 'y' : 'n'; // short enough to need no memory
        }
        return outcome;
    };
    EXPECT_EQ(fails(1, AllocationFault::Kind::Once), "ynyy");
    EXPECT_EQ(fails(1, AllocationFault::Kind::FromThenOn), "ynnn");
    EXPECT_EQ(fails(9, AllocationFault::Kind::Once), "yyyy");
}

TEST_F(MemoryFault, OpenGivesNothingAndSaysMinusThree)
{
    const HostStream stream = MakeHostStream("O8Y2", "YUY2", 16, 64, 60);
    Choose(stream, 1);
    const Rehearsal rehearsal(stream);
    for (const AllocationFault::Kind kind : kAllFaultKinds) {
        bool hit = true;
        const long step = LongTests() ? 1 : 7;
        for (long n = 0; hit && n < kFarTooMany && !HasFailure(); n += step) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            Host host(rehearsal);
            const AllocationWatch watch;
            {
                const AllocationFault fault(n, kind);
                const LRESULT error = host.Open();
                hit = fault.WasHit();
                EXPECT_EQ(error, hit ? ICERR_MEMORY : ICERR_OK);
                EXPECT_EQ(host.IsOpen(), !hit);
            }
            faults += hit;
            EXPECT_TRUE(host.IsOpen() || watch.Held() == 0U);
            EXPECT_EQ(host.IsOpen() ? 0 : host.Open(), 0);
            if (n % 16 == 0)
                ExpectWholeWork(host);
            host.Close();
            EXPECT_EQ(watch.Held(), 0U);
        }
        EXPECT_FALSE(hit) << "opening allocates without end";
    }
}

TEST_F(MemoryFault, EveryOperationAnswersMinusThreeAndTheInstanceGoesOn)
{
    // One thread and no log: there is nothing that could do without.
    const std::vector<HostStream> streams = StreamsOfAllRoads();
    for (size_t i = 0; i < streams.size(); i += LongTests() ? 1 : 2) {
        const HostStream& stream = streams[i];
        Choose(stream, 1);
        const Rehearsal rehearsal(stream);
        for (const Operation& operation : kOperations)
            FailEverywhere(rehearsal, operation, false);
    }
}

TEST_F(MemoryFault, WorkersThatLackMemoryTellTheCallersThread)
{
    // A pool without memory for a worker does without the worker.
    const std::vector<HostStream> streams = StreamsOfAllRoads(64, 120);
    for (size_t i = 0; i < streams.size(); i += LongTests() ? 1 : 3) {
        const HostStream& stream = streams[i];
        Choose(stream, 4);
        const Rehearsal rehearsal(stream);
        for (const Operation& operation : kOperations)
            if (operation.isRight != Always)
                FailEverywhere(rehearsal, operation, true);
    }
}

TEST_F(MemoryFault, LogAndIconDoWithout)
{
    const TestFolder home;
    const char* const oldHome = std::getenv("HOME");
    const std::string kept = oldHome ? oldHome : "";
    SetEnvironment("HOME", home.Path().string());
    if (platform::ProfileFolder() != home.Path())
        GTEST_SKIP() << "a test cannot choose where logs go here";
    const HostStream stream = MakeHostStream("O8Y0", "RGB", 24, 32, 32);
    Choose(stream, 1);
    const Rehearsal rehearsal(stream);
    TestStore::Write("Software\\Orvane", "EnableCodecLog", 1);
    TestStore::Write("Software\\Orvane", "NotificationSettings", 15);
    for (const Operation& operation : kOperations)
        FailEverywhere(rehearsal, operation, true);
    SetEnvironment("HOME", kept);
}
