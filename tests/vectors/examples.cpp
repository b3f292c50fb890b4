#include "vectors/examples.h"

#include "common/compressed_formats.h"
#include "core/frame_parser.h"
#include "entropy/canonical_codes.h"
#include "files/checksum_table.h"
#include "files/little_endian.h"
#include "support/codec_run.h"
#include "vectors/frame_parts.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace vectors {

namespace {

constexpr size_t kBytesInLine = 16;

std::string Number(size_t value)
{
    return std::to_string(value);
}

std::string Hex(uint8_t byte)
{
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setw(2) << std::setfill('0') << int{byte};
    return text.str();
}

/// Writes a frame part by part, a comment beside the first line of each.
class Dump
{
  public:
    explicit Dump(const Bytes& bytes_) : bytes(bytes_) {}

    void Line(size_t count, const std::string& comment)
    {
        std::string rest = comment;
        for (const size_t end = at + count; at < end; rest.clear()) {
            std::string line;
            for (const size_t stop = std::min(end, at + kBytesInLine); at < stop; ++at)
                line += (line.empty() ? "" : " ") + (at == open ? "xx" : Hex(bytes[at]));
            line.resize(kBytesInLine * 3 + 1, ' ');
            line += rest;
            text += "    " + line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
        }
    }
    /// A byte whose value is left open.
    void LeaveOpen(size_t place) { open = place; }

    std::string text;
    size_t at = 0;

