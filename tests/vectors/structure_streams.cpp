// Frames that readers take and the encoder never writes: headers, offsets, block heights, tails.

#include "vectors/frame_parts.h"

namespace vectors {

namespace {

constexpr uint32_t kWidth = 16, kHeight = 36; // two bands

FrameHeader Yuv420()
{
    return UsualHeader(105, kWidth, kHeight);
}

/// A stream of one record with the frames that `make` gives.
Stream StreamOf(const FrameHeader& record, std::vector<Bytes> frames)
{
    return {BytesOf(record), std::move(frames)};
}

void AddHeaders(std::vector<Vector>& all)
{
    const FrameHeader record = Yuv420();
    FrameParts frame = SomeFrame(record, 1);
    frame.header.clear();
    Add(all, "headerless", "A frame without a header: it begins with its offset table.",
        StreamOf(record, {frame.Join()}));

    for (const uint32_t size : {33U, 36U, 300U}) {
        frame = SomeFrame(record, size);
        frame.header.resize(size, 0x55);
        SetWord(frame.header, 4, size);
        Add(all, "header_size_" + std::to_string(size),
            "A headerSize of " + std::to_string(size) + ": the offset table follows at that place.",
            StreamOf(record, {frame.Join()}));
    }

    // Block 0 starts at word 1, which is headerSize: at 'O', so that it is raw, with the predictor 'R'. The
    // coder section is at byte 8: as many coders as the version says; id 107, which is out of range and
    // ignored; the lengths 12, 2 and 254 times 9 in maxCodeLength, colorMatrix and flags.
    FrameHeader over = UsualHeader(107, 4, 8);
    over.headerSize = 0;
    over.version = 1;
    over.flags = 0xFD89;
    Add(all, "header_size_0",
        "A headerSize of 0: the offset table lies over the header, and so do coder section and block.",
        StreamOf(UsualHeader(107, 4, 8), {BytesOf(over)}));

    Stream versions{BytesOf(record), {}};
    for (uint8_t version = 0; version <= 7; ++version) {
        FrameHeader header = record;
        header.version = version;
        if (version < 7)
            header.flags = kFlagAlwaysSet | kFlagOldCoderTables;
        versions.frames.push_back(SomeFrame(header, version).Join());
        if (version < 7) // the coder type comes from bit 0: bits 20 to 23 are not looked at
            SetWord(versions.frames.back(), 12, header.flags | 5U << kCoderTypeShift);
    }
    Add(all, "versions",
        "Frames of versions 0 to 7 in a stream of version 7. Below 7, flag bit 0 says coder type 2.",
        versions);

    FrameHeader old = record;
    old.version = 3;
    old.flags = kFlagAlwaysSet | kFlagOldCoderTables;
    Add(all, "version_3_record", "A record of version 3 with a frame of version 3 and one of version 7.",
        StreamOf(old, {SomeFrame(old, 9).Join(), SomeFrame(record, 9).Join()}));

    Stream ignored{BytesOf(record), {}};
    for (int i = 0; i < 4; ++i) {
        Bytes changed = SomeFrame(record, 11).Join();
        if (i == 1)
            SetWord(changed, 12, (record.flags ^ kFlagAlwaysSet) | 0xFF0DFFF8 | 1); // all that readers ignore
        else if (i == 2)
            SetWord(changed, 24, 12345);
        else if (i == 3)
            changed[11] = 0; // stands for 2
        ignored.frames.push_back(changed);
    }
    Add(all, "header_ignored",
        "Fields that no reader uses: the same frame four times, with all free flag bits turned, another "
        "codedWidth, and matrix 0 for 2.",
        ignored);

    Stream rgb{BytesOf(UsualHeader(101, 8, 8)), {}};
    for (uint8_t matrix = 0; matrix <= 2; ++matrix) {
        FrameHeader header = UsualHeader(101, 8, 8);
        header.colorMatrix = matrix;
        rgb.frames.push_back(SomeFrame(header, 12).Join());
    }
    Add(all, "matrix_of_rgb", "RGB: matrices 0, 1 and 2 are the same.", rgb);
}

/// A frame with its offset table changed.
template <class Change>
Bytes WithOffsets(uint32_t seed, Change change)
{
    const FrameParts frame = SomeFrame(Yuv420(), seed);
    Bytes bytes = frame.Join();
    change(frame, bytes);
    return bytes;
}

void AddOffsets(std::vector<Vector>& all)
{
    const FrameHeader record = Yuv420();
    Add(all, "offset_word_0", "Word 0 of the offset table is not used.",
        StreamOf(record, {WithOffsets(20, [](const FrameParts& frame, Bytes& bytes) {
                     SetWord(bytes, frame.header.size(), 0xFFFFFFFF);
                 })}));
    Add(all, "offset_falling", "Block 1 starts before block 0: block 0 ends at the frame's end.",
        StreamOf(record, {WithOffsets(21, [](const FrameParts& frame, Bytes& bytes) {
                     SetWord(bytes, frame.OffsetAt(1), WordAt(bytes, frame.OffsetAt(0)) - 1);
                 })}));
    Add(all, "offset_equal",
        "Blocks 0 and 1 start at the same place: block 0 has no bytes. Its flags and predictor are those at "
        "its "
        "start, its payload reads as zeros.",
        StreamOf(record, {WithOffsets(22, [](const FrameParts& frame, Bytes& bytes) {
                     SetWord(bytes, frame.OffsetAt(1), WordAt(bytes, frame.OffsetAt(0)));
                 })}));
    Add(all, "offset_at_end", "The last block starts at the frame's end and has no bytes.",
        StreamOf(record, {WithOffsets(23, [](const FrameParts& frame, Bytes& bytes) {
                     SetWord(bytes, frame.OffsetAt(5), static_cast<uint32_t>(bytes.size() - 32));
                 })}));
    Add(all, "offset_in_tables", "A block that starts at the offset table itself: it is read like any other.",
        StreamOf(record, {WithOffsets(26, [](const FrameParts& frame, Bytes& bytes) {
                     SetWord(bytes, frame.OffsetAt(0), 0);
                 })}));
    Add(all, "offset_overlap", "All blocks start at the first one's place: only the last has bytes.",
        StreamOf(record, {WithOffsets(24, [](const FrameParts& frame, Bytes& bytes) {
                     for (size_t i = 1; i < frame.blocks.size(); ++i)
                         SetWord(bytes, frame.OffsetAt(i), WordAt(bytes, frame.OffsetAt(0)));
                 })}));

    // Block 2 moved after all others, with a gap in front of it.
    FrameParts frame = SomeFrame(record, 25);
    Bytes moved = frame.Join();
    const uint32_t from = WordAt(moved, frame.OffsetAt(2)), to = WordAt(moved, frame.OffsetAt(3));
    const Bytes block(moved.begin() + 32 + from, moved.begin() + 32 + to);
    SetWord(moved, frame.OffsetAt(2), static_cast<uint32_t>(moved.size() + 7 - 32));
    moved.resize(moved.size() + 7, 0xEE);
    moved.insert(moved.end(), block.begin(), block.end());
    Add(all, "offset_order", "Block 2 lies behind all others, after seven bytes that belong to none.",
        StreamOf(record, {moved}));
}

void AddBlockHeights(std::vector<Vector>& all)
{
    const FrameHeader record = Yuv420();
    const auto withHeight = [](FrameHeader header, uint32_t rows, uint32_t seed) {
        header.blockHeight = rows;
        return SomeFrame(header, seed).Join();
    };
    Bytes asConfigured = SomeFrame(record, 30).Join();
    SetWord(asConfigured, 28, 0);
    Add(all, "block_height_0", "Block height 0 in a frame: that of the record.",
        StreamOf(record, {asConfigured}));
    for (const uint32_t rows : {1U, 4U, 7U, 9U, 36U})
        Add(all, "block_height_" + std::to_string(rows),
            "A frame with blocks of " + std::to_string(rows) + " rows in a stream of 28" +
                (rows == 1   ? "; planes 1 and 2 have blocks without rows and stay 0."
                 : rows == 7 ? "; in planes 1 and 2 that is 3 rows, and the rows that no block covers stay 0."
                 : rows == 9 ? "; in planes 1 and 2 that is 4 rows, and the rows that no block covers stay 0."
                             : "."),
            StreamOf(record, {withHeight(record, rows, 31)}));
    FrameHeader low = UsualHeader(105, 16, 20);
    Add(all, "block_height_above", "A block height above the picture's: one band.",
        StreamOf(low, {withHeight(low, 0xFFFFFFFF, 32), SomeFrame(low, 33).Join()}));

    FrameHeader interlaced = record;
    interlaced.flags |= kFlagInterlaced;
    Add(all, "block_height_odd_interlaced",
        "Interlaced blocks of 7 rows (3 in planes 1 and 2): the last row of each belongs to no field, and "
        "its "
        "samples are its residuals.",
        StreamOf(interlaced, {withHeight(interlaced, 7, 34)}));

    // 36 rows in blocks of 28 or of 20 are two bands.
    FrameHeader twenty = record;
    twenty.blockHeight = 20;
    FrameParts byOldList = SomeFrame(record, 35);
    byOldList.header = BytesOf(twenty);
    Add(all, "block_height_same_count",
        "A frame with blocks of 20 rows has as many blocks as one of 28: the block list stays, and the frame "
        "is "
        "cut by 28 rows.",
        StreamOf(record, {SomeFrame(record, 36).Join(), byOldList.Join(), SomeFrame(record, 37).Join()}));

    // After a frame with three bands, a frame of the record's height is read by the list of three bands.
    FrameHeader twelve = record;
    twelve.blockHeight = 12;
    FrameParts byNewList = SomeFrame(twelve, 38);
    byNewList.header = BytesOf(record);
    Add(all, "block_height_list_stays",
        "After a frame with another number of blocks, frames of the record's block height are read by that "
        "frame's block list: its offset table has nine blocks. Of the list, band k of plane p is entry "
        "2p + k, if that is a block of the plane. A frame with the record's own number of blocks is refused "
        "or read wrongly.",
        StreamOf(record, {withHeight(record, 12, 39), byNewList.Join()}));

    FrameHeader none = record;
    none.blockHeight = 0;
    FrameParts empty = SomeFrame(none, 40);
    Add(all, "block_height_none",
        "Block height 0 in the record: frames with 0 have no blocks, and all samples are 0. A frame with 28 "
        "is "
        "read as usual.",
        StreamOf(none, {empty.Join(), withHeight(none, 28, 41)}));
}

void AddTails(std::vector<Vector>& all)
{
    const FrameHeader record = Yuv420();
    const FrameParts frame = SomeFrame(record, 50);
    Bytes padded = frame.Join(), filled = frame.Join();
    padded.resize(padded.size() + 1000);
    std::fill(filled.end() - 15, filled.end(), uint8_t{0xFF});
    Add(all, "tails", "The same frame with the usual tail, without one, with 1000 zeros more, and with ones.",
        StreamOf(record, {frame.Join(), frame.JoinBare(), padded, filled}));
}

} // namespace

void AddStructureStreams(std::vector<Vector>& all)
{
    AddHeaders(all);
    AddOffsets(all);
    AddBlockHeights(all);
    AddTails(all);
}

} // namespace vectors
