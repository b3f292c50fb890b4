// Codes, coders and payloads that readers take and the encoder never writes.

#include "vectors/frame_parts.h"

#include <algorithm>

namespace vectors {

namespace {

FrameHeader Yuv444()
{
    return UsualHeader(103, 16, 36); // three planes of two bands
}

/// The residuals of block `block` of SomeFrame.
Bytes ResidualsOf(const FrameHeader& header, uint32_t seed, size_t block)
{
    const BlockSize size = BlocksOf(header, header.blockHeight)[block];
    return SomeResiduals(size_t{size.width} * size.rows, seed + static_cast<uint32_t>(block) + 1);
}

/// Three codes, and the blocks of a frame each coded by the one of `ids`.
FrameParts ByCoders(std::vector<Lengths> codes, Bytes ids, uint32_t seed)
{
    FrameParts frame = SomeFrame(Yuv444(), seed);
    frame.coderCount = static_cast<uint8_t>(codes.size());
    frame.ids = std::move(ids);
    frame.tables.clear();
    for (const Lengths& code : codes)
        frame.tables.push_back(TableOf(code));
    for (size_t i = 0; i < frame.blocks.size(); ++i)
        frame.blocks[i].payload = Coded(ResidualsOf(Yuv444(), seed, i), codes[frame.ids[i]]);
    return frame;
}

void AddCoders(std::vector<Vector>& all)
{
    const Bytes record = BytesOf(Yuv444());
    const Lengths flat = FlatLengths(), nine = UsualLengths(9), twelve = UsualLengths(12);
    const auto add = [&](const char* name, const char* text, const FrameParts& frame) {
        Add(all, name, text, {record, {frame.Join()}});
    };
    add("coder_one", "One coder for all blocks of three planes.", ByCoders({twelve}, Bytes(6, 0), 1));
    add("coder_for_each_block", "A coder for each block.",
        ByCoders({flat, nine, twelve, UsualLengths(10), UsualLengths(11), flat}, {5, 4, 3, 2, 1, 0}, 2));
    add("coder_other_order", "Three coders, used across planes.",
        ByCoders({flat, nine, twelve}, {2, 0, 1, 1, 0, 2}, 3));
    std::vector<Lengths> many(255, flat);
    many[254] = nine;
    add("coder_255", "255 coders, most of them without a block.",
        ByCoders(many, {254, 0, 100, 254, 7, 254}, 4));

    // Ids out of range with as many coders as planes: every block takes its plane's.
    FrameParts frame = ByCoders({flat, nine, twelve}, {0, 0, 1, 1, 2, 2}, 5);
    frame.ids = {2, 1, 0, 3, 2, 2};
    add("coder_ids_ignored",
        "Three coders for three planes, and an id of 3: no id counts, each block has the coder of its plane.",
        frame);
}

void AddLengths(std::vector<Vector>& all)
{
    const FrameHeader gray = UsualHeader(107, 16, 20);
    const auto add = [&](const char* name, const char* text, const Lengths& lengths, uint32_t seed) {
        Add(all, name, text, {BytesOf(gray), {SomeFrame(gray, seed, lengths).Join()}});
    };
    add("lengths_flat", "All lengths 8: the table is 88 FF.", FlatLengths(), 1);
    add("lengths_longest", "The longest code has 12 bits.", UsualLengths(12), 2);
    add("lengths_shortest_longest", "The longest code has 9 bits.", UsualLengths(9), 3);

    // One symbol with one bit, the other 255 share the rest: 1/2 + 1/512 + 254 * (1/512) = 1.
    Lengths oneBit = FlatLengths(9);
    oneBit[0] = 1;
    oneBit[1] = 8;
    add("lengths_one_bit", "The residual 0 has a code of one bit.", oneBit, 4);
    add("lengths_unused_space",
        "All lengths 9: half of the code space is not used. The payload has codes alone.", FlatLengths(9), 5);

    FrameParts hole = SomeFrame(gray, 6, FlatLengths(9));
    std::fill(hole.blocks[0].payload.begin() + 20, hole.blocks[0].payload.end(), uint8_t{0xFF});
    Add(all, "lengths_no_code",
        "All lengths 9, and bits that are no code: the samples from there to the end of the block are not "
        "specified.",
        {BytesOf(gray), {hole.Join()}}, {0});

    FrameParts cut = SomeFrame(gray, 7, FlatLengths());
    FrameParts parts = cut;
    cut.tables = {{0x88, 0x7F, 0x88, 0xFF}};
    parts.tables = {{0x88, 0x00}};
    parts.tables[0].insert(parts.tables[0].end(), {0x08, 0x88, 0xFD});
    Add(all, "lengths_other_runs",
        "All lengths 8, in runs that no writer makes: one that passes entry 256 and is cut there; a run of "
        "one "
        "entry in the long form.",
        {BytesOf(gray), {cut.Join(), parts.Join()}});
}

void AddBlocks(std::vector<Vector>& all)
{
    const FrameHeader header = Yuv444();
    const Bytes record = BytesOf(header);
    Stream predictors{record, {}};
    for (const int predictor : {3, 0, 4, 255}) {
        FrameParts frame = SomeFrame(header, 10);
        for (BlockParts& block : frame.blocks)
            block.predictor = static_cast<uint8_t>(predictor);
        predictors.frames.push_back(frame.Join());
    }
    Add(all, "predictor_others", "The same frame with the predictors 3, 0, 4 and 255: all are Median.",
        predictors);

    FrameParts frame = SomeFrame(header, 11);
    for (BlockParts& block : frame.blocks)
        block.flags = 0xFE;
    Add(all, "flags_others", "Block flags other than bit 0 are not used.", {record, {frame.Join()}});

    frame = SomeFrame(header, 12);
    for (size_t i = 0; i < frame.blocks.size(); i += 2) {
        frame.blocks[i].flags = kRaw;
        frame.blocks[i].payload = ResidualsOf(header, 12, i);
    }
    Add(all, "raw_and_coded", "Every second block is raw, of residuals that a code makes smaller.",
        {record, {frame.Join()}});

    frame = SomeFrame(header, 13);
    frame.blocks[1].payload.resize(frame.blocks[1].payload.size() / 2);
    frame.blocks[3].payload.clear();
    Add(all, "coded_short", "Coded blocks that are too short, one without any payload: zeros follow.",
        {record, {frame.Join()}});

    frame = SomeFrame(header, 14);
    frame.blocks[1].payload.resize(frame.blocks[1].payload.size() + 9, 0xAB);
    Add(all, "coded_long", "A coded block with nine bytes more than its residuals need.",
        {record, {frame.Join()}});

    frame = SomeFrame(header, 15);
    frame.blocks[1] = {kRaw, 1, Bytes(10, 3)};
    frame.blocks[5] = {kRaw, 2, Bytes(5, 4)};
    Add(all, "raw_short",
        "Raw blocks that are too short: the first reads on in the blocks after it, the last in the tail and, "
        "past the frame's end, zeros.",
        {record, {frame.Join()}});
}

void AddRecordTables(std::vector<Vector>& all)
{
    FrameHeader header = Yuv444();
    header.flags = kFlagAlwaysSet | 1U << kCoderTypeShift;
    const Lengths codes[] = {FlatLengths(), UsualLengths(9), UsualLengths(12)};
    FrameParts frame = SomeFrame(header, 20);
    for (size_t i = 0; i < frame.blocks.size(); ++i)
        frame.blocks[i].payload = Coded(ResidualsOf(header, 20, i), codes[i / 2]);
    const auto recordWith = [&](FrameHeader record, size_t tables) {
        Bytes bytes(kFrameHeaderSize);
        for (size_t i = 0; i < tables; ++i) {
            const Bytes table = TableOf(codes[i]);
            bytes.insert(bytes.end(), table.begin(), table.end());
        }
        record.headerSize = static_cast<uint32_t>(bytes.size());
        const Bytes head = BytesOf(record);
        std::ranges::copy(head, bytes.begin());
        return bytes;
    };
    Add(all, "record_tables",
        "Coder type 1: the codes stand in the record, and frames have no coder section.",
        {recordWith(header, 3), {frame.Join()}});
    FrameParts headerless = frame;
    headerless.header.clear();
    Add(all, "record_tables_headerless", "Coder type 1 and a frame without a header.",
        {recordWith(header, 3), {headerless.Join()}});
    FrameHeader old = header;
    old.version = 6;
    old.flags = kFlagAlwaysSet;
    Add(all, "record_tables_version_6", "Version 6 with flag bit 0 clear is coder type 1.",
        {recordWith(old, 3), {frame.Join()}});

    FrameParts raw = frame;
    raw.blocks[4] = {kRaw, 1, ResidualsOf(header, 20, 4)};
    Add(all, "record_tables_missing",
        "Coder type 1 with tables for two of three planes: the residuals of plane 2 are 0, those of its raw "
        "block what it holds.",
        {recordWith(header, 2), {raw.Join()}});
    Add(all, "record_tables_none",
        "Coder type 1 without tables: raw blocks alone have residuals other than 0.",
        {recordWith(header, 0), {raw.Join()}});
    Bytes cut = recordWith(header, 3);
    cut.pop_back();
    SetWord(cut, 4, static_cast<uint32_t>(cut.size()));
    Add(all, "record_tables_cut", "Coder type 1 with a last table that is cut off: plane 2 has no code.",
        {cut, {raw.Join()}});
    Bytes bad = recordWith(header, 3);
    bad[32] = 0x80; // lengths 0
    Add(all, "record_tables_no_code", "Coder type 1 with lengths of 0 for plane 0: it has no code.",
        {bad, {frame.Join()}});

    for (const uint32_t type : {0U, 3U, 15U}) {
        FrameHeader none = Yuv444();
        none.flags = kFlagAlwaysSet | type << kCoderTypeShift;
        FrameParts empty = SomeFrame(none, 21);
        for (BlockParts& block : empty.blocks)
            block.payload.clear();
        FrameParts filled = SomeFrame(none, 22);
        filled.blocks[0].flags = kRaw;
        Add(all, "coder_type_" + std::to_string(type),
            "Coder type " + std::to_string(type) +
                ": there are no codes, and all residuals are 0, also those of blocks with a payload.",
            {BytesOf(none), {empty.Join(), filled.Join()}});
    }
}

} // namespace

void AddCodeStreams(std::vector<Vector>& all)
{
    AddCoders(all);
    AddLengths(all);
    AddBlocks(all);
    AddRecordTables(all);
}

} // namespace vectors
