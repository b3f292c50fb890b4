// What a compress run accepts as block height comes back bit for bit.

#include "support/codec_run.h"
#include "support/long_tests.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using Bytes = std::vector<uint8_t>;

/// The rule once more: whole rows of every plane and field, or one block.
bool GivesWholeRows(FormatId code, bool interlaced, uint32_t height, uint32_t blockHeight)
{
    const uint32_t granule = (code == kCodeYuv420 ? 2U : 1U) * (interlaced ? 2U : 1U);
    return blockHeight >= height || (blockHeight != 0 && blockHeight % granule == 0);
}

TEST(BlockHeight, WhatIsAcceptedComesBackAndDoesNotDependOnThePictureBefore)
{
    const std::pair<FormatId, FormatId> pairs[] = {
        {kHostBgrx, kCodeRgb},    {kHostBgra, kCodeRgba},          {kHostBgr, kCodeRgb},
        {kHostYv24, kCodeYuv444}, {kHostV308, kCodeYuv444},        {kHostYuy2, kCodeYuv422},
        {kHostI420, kCodeYuv420}, {kHostAyuvOrderAyuv, kCodeYuva}, {kHostY8, kCodeGray}};
    for (const auto& [host, code] : pairs)
        for (const bool interlaced : {false, true})
            for (const uint32_t height : {4U, 12U, 36U}) {
                const StreamSpec spec{
                    .host = host, .code = code, .width = 12, .height = height, .interlaced = interlaced};
                CodecRun run(spec), fresh(spec);
                const Bytes before = MakePicture(Content::Noise, run.InputBytes(), 12, 9);
                const Bytes picture = MakePicture(Content::Smooth, run.InputBytes(), 12, 1);
                const Bytes expected = run.Decode(run.Encode(picture)).picture;
                for (uint32_t rows = 0; rows <= height + 2; rows += LongTests() || rows < 9 ? 1 : 3) {
                    SCOPED_TRACE(testing::Message()
                                 << "code " << code << " host " << host << " interlaced " << interlaced
                                 << " height " << height << " rows " << rows);
                    run.record.blockHeight = fresh.record.blockHeight = rows;
                    const bool accepted = run.encoder.CanCompressWith(run.RecordBytes(), sizeof run.record,
                                                                      host, spec.width, height);
                    ASSERT_EQ(accepted, GivesWholeRows(code, interlaced, height, rows));
                    if (!accepted)
                        continue;
                    run.BeginCompress();
                    run.BeginDecompress();
                    fresh.BeginCompress();
                    run.Encode(before);
                    const Bytes frame = run.Encode(picture);
                    ASSERT_TRUE(SameBytes(frame, fresh.Encode(picture)));
                    const auto decoded = run.Decode(frame);
                    ASSERT_EQ(decoded.status, FrameStatus::Ok);
                    ASSERT_EQ(decoded.picture, expected);
                }
            }
}

} // namespace