  private:
    const Bytes& bytes;
    size_t open = SIZE_MAX;
};

/// "0: 1 bit; 1 to 9: 10; ..."
std::string LengthsText(const std::array<uint32_t, 256>& lengths)
{
    std::string text;
    for (size_t from = 0; from < 256;) {
        size_t to = from;
        while (to < 255 && lengths[to + 1] == lengths[from])
            ++to;
        text += (text.empty() ? "" : ", ") + Number(from) + (from == to ? "" : " to " + Number(to)) + ": " +
                Number(lengths[from]);
        from = to + 1;
    }
    return text;
}

std::string Wrapped(const std::string& text)
{
    constexpr size_t kColumns = 118;
    std::string wrapped;
    size_t column = 0;
    std::istringstream words(text);
    for (std::string word; words >> word; column += word.size() + 1) {
        if (column + word.size() > kColumns) {
            wrapped += "\n";
            column = 0;
        } else if (column > 0) {
            wrapped += " ";
        }
        wrapped += word;
    }
    return wrapped + "\n";
}

/// Lines with equal ones after the first left out and counted.
std::string WithoutRepeats(const std::string& lines)
{
    std::istringstream in(lines);
    std::string text, line, last;
    size_t repeats = 0;
    const auto finish = [&] {
        if (!last.empty())
            text += last + (repeats > 1 ? "    (" + Number(repeats) + " times)" : "") + "\n";
    };
    for (; std::getline(in, line); ++repeats) {
        if (line == last)
            continue;
        finish();
        last = line;
        repeats = 0;
    }
    finish();
    return text;
}

struct Coder {
    std::array<uint32_t, 256> lengths{};
    std::array<entropy::CodeRecord, 256> bySymbol{};
    std::array<int16_t, 4096> symbolOf{}; ///< by the next 12 bits
};

/// The residuals of a block, row by row, and under each row its codes.
std::string BlockText(const Bytes& payload, bool raw, const Coder& coder, const BlockSize& size)
{
    std::string text;
    size_t bit = 0, byte = 0;
    for (uint32_t row = 0; row < size.rows; ++row) {
        std::string residuals, codes;
        for (uint32_t column = 0; column < size.width; ++column) {
            uint8_t residual = 0;
            if (raw) {
                residual = payload[byte++];
            } else {
                uint32_t next = 0;
                for (size_t i = 0; i < 12; ++i)
                    next = next << 1 |
                           (bit + i < payload.size() * 8 ? payload[(bit + i) / 8] >> (7 - (bit + i) % 8) & 1U
                                                         : 0U);
                residual = static_cast<uint8_t>(coder.symbolOf[next]);
                const entropy::CodeRecord& code = coder.bySymbol[residual];
                for (uint32_t i = code.length; i-- > 0;)
                    codes += static_cast<char>('0' + (code.code >> i & 1));
                codes += ' ';
                bit += code.length;
            }
            std::ostringstream cell;
            cell << std::setw(4) << int{residual};
            residuals += cell.str();
        }
        residuals += std::string(raw ? 0 : 4, ' ') + codes;
        text += "    " + residuals.substr(0, residuals.find_last_not_of(' ') + 1) + "\n";
    }
    return WithoutRepeats(text);
}

std::string PlaneName(const FrameHeader& header, size_t plane)
{
    const bool rgb = IsRgbFamily(header.formatCode);
    constexpr const char* yuv[] = {"Y", "U", "V", "A"};
    constexpr const char* differences[] = {"B - G", "G", "R - G", "A"};
    return rgb ? differences[plane] : yuv[plane];
}

Coder ReadCoder(const Bytes& frame, size_t& at)
{
    Coder coder;
    size_t entries = 0;
    while (entries < 256) {
        const uint8_t token = frame[at++];
        const size_t run = token >= 128 ? size_t{1} + frame[at++] : 1;
        std::fill_n(coder.lengths.begin() + static_cast<ptrdiff_t>(entries), run, token % 128);
        entries += run;
    }
    std::array<entropy::CodeRecord, 256> records;
    if (!entropy::BuildCanonicalCodes(256, coder.lengths.data(), 12, records.data()))
        throw std::logic_error("no code");
    for (const entropy::CodeRecord& record : records) {
        coder.bySymbol[record.symbol] = record;
        const uint32_t room = 1U << (12 - record.length);
        std::fill_n(coder.symbolOf.begin() + record.code * room, room, static_cast<int16_t>(record.symbol));
    }
    return coder;
}

/// Everything in a frame of the encoder.
std::string FrameText(const Bytes& frame)
{
    const FrameHeader header = ReadHeader(frame.data());
    const std::vector<BlockSize> blocks = BlocksOf(header, header.blockHeight);
    const size_t planes = FindFormatDescriptor(header.formatCode)->planes;
    Dump dump(frame);
    dump.Line(16, "\"ORVN\", 32, version 7, format " + Number(header.formatCode) + ", 12 bits, Rec.709, " +
                      (IsInterlaced(header) ? "interlaced" : "flags"));
    dump.Line(16, Number(header.width) + " x " + Number(header.height) + ", coded width, block height");
    std::string offsets;
    std::vector<size_t> starts;
    for (size_t i = 0; i < blocks.size(); ++i) {
        starts.push_back(32 + WordAt(frame, 36 + 4 * i));
        offsets += (offsets.empty() ? "" : ", ") + Number(starts.back() - 32);
    }
    dump.Line(4 * (blocks.size() + 1), "offset table; blocks at " + offsets);
    dump.Line(1 + blocks.size(),
              Number(planes) + (planes == 1 ? " coder" : " coders") + "; of each block its coder");
    std::vector<Coder> coders;
    size_t at = dump.at;
    for (size_t i = 0; i < planes; ++i) {
        const size_t begin = at;
        coders.push_back(ReadCoder(frame, at));
        dump.Line(at - begin, "code lengths " + Number(i));
    }
    std::string details;
    for (size_t i = 0; i < planes; ++i)
        details += Wrapped("Code lengths " + Number(i) +
                           ", in bits by symbol: " + LengthsText(coders[i].lengths) + ".") +
                   "\n";
    const size_t end = frame.size() - 15 - (frame[frame.size() - 1] == 0xA5 ? 1 : 0);
    constexpr const char* predictors[] = {"", "Left", "Gradient", "Median"};
    for (size_t i = 0; i < blocks.size(); ++i) {
        const size_t stop = i + 1 < blocks.size() ? starts[i + 1] : end;
        const bool raw = frame[starts[i]] == 1;
        const std::string name = "block " + Number(i) + " (" + PlaneName(header, blocks[i].plane) + "): ";
        dump.Line(stop - starts[i], name + (raw ? "raw, " : "coded, ") + predictors[frame[starts[i] + 1]]);
        const Bytes payload(frame.begin() + static_cast<ptrdiff_t>(starts[i] + 2),
                            frame.begin() + static_cast<ptrdiff_t>(stop));
        details += "Residuals of block " + Number(i) + (raw ? ":\n\n" : ", and their codes:\n\n") +
                   BlockText(payload, raw, coders[blocks[i].plane], blocks[i]) + "\n";
    }
    if (end + 16 == frame.size())
        dump.LeaveOpen(end + 15);
    dump.Line(frame.size() - end,
              end + 16 == frame.size() ? "tail; the last byte is whatever the buffer held" : "tail");
    return dump.text + "\n" + details;
}

struct Example {
    const char* title;
    const char* text;
    StreamSpec stream;
    Bytes picture;
};

/// The rows of a plane, or of packed pixels.
std::string RowsText(std::span<const uint8_t> rows, size_t rowBytes)
{
    std::string text;
    for (size_t at = 0; at < rows.size(); at += rowBytes) {
        std::ostringstream row;
        for (size_t i = at; i < at + rowBytes; ++i)
            row << std::setw(4) << int{rows[i]};
        text += "    " + row.str() + "\n";
    }
    return WithoutRepeats(text);
}

std::string PictureText(const Example& example)
{
    const FormatDescriptor& format = *FindFormatDescriptor(example.stream.code);
    const size_t width = example.stream.width, height = example.stream.height;
    const std::span<const uint8_t> picture = example.picture;
    if (format.vertical == 1)
        return RowsText(picture, picture.size() / height);
    const size_t luma = width * height, chroma = luma / 4;
    return RowsText(picture.first(luma), width) + "\n" + RowsText(picture.subspan(luma, chroma), width / 2) +
           "\n" + RowsText(picture.last(chroma), width / 2);
}

std::string ExampleText(const Example& example)
{
    CodecRun run(example.stream);
    const Bytes frame = run.Encode(example.picture);
    if (run.Decode(frame).picture != example.picture)
        throw std::logic_error("an example that does not come back");
    return std::string("## ") + example.title + "\n\n" + Wrapped(example.text) + "\n" + PictureText(example) +
           "\n" + FrameText(frame);
}

StreamSpec Gray(uint32_t width, uint32_t height, PredictMethod method, bool interlaced = false)
{
    return {.host = kHostY8,
            .code = kCodeGray,
            .width = width,
            .height = height,
            .method = method,
            .interlaced = interlaced};
}

/// Equal rows that rise, with an edge.
Bytes Slopes(size_t width, size_t height)
{
    Bytes picture;
    for (size_t y = 0; y < height; ++y)
        for (size_t x = 0; x < width; ++x)
            picture.push_back(static_cast<uint8_t>(20 + 3 * x + (x == 2 && y == 2 ? 40 : 0)));
    return picture;
}

Bytes TwoBands()
{
    Bytes picture(4 * 32, 50);
    picture.resize(4 * 32 * 3 / 2, 128);
    picture[4 * 28] = 60;        // the first sample of the second band
    picture[4 * 32 + 2 * 3] = 7; // U, row 3
    return picture;
}

Bytes Fields()
{
    Bytes picture;
    for (const int row : {10, 90, 11, 92})
        for (int x = 0; x < 4; ++x)
            picture.push_back(static_cast<uint8_t>(row + x));
    return picture;
}

Bytes Pixels()
{
    Bytes picture;
    for (int pixel = 0; pixel < 16; ++pixel)
        for (const int value : {200 + pixel % 4, 40, 30 - pixel / 4})
            picture.push_back(static_cast<uint8_t>(value));
    return picture;
}

std::string ChecksumText()
{
    const FrameHeader record = UsualHeader(107, 4, 4);
    CodecRun run(Gray(4, 4, PredictMethod::Left));
    const Bytes picture = Slopes(4, 4);
    Bytes frame = run.Encode(picture);
    frame.back() = 0; // where the frame ends evenly, this byte is open
    const FrameHasher hasher(*FindCompressedFormat(107), record);
    ChecksumTable table(hasher.Bands(), hasher.Blocks());
    table.Add(hasher.Hash(picture, frame));
    const Bytes chunk = table.Chunk();
    Dump dump(chunk);
    dump.Line(8, "hash of all that follows");
    dump.Line(8, "version 1, bands of 28 rows");
    dump.Line(4, "1 frame");
    dump.Line(8, "1 band, 1 block");
    dump.Line(4, "size of the frame: " + Number(frame.size()));
    dump.Line(8, "hash of the frame");
    dump.Line(8, "hash of the picture");
    dump.Line(8, "hash of its band, which is the whole picture");
    dump.Line(4, "low half of the hash of its block");
    Dump whole(frame);
    whole.Line(frame.size(), "");
    return "## A chunk of checksums\n\n" +
           Wrapped("The payload of a chunk Osum for one frame: the picture of 4 x 4 of the first example, "
                   "predictor "
                   "Left, whose frame is") +
           "\n" + whole.text + "\n" + dump.text;
}

} // namespace

