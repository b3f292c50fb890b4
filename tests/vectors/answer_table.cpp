#include "vectors/answer_table.h"

#include "vectors/describe.h"
#include "vectors/frame_parts.h"

#include <algorithm>
#include <functional>

namespace vectors {

namespace {

using Answer = std::string;
/// The answer to a value of a field.
using Trial = std::function<Answer(uint32_t)>;

FrameHeader Record()
{
    return UsualHeader(105, 16, 36);
}

Answer ToRecord(const Bytes& record)
{
    return StreamReader(record).Accepts() ? "taken" : "refused";
}

Answer ToFrame(const Bytes& record, const Bytes& frame)
{
    StreamReader reader(record);
    return std::to_string(static_cast<int>(reader.Decode(frame)));
}

Bytes PictureOf(const Bytes& frame)
{
    StreamReader reader(BytesOf(Record()));
    reader.Decode(frame);
    return reader.Picture();
}

/// Values with the same answer, joined: "0 to 7: taken; 8 to 255: refused".
std::string RangesOf(const Trial& trial, uint32_t first, uint32_t last)
{
    std::string text;
    for (uint32_t from = first; from <= last;) {
        const Answer answer = trial(from);
        uint32_t to = from;
        while (to < last && trial(to + 1) == answer)
            ++to;
        text += (text.empty() ? "" : "; ") + std::to_string(from) +
                (from == to ? "" : " to " + std::to_string(to)) + ": " + answer;
        from = to + 1;
    }
    return text;
}

/// The bits of a word with the same answer when they are turned.
std::string BitsOf(const Trial& trial)
{
    return RangesOf([&](uint32_t bit) { return trial(1U << bit); }, 0, 31);
}

FrameParts Parts()
{
    return SomeFrame(Record(), 1);
}

Answer WithByte(size_t at, uint32_t value)
{
    Bytes frame = Parts().Join();
    frame[at] = static_cast<uint8_t>(value);
    return ToFrame(BytesOf(Record()), frame);
}

Answer WithWord(size_t at, uint32_t value)
{
    Bytes frame = Parts().Join();
    SetWord(frame, at, value);
    return ToFrame(BytesOf(Record()), frame);
}

Answer RecordWithByte(size_t at, uint32_t value)
{
    Bytes record = BytesOf(Record());
    record[at] = static_cast<uint8_t>(value);
    return ToRecord(record);
}

Answer RecordWithWord(size_t at, uint32_t value)
{
    Bytes record = BytesOf(Record());
    SetWord(record, at, value);
    return ToRecord(record);
}

struct Row {
    const char* field;
    std::string answers;
};

Answer RecordOfSize(uint32_t size)
{
    Bytes record = BytesOf(Record());
    record.resize(size);
    if (size >= 8)
        SetWord(record, 4, size);
    return ToRecord(record);
}

std::vector<Row> RecordRows()
{
    const auto byte = [](size_t at) {
        return RangesOf([at](uint32_t value) { return RecordWithByte(at, value); }, 0, 255);
    };
    const auto coderType = [](uint32_t type) {
        return RecordWithWord(12, kFlagAlwaysSet | type << kCoderTypeShift);
    };
    const auto multiples = [](size_t at, uint32_t rest) {
        return RangesOf([=](uint32_t half) { return RecordWithWord(at, 2 * half + rest); }, 0, 127);
    };
    return {
        {"record: its size, with `headerSize` the same", RangesOf(RecordOfSize, 0, 2200)},
        {"record: `headerSize`, of 32 bytes",
         RangesOf([](uint32_t value) { return RecordWithWord(4, value); }, 0, 2200)},
        {"record: `magic`, byte 0", byte(0)},
        {"record: `version`", byte(8)},
        {"record: `formatCode`", RangesOf(
                                     [](uint32_t code) {
                                         FrameHeader record = Record();
                                         record.formatCode = static_cast<uint8_t>(code);
                                         record.colorMatrix = 2;
                                         return ToRecord(BytesOf(record));
                                     },
                                     0, 255)},
        {"record: `maxCodeLength`", byte(10)},
        {"record: `colorMatrix`", byte(11)},
        {"record: bits of `flags`, turned",
         BitsOf([](uint32_t mask) { return RecordWithWord(12, Record().flags ^ mask); })},
        {"record: coder type", RangesOf(coderType, 0, 15)},
        {"record: `width` of 4:2:0, even, halved", multiples(16, 0)},
        {"record: `width` of 4:2:0, odd, halved", multiples(16, 1)},
        {"record: `height` of 4:2:0, even, halved", multiples(20, 0)},
        {"record: `height` of 4:2:0, odd, halved", multiples(20, 1)},
        {"record: bits of `codedWidth`", BitsOf([](uint32_t mask) { return RecordWithWord(24, mask); })},
        {"record: bits of `blockHeight`", BitsOf([](uint32_t mask) { return RecordWithWord(28, mask); })},
    };
}

std::vector<Row> HeaderRows()
{
    const auto byte = [](size_t at) {
        return RangesOf([at](uint32_t value) { return WithByte(at, value); }, 0, 255);
    };
    const auto size = static_cast<uint32_t>(Parts().Join().size());
    const auto cut = [](uint32_t bytes) {
        Bytes frame = Parts().Join();
        frame.resize(bytes);
        return ToFrame(BytesOf(Record()), frame);
    };
    const auto header = [&](uint32_t bytes) {
        FrameParts parts = Parts();
        parts.header.resize(std::min<uint32_t>(bytes, 4 * size));
        SetWord(parts.header, 4, bytes);
        Bytes frame = parts.Join();
        frame.resize(std::min<size_t>(frame.size(), 4 * size));
        return ToFrame(BytesOf(Record()), frame);
    };
    const auto version = [](uint32_t value) {
        FrameHeader own = Record();
        own.version = static_cast<uint8_t>(value);
        own.flags |= kFlagOldCoderTables;
        return ToFrame(BytesOf(Record()), SomeFrame(own, 1).Join());
    };
    const auto rgbMatrix = [](uint32_t value) {
        const FrameHeader record = UsualHeader(101, 8, 8);
        FrameHeader own = record;
        own.colorMatrix = static_cast<uint8_t>(value);
        return ToFrame(BytesOf(record), SomeFrame(own, 1).Join());
    };
    return {
        {"frame: cut off after so many bytes", RangesOf(cut, 1, 32)},
        {"frame: `headerSize`, with the offset table there", RangesOf(header, 32, 40)},
        {"frame: `headerSize`, bytes beyond the frame's end",
         RangesOf([&](uint32_t more) { return WithWord(4, size + more); }, 1, 100)},
        {"frame: `version`", RangesOf(version, 0, 255)},
        {"frame: `formatCode`, of a stream of 105", byte(9)},
        {"frame: `maxCodeLength`", byte(10)},
        {"frame: `colorMatrix`, of a stream of 2", byte(11)},
        {"frame: `colorMatrix`, of a stream of RGB", RangesOf(rgbMatrix, 0, 255)},
        {"frame: bits of `flags`, turned",
         BitsOf([](uint32_t mask) { return WithWord(12, Record().flags ^ mask); })},
        {"frame: coder type, of a stream of 2",
         RangesOf([](uint32_t type) { return WithWord(12, kFlagAlwaysSet | type << kCoderTypeShift); }, 0,
                  15)},
        {"frame: `width`, of a stream of 16",
         RangesOf([](uint32_t width) { return WithWord(16, width); }, 0, 255)},
        {"frame: `height`, of a stream of 36",
         RangesOf([](uint32_t height) { return WithWord(20, height); }, 0, 255)},
        {"frame: `blockHeight`, cut by it", RangesOf(
                                                [](uint32_t rows) {
                                                    FrameHeader own = Record();
                                                    own.blockHeight = rows == 0 ? own.blockHeight : rows;
                                                    Bytes bytes = SomeFrame(own, 1).Join();
                                                    SetWord(bytes, 28, rows);
                                                    return ToFrame(BytesOf(Record()), bytes);
                                                },
                                                0, 72)},
        {"frame: bits of `codedWidth`", BitsOf([](uint32_t mask) { return WithWord(24, mask); })},
    };
}

std::vector<Row> TableRows()
{
    const auto withCount = [](uint32_t count, uint8_t id) {
        FrameParts parts = Parts();
        parts.coderCount = static_cast<uint8_t>(count);
        parts.tables.assign(count, TableOf(UsualLengths()));
        parts.ids.assign(parts.ids.size(), 0);
        parts.ids[0] = id;
        return ToFrame(BytesOf(Record()), parts.Join());
    };
    const auto ids = [&](uint32_t count) {
        return RangesOf([=](uint32_t id) { return withCount(count, static_cast<uint8_t>(id)); }, 0, 255);
    };
    const auto length = [](uint32_t value) {
        FrameParts parts = Parts();
        Lengths lengths = FlatLengths(9); // half of the code space is free: a length of 1 fits
        lengths[0] = static_cast<uint8_t>(value);
        parts.tables[0] = TableOf(lengths);
        return ToFrame(BytesOf(Record()), parts.Join());
    };
    // What a reader makes of a byte of a block shows in the picture: the same as that of a known value.
    const auto pictureWith = [](size_t byte, uint32_t value) {
        Bytes frame = Parts().Join();
        frame[32 + WordAt(frame, Parts().OffsetAt(0)) + byte] = static_cast<uint8_t>(value);
        return PictureOf(frame);
    };
    const auto flags = [&](uint32_t value) {
        const Bytes picture = pictureWith(0, value);
        return Answer(picture == pictureWith(0, 0)   ? "coded"
                      : picture == pictureWith(0, 1) ? "raw"
                                                     : "other");
    };
    const auto predictor = [&](uint32_t value) {
        const Bytes picture = pictureWith(1, value);
        return Answer(picture == pictureWith(1, 1)   ? "Left"
                      : picture == pictureWith(1, 2) ? "Gradient"
                      : picture == pictureWith(1, 3) ? "Median"
                                                     : "other");
    };
    const Bytes frame = Parts().Join();
    const auto size = static_cast<uint32_t>(frame.size()) - 32; // from the offset table
    const auto last = static_cast<uint32_t>(Parts().OffsetAt(5));
    const auto offset = [=](uint32_t value) { return WithWord(last, value); };
    const auto relative = [&](uint32_t more) { return offset(size - 10 + more); };
    return {
        {"offset table: bits of word 0", BitsOf([](uint32_t mask) { return WithWord(32, mask); })},
        {"offset table: a block's start", RangesOf(offset, 0, size)},
        {"offset table: a block's start, from 10 bytes before the frame's end on",
         RangesOf(relative, 0, 200)},
        {"coder section: number of coders, of three planes",
         RangesOf([&](uint32_t count) { return withCount(count, 0); }, 0, 255)},
        {"coder section: id, of two coders for three planes", ids(2)},
        {"coder section: id, of three coders for three planes", ids(3)},
        {"coder section: id, of four coders for three planes", ids(4)},
        {"coder section: a code length", RangesOf(length, 0, 127)},
        {"block: flags without bit 0, halved",
         RangesOf([&](uint32_t half) { return flags(2 * half); }, 0, 127)},
        {"block: flags with bit 0, halved",
         RangesOf([&](uint32_t half) { return flags(2 * half + 1); }, 0, 127)},
        {"block: predictor", RangesOf(predictor, 0, 255)},
        {"tail: its last byte",
         RangesOf([&](uint32_t value) { return WithByte(frame.size() - 1, value); }, 0, 255)},
    };
}

} // namespace

std::string AnswerTable()
{
    std::string text = "| field | answers by value |\n|---|---|\n";
    for (const auto& rows : {RecordRows(), HeaderRows(), TableRows()})
        for (const Row& row : rows)
            text += std::string("| ") + row.field + " | " + row.answers + " |\n";
    return text;
}

} // namespace vectors
