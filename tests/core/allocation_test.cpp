// Counts what a frame allocates once a run has settled. The counters stand in the program's own operator new;
// plane memory comes from calloc and is watched through the arenas' addresses instead.

#include "support/codec_run.h"
#include "support/memory/own_new.h"
#include "support/picture_maker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

namespace {
std::atomic<size_t> allocations{0};
}

void* AllocateForNew(size_t size) noexcept
{
    ++allocations;
    return std::malloc(size);
}

void ReleaseForDelete(void* memory) noexcept
{
    std::free(memory);
}

namespace {

TEST(Allocation, AFrameInSteadyStateAllocatesNothing)
{
    Orvane probe(true, true);
    probe.ApplyDecodeSettings({.DecompSettings_YUV400 = 255,
                               .DecompSettings_YUV420 = 255,
                               .DecompSettings_YUV422 = 255,
                               .DecompSettings_YUV444 = 255});
    for (const auto& [key, route] : probe.Routes()) {
        if (route.kind != RouteKind::Compress || key.second == kAnyFormat)
            continue;
        for (const int threads : {1, 3}) {
            CodecRun run(
                {.host = key.first, .code = key.second, .width = 64, .height = 120, .threads = threads});
            ExactBuffer picture(MakePicture(Content::Smooth, run.InputBytes(), 64, 5));
            ExactBuffer back(run.OutputBytes());
            std::vector<uint8_t> frame(run.encoder.MaxCompressedSize(key.first, 64, 120, key.second));
            uint32_t size = 0;
            const auto compress = [&] {
                run.encoder.SetSource(run.compressInfo, picture.data());
                run.compressInfo.output = frame.data();
                size = run.encoder.Compress(run.compressInfo);
            };
            const auto decompress = [&] {
                run.decoder.SetImage(run.decompressInfo, back.data());
                run.decompressInfo.frame = {frame.data(), size};
                return run.decoder.Decompress(run.decompressInfo);
            };
            for (int i = 0; i < 2; ++i) {
                compress();
                ASSERT_EQ(decompress(), FrameStatus::Ok);
            }
            const size_t before = allocations;
            for (int i = 0; i < 20; ++i) {
                compress();
                decompress();
            }
            EXPECT_EQ(allocations - before, 0U)
                << key.first << " to " << key.second << ", " << threads << " threads";
        }
    }
}

} // namespace