std::string ExamplesPage()
{
    const Example examples[] = {
        {"Gradient", "A gray picture of 4 x 4: equal rows that rise, with one edge.",
         Gray(4, 4, PredictMethod::Gradient), Slopes(4, 4)},
        {"Median",
         "The same picture. Right of the edge and below it the median takes the neighbour that is nearer.",
         Gray(4, 4, PredictMethod::Median), Slopes(4, 4)},
        {"Two fields",
         "An interlaced picture: rows 0 and 2 are predicted as one picture, rows 1 and 3 as another. "
         "Residuals are "
         "stored in the order of the rows.",
         Gray(4, 4, PredictMethod::Gradient, true), Fields()},
        {"A raw block",
         "The count takes column 0 alone, so that the residuals of the other columns have long codes: raw is "
         "smaller.",
         Gray(4, 4, PredictMethod::Left),
         {10, 11, 12, 13, 30, 31, 32, 33, 60, 61, 62, 63, 100, 101, 102, 103}},
        {"RGB differences",
         "Pixels of RGB24, in memory B G R. The planes are B - G, G and R - G.",
         {.host = kHostBgr, .code = kCodeRgb, .width = 4, .height = 4, .method = PredictMethod::Left},
         Pixels()},
        {"4:2:0 over two bands",
         "A picture of 4 x 32 in I420: bands of 28 and of 4 rows, which are 14 and 2 rows of U and V. Six "
         "blocks, "
         "plane by plane.",
         {.width = 4, .height = 32, .method = PredictMethod::Left},
         TwoBands()},
    };
    std::string page =
        "# Worked examples\n\n" +
        Wrapped("Frames of the encoder, byte by byte; [frame-format.md](frame-format.md) tells what "
                "they consist of. A program writes this page, and a test holds it to the codec.") +
        "\n";
    for (const Example& example : examples)
        page += ExampleText(example);
    return page + ChecksumText();
}

std::string FrameByHand()
{
    Bytes picture(16, 10);
    picture[5] = 12; // row 1, column 1
    return FrameText(CodecRun(Gray(4, 4, PredictMethod::Left)).Encode(picture));
}

} // namespace vectors
