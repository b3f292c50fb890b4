// Allocation that fails, at every point of every message: nothing is thrown, -3 is answered, and the instance
// goes on. Done to the driver's own code in this program, where operator new can be made to fail.
#include "driver/driver_instance.h"
#include "driver/message_table.h"

#include "driver/driver_session.h"
#include "driver/test_log.h"
#include "support/memory/allocation_budget.h"

#include <gtest/gtest.h>

#include <memory>

using namespace driver;

namespace {

ResultCode Send(DriverInstance* instance, UINT message, const void* first = nullptr,
                const void* second = nullptr)
{
    return HandleMessage(reinterpret_cast<DWORD_PTR>(instance), {}, message, reinterpret_cast<LPARAM>(first),
                         reinterpret_cast<LPARAM>(second));
}

/// Runs `act` with the n-th allocation failing, for every n until it gets by with none failing; -1 when it
/// never does. `check` sees each failed answer.
template <class Act, class Check>
int FailEachAllocation(Act act, Check check)
{
    for (long n = 0; n < 20'000; ++n) {
        LRESULT result = 0;
        bool failed = false;
        {
            const AllocationBudget budget(n);
            result = act();
            failed = budget.IsUsedUp();
        }
        if (!failed)
            return static_cast<int>(n);
        check(result);
        if (::testing::Test::HasFailure())
            return -1;
    }
    return -1;
}

struct InstanceCloser {
    void operator()(DriverInstance* instance) const { CloseInstance(instance); }
};
using OwnInstance = std::unique_ptr<DriverInstance, InstanceCloser>;

} // namespace

TEST(OutOfMemory, OpenGivesNothingAndSaysWhy)
{
    const TestUser user;
    ICOPEN open{};
    open.fccType = ICTYPE_VIDEO;
    open.fccHandler = FourCCOf("O8Y2");
    OwnInstance instance;
    const int allocations = FailEachAllocation(
        [&] {
            open.dwError = 77;
            instance.reset(OpenInstance(&open));
            return instance ? open.dwError : LRESULT{-100};
        },
        [&](LRESULT result) {
            // Reading the settings is the one part that does without memory by itself.
            if (result == -100) {
                EXPECT_EQ(open.dwError, ICERR_MEMORY);
            }
        });
    EXPECT_GT(allocations, 10);
    ASSERT_TRUE(instance);
    EXPECT_EQ(open.dwError, 0);
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    EXPECT_EQ(Send(instance.get(), ICM_COMPRESS_QUERY, &in), 0);
}

TEST(OutOfMemory, FramesAnswerMinusThreeAndTheInstanceGoesOn)
{
    const TestUser user;
    const OwnInstance instance(OpenInstance(nullptr));
    ASSERT_TRUE(instance);
    const uint32_t bytes = 64 * 48 * 2;
    std::vector<uint8_t> picture(bytes, uint8_t{9}), frame(400'000), target(bytes);
    BITMAPINFOHEADER header = MakeHeader("YUY2", 16, 64, 48, bytes);
    StreamHeader stream = MakeStream(104, 64, 48);
    DWORD flags = 0;
    ICCOMPRESS compress{};
    compress.lpbiOutput = &stream.header;
    compress.lpOutput = frame.data();
    compress.lpbiInput = &header;
    compress.lpInput = picture.data();
    compress.lpdwFlags = &flags;
    ICDECOMPRESS decompress{};
    decompress.lpbiInput = &stream.header;
    decompress.lpInput = frame.data();
    decompress.lpbiOutput = &header;
    decompress.lpOutput = target.data();
    const auto isMemory = [](LRESULT result) { EXPECT_TRUE(result == -3 || result == 0) << result; };

    EXPECT_GT(FailEachAllocation([&] { return Send(instance.get(), ICM_COMPRESS, &compress); }, isMemory), 1);
    EXPECT_GT(stream.header.biSizeImage, 32U);
    EXPECT_GT(FailEachAllocation([&] { return Send(instance.get(), ICM_DECOMPRESS, &decompress); }, isMemory),
              1);
    EXPECT_EQ(target, picture);
    EXPECT_GE(FailEachAllocation([&] { return Send(instance.get(), ICM_SETSTATE); }, isMemory), 1);
    EXPECT_EQ(Send(instance.get(), ICM_DECOMPRESS_END), 0);
}

TEST(OutOfMemory, IsLogged)
{
    TestUser user;
    TestUser::EnableLog();
    const OwnInstance instance(OpenInstance(nullptr));
    ASSERT_TRUE(instance);
    user.NewLines();
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    const StreamHeader stream = MakeStream(104, 64, 48);
    const auto begin = [&] { return Send(instance.get(), ICM_COMPRESS_BEGIN, &in, &stream); };
    const auto beginWithoutMemory = [&] {
        const AllocationBudget none(0);
        return begin();
    };
    EXPECT_EQ(beginWithoutMemory(), ICERR_MEMORY);
    EXPECT_EQ(user.NewLines(), std::vector<std::string>{"#### INTERNAL ERROR #### : Out of memory"});
    EXPECT_EQ(begin(), 0);
}
