// What readers refuse: records, and frames of every fault. After each refused frame a valid one is decoded.

#include "vectors/describe.h"
#include "vectors/frame_parts.h"

#include <algorithm>
#include <functional>

namespace vectors {

namespace {

FrameHeader Yuv420()
{
    return UsualHeader(105, 16, 36);
}

void AddRecords(std::vector<Vector>& all)
{
    struct Change {
        const char* name;
        const char* text;
        std::function<void(Bytes&)> apply;
    };
    const auto byte = [](size_t at, uint8_t value) { return [=](Bytes& record) { record[at] = value; }; };
    const auto word = [](size_t at, uint32_t value) {
        return [=](Bytes& record) { SetWord(record, at, value); };
    };
    const Change changes[] = {
        {"magic", "without the magic", byte(0, 'o')},
        {"header_size_31", "with a headerSize that is not its size", word(4, 31)},
        {"header_size_0", "with a headerSize of 0", word(4, 0)},
        {"short", "of 31 bytes",
         [](Bytes& record) {
             record.resize(31);
             SetWord(record, 4, 31);
         }},
        {"long", "of 2081 bytes: 32 and four tables of 512 are the most",
         [](Bytes& record) {
             record.resize(2081);
             SetWord(record, 4, 2081);
         }},
        {"version_8", "of version 8", byte(8, 8)},
        {"format_100", "of format 100", byte(9, 100)},
        {"format_108", "of format 108, which is reserved", byte(9, 108)},
        {"max_code_length_11", "with a maxCodeLength of 11", byte(10, 11)},
        {"max_code_length_14", "with a maxCodeLength of 14", byte(10, 14)},
        {"matrix_3", "with matrix 3", byte(11, 3)},
        {"width_odd", "of 4:2:0 with an odd width", word(16, 15)},
        {"height_odd", "of 4:2:0 with an odd height", word(20, 35)},
        {"height_of_fields", "of interlaced 4:2:0 with a height that is no multiple of 4",
         [](Bytes& record) {
             record[12] |= kFlagInterlaced;
             SetWord(record, 20, 34);
         }},
        {"too_large", "with a plane of 2^31 samples",
         [](Bytes& record) {
             SetWord(record, 16, 1U << 16);
             SetWord(record, 20, 1U << 15);
         }},
        {"too_many_blocks", "with more than 2^20 blocks",
         [](Bytes& record) {
             SetWord(record, 20, 699052);
             SetWord(record, 28, 2);
         }},
    };
    for (const Change& change : changes) {
        Stream stream{BytesOf(Yuv420()), {}};
        change.apply(stream.record);
        if (StreamReader(stream.record).Accepts())
            throw std::logic_error(std::string(change.name) + " is not refused");
        AddAny(all, std::string("refused_record_") + change.name,
               std::string("A record ") + change.text + ".", stream);
    }
}

/// Frames that are refused, each followed by a good one.
class Refusals
{
  public:
    Refusals(std::vector<Vector>& all_, const char* name_, const char* text_)
        : all(all_), name(name_), text(text_), stream{BytesOf(Yuv420()), {}}
    {}
    ~Refusals() { AddAny(all, name, text, stream); }
    Refusals(const Refusals&) = delete;
    Refusals& operator=(const Refusals&) = delete;

    void Take(const Bytes& bad)
    {
        StreamReader reader(stream.record);
        if (reader.Decode(bad) == FrameStatus::Ok)
            throw std::logic_error(std::string(name) + " has a frame that is not refused");
        stream.frames.push_back(bad);
        stream.frames.push_back(SomeFrame(Yuv420(), static_cast<uint32_t>(stream.frames.size())).Join());
    }

  private:
    std::vector<Vector>& all;
    const char* name;
    const char* text;
    Stream stream;
};

void AddHeaders(std::vector<Vector>& all)
{
    const Bytes good = SomeFrame(Yuv420(), 1).Join();
    {
        Refusals refused(all, "refused_short",
                         "Frames cut off after 1 to 3, 4, 31 and 32 bytes, and inside the offset table.");
        for (const int size : {1, 2, 3, 4, 31, 32, 59})
            refused.Take({good.begin(), good.begin() + size});
    }
    {
        Refusals refused(
            all, "refused_other_stream",
            "Headers of another stream: version 8 and 255, another format, maxCodeLength, matrix "
            "(1, 3), interlaced, range, coder type (1, 0), version 6 with flag bit 0 clear, width, "
            "height.");
        const auto changed = [&](size_t at, uint8_t value) {
            Bytes frame = good;
            frame[at] = value;
            refused.Take(frame);
        };
        changed(8, 8);
        changed(8, 255);
        changed(9, 104);
        changed(10, 13);
        changed(11, 1);
        changed(11, 3);
        changed(12, kFlagInterlaced);
        changed(12, kFlagFullRange);
        changed(14, 0x12);
        changed(14, 0x02);
        changed(8, 6);
        changed(16, 15);
        changed(20, 37);
    }
    {
        Refusals refused(all, "refused_header_size", "A headerSize beyond the frame's end, and the largest.");
        for (const uint32_t size : {static_cast<uint32_t>(good.size()) + 1, 0xFFFFFFFFU}) {
            Bytes frame = good;
            SetWord(frame, 4, size);
            refused.Take(frame);
        }
    }
    {
        Refusals refused(all, "refused_block_height",
                         "Block heights that ask for more blocks than the frame has words: 1 and 2 rows in "
                         "a frame that is cut off behind 20 words. The block list is unchanged.");
        for (const uint32_t rows : {1U, 2U}) {
            Bytes frame(good.begin(), good.begin() + 32 + 80);
            SetWord(frame, 28, rows);
            refused.Take(frame);
        }
    }
}

void AddOffsets(std::vector<Vector>& all)
{
    Refusals refused(
        all, "refused_offsets",
        "Blocks that start beyond the frame's end: the first, the last, by one byte, and all at the "
        "same place.");
    const FrameParts frame = SomeFrame(Yuv420(), 2);
    const Bytes good = frame.Join();
    const auto beyond = static_cast<uint32_t>(good.size() - 32 + 1);
    const auto take = [&](std::initializer_list<size_t> blocks, uint32_t offset) {
        Bytes bad = good;
        for (const size_t block : blocks)
            SetWord(bad, frame.OffsetAt(block), offset);
        refused.Take(bad);
    };
    take({0}, 0xFFFFFFFF);
    take({5}, 0x7FFFFFFF);
    take({5}, beyond);
    take({3}, beyond);
    take({0, 1, 2, 3, 4, 5}, beyond);
}

void AddCoders(std::vector<Vector>& all)
{
    const FrameParts good = SomeFrame(Yuv420(), 3);
    {
        Refusals refused(
            all, "refused_coders",
            "No coder; an id of 2 with two coders; an id of 255 with four coders for three planes.");
        FrameParts frame = good;
        frame.coderCount = 0;
        frame.tables.clear();
        refused.Take(frame.Join());
        frame = good;
        frame.coderCount = 2;
        frame.tables.pop_back();
        refused.Take(frame.Join());
        frame = good;
        frame.coderCount = 4;
        frame.tables.push_back(frame.tables[0]);
        frame.ids[5] = 255;
        refused.Take(frame.Join());
    }
    {
        Refusals refused(
            all, "refused_coder_section",
            "Frames that end before the number of coders, inside the ids, inside the tables, and "
            "inside a run of a table. Blocks start at the table itself.");
        const size_t section = good.header.size() + 4 * (good.blocks.size() + 1);
        for (const size_t more : {size_t{0}, size_t{4}, size_t{7}, size_t{20}}) {
            Bytes frame = good.Join();
            for (size_t i = 0; i < good.blocks.size(); ++i)
                SetWord(frame, good.OffsetAt(i), 0);
            frame.resize(section + more);
            refused.Take(frame);
        }
        FrameParts run = good;
        run.tables = {{0x88, 0xFF, 0x88, 0xFF, 0x88}};
        run.blocks.clear();
        Bytes frame = run.header;
        frame.resize(frame.size() + 28);
        frame.push_back(3);
        frame.insert(frame.end(), run.ids.begin(), run.ids.end());
        frame.insert(frame.end(), run.tables[0].begin(), run.tables[0].end());
        refused.Take(frame);
    }
}

void AddLengths(std::vector<Vector>& all)
{
    Refusals refused(
        all, "refused_lengths",
        "Lengths that are no code: one of 0, one of 13, all 127, and too many short ones (all 7; "
        "all 8 but one of 7). The last coder has no block.");
    const auto take = [&](const Lengths& lengths, size_t table) {
        FrameParts frame = SomeFrame(Yuv420(), 4);
        frame.tables[table] = TableOf(lengths);
        refused.Take(frame.Join());
    };
    Lengths lengths = UsualLengths();
    lengths[200] = 0;
    take(lengths, 0);
    lengths = FlatLengths(9);
    lengths[7] = 13;
    take(lengths, 1);
    take(FlatLengths(127), 2);
    take(FlatLengths(7), 0);
    lengths = FlatLengths(8);
    lengths[0] = 7;
    take(lengths, 2);
    FrameParts frame = SomeFrame(Yuv420(), 5);
    frame.coderCount = 4;
    frame.tables.push_back(TableOf(FlatLengths(7)));
    refused.Take(frame.Join());
}

} // namespace

void AddRefusedStreams(std::vector<Vector>& all)
{
    AddRecords(all);
    AddHeaders(all);
    AddOffsets(all);
    AddCoders(all);
    AddLengths(all);
}

} // namespace vectors
