#include "files/png_reader.h"

#include "files/png_format.h"
#include "tool_error.h"

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <zlib.h>

namespace {

uint32_t BigEndian32(std::span<const uint8_t> bytes, size_t at)
{
    return uint32_t{bytes[at]} << 24 | uint32_t{bytes[at + 1]} << 16 | uint32_t{bytes[at + 2]} << 8 |
           bytes[at + 3];
}

uint32_t BigEndian16(std::span<const uint8_t> bytes, size_t at)
{
    return uint32_t{bytes[at]} << 8 | bytes[at + 1];
}

[[noreturn]] void FailDamaged(const std::string& name, const std::string& what)
{
    throw ToolError("the picture is damaged: " + what, name, "give an intact file");
}

std::string TextOf(uint32_t type)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(type >> shift & 0xFF);
    return text;
}

struct Header {
    uint32_t width = 0;
    uint32_t height = 0;
    uint8_t depth = 0;
    uint8_t colorType = 0;
    bool interlaced = false;

    size_t Channels() const
    {
        return colorType == png::kRgb         ? 3
               : colorType == png::kRgba      ? 4
               : colorType == png::kGrayAlpha ? 2
                                              : 1;
    }
    size_t RowBytes(uint32_t pixels) const
    {
        return static_cast<size_t>((uint64_t{pixels} * Channels() * depth + 7) / 8);
    }
    /// Distance of the bytes that a filter sees as neighbors.
    size_t FilterDistance() const { return std::max<size_t>(1, Channels() * depth / 8); }
};

/// The chunks of a file that matter for its pixels.
struct Chunks {
    Header header;
    std::span<const uint8_t> palette;
    std::optional<std::span<const uint8_t>> transparency;
    std::vector<std::span<const uint8_t>> data;
    std::vector<ToolWarning> warnings;
};

class ChunkReader
{
  public:
    ChunkReader(std::span<const uint8_t> file, const std::string& name_)
        : rest(file.subspan(sizeof png::kSignature)), name(name_)
    {}

    Chunks Read()
    {
        while (!ended)
            ReadChunk();
        if (chunks.data.empty())
            Fail("it has no samples");
        if (chunks.header.colorType == png::kIndexed && chunks.palette.empty())
            Fail("its palette is missing");
        return std::move(chunks);
    }

  private:
    static constexpr size_t kHead = 8, kChecksum = 4;

    [[noreturn]] void Fail(const std::string& what) const { FailDamaged(name, what); }

    void ReadChunk()
    {
        if (rest.size() < kHead + kChecksum)
            Fail("the file is truncated");
        const uint32_t length = BigEndian32(rest, 0);
        const uint32_t type = BigEndian32(rest, 4);
        if (length > rest.size() - kHead - kChecksum)
            Fail("the file is truncated");
        const auto payload = rest.subspan(kHead, length);
        const uint32_t stored = BigEndian32(rest, kHead + length);
        const bool intact = crc32(0, rest.data() + 4, static_cast<uInt>(length + 4)) == stored;
        rest = rest.subspan(kHead + length + kChecksum);
        if (!sawHeader && (type != png::kHeader || !intact))
            Fail("the header is wrong");
        // The first letter of a chunk that a reader may leave out is a small one. Transparency is among them,
        // but it holds samples: without it the picture would be another.
        const bool ancillary = (type >> 29 & 1) == 1 && type != png::kTransparency;
        if (!intact && !ancillary)
            Fail("wrong checksum of the chunk " + TextOf(type));
        if (!intact)
            Warn("wrong checksum of the chunk " + TextOf(type), "it holds no samples and is left out");
        else
            Take(type, payload, ancillary);
        lastType = type;
    }

    void Take(uint32_t type, std::span<const uint8_t> payload, bool ancillary)
    {
        switch (type) {
        case png::kHeader:
            TakeHeader(payload);
            break;
        case png::kPalette:
            TakePalette(payload);
            break;
        case png::kTransparency:
            TakeTransparency(payload);
            break;
        case png::kData:
            if (!chunks.data.empty() && lastType != png::kData)
                Fail("its samples are interrupted by other chunks");
            chunks.data.push_back(payload);
            break;
        case png::kEnd:
            ended = true;
            break;
        case png::kAnimation:
            Warn("the picture is animated", "only its still picture is read");
            break;
        default:
            if (!ancillary)
                Fail("the chunk " + TextOf(type) + " is not known");
        }
    }

    void TakeHeader(std::span<const uint8_t> payload)
    {
        if (sawHeader || payload.size() != png::kHeaderSize)
            Fail("the header is wrong");
        sawHeader = true;
        Header& header = chunks.header;
        header = {BigEndian32(payload, 0), BigEndian32(payload, 4), payload[8], payload[9], payload[12] == 1};
        // Bit n of a row: depth n is allowed.
        constexpr uint32_t kSmall = 1U << 1 | 1U << 2 | 1U << 4, kByte = 1U << 8, kWord = 1U << 16;
        constexpr std::array<uint32_t, 7> kDepths = {kSmall | kByte | kWord, 0, kByte | kWord, kSmall | kByte,
                                                     kByte | kWord,          0, kByte | kWord};
        if (header.colorType >= kDepths.size() || header.depth > 16 ||
            (kDepths[header.colorType] >> header.depth & 1) == 0 || payload[10] != 0 || payload[11] != 0 ||
            payload[12] > 1)
            Fail("the header is wrong");
        if (header.depth == 16)
            throw ToolError("PNG pictures of 16 bits a sample are not supported", name,
                            "convert it to 8 bits first");
    }

    void TakePalette(std::span<const uint8_t> payload)
    {
        if (!chunks.data.empty() || !chunks.palette.empty() || payload.empty() || payload.size() % 3 != 0 ||
            payload.size() > size_t{3} << std::min<int>(chunks.header.depth, 8))
            Fail("the palette is wrong");
        chunks.palette = payload;
    }

    void TakeTransparency(std::span<const uint8_t> payload)
    {
        const uint8_t type = chunks.header.colorType;
        const bool fits = type == png::kGray      ? payload.size() == 2
                          : type == png::kRgb     ? payload.size() == 6
                          : type == png::kIndexed ? payload.size() <= chunks.palette.size() / 3
                                                  : false;
        if (!fits || chunks.transparency || !chunks.data.empty())
            Fail("the transparency is wrong");
        chunks.transparency = payload;
    }

    void Warn(const std::string& what, const std::string& remedy)
    {
        chunks.warnings.push_back({what, name, remedy});
    }

    std::span<const uint8_t> rest;
    const std::string& name;
    Chunks chunks;
    bool sawHeader = false;
    bool ended = false;
    uint32_t lastType = 0;
};

/// The samples' zlib stream. Its own checksum is looked at with its last byte.
class DataStream
{
  public:
    DataStream(const Chunks& chunks, const std::string& name_) : next(chunks.data), name(name_)
    {
        if (inflateInit(&stream) != Z_OK)
            throw std::bad_alloc();
    }
    DataStream(const DataStream&) = delete;
    DataStream& operator=(const DataStream&) = delete;
    ~DataStream() { inflateEnd(&stream); }

    void Read(std::span<uint8_t> bytes)
    {
        if (Inflate(bytes) != bytes.size())
            FailDamaged(name, "it has too few samples");
    }
    /// Reads the end of the stream: nothing may be left in it.
    void Finish()
    {
        uint8_t more = 0;
        if (Inflate({&more, 1}) != 0)
            FailDamaged(name, "it has too many samples");
    }

  private:
    /// Fills `bytes` and gives how many there were; fewer only at the end of the stream.
    size_t Inflate(std::span<uint8_t> bytes)
    {
        stream.next_out = bytes.data();
        stream.avail_out = static_cast<uInt>(bytes.size());
        while (stream.avail_out > 0 && !ended) {
            if (stream.avail_in == 0) {
                if (next.empty())
                    FailDamaged(name, "it has too few samples");
                stream.next_in = const_cast<Bytef*>(next.front().data()); // zlib reads it only
                stream.avail_in = static_cast<uInt>(next.front().size());
                next = next.subspan(1);
                continue;
            }
            const int result = inflate(&stream, Z_NO_FLUSH);
            if (result == Z_MEM_ERROR)
                throw std::bad_alloc();
            if (result != Z_OK && result != Z_STREAM_END)
                FailDamaged(name, "its samples cannot be decompressed");
            ended = result == Z_STREAM_END;
        }
        return bytes.size() - stream.avail_out;
    }

    std::span<const std::span<const uint8_t>> next;
    const std::string& name;
    z_stream stream{};
    bool ended = false;
};

/// Undoes a row's filter in place.
/// row, up  after `distance` bytes of zeros each; `up` is the row above, zeros for the first
void Unfilter(uint8_t filter, std::span<uint8_t> row, std::span<const uint8_t> up, size_t distance)
{
    for (size_t i = distance; i < row.size(); ++i) {
        const uint8_t left = row[i - distance], above = up[i], upperLeft = up[i - distance];
        const uint8_t prediction = filter == png::kSub       ? left
                                   : filter == png::kUp      ? above
                                   : filter == png::kAverage ? static_cast<uint8_t>((left + above) / 2)
                                   : filter == png::kPaeth   ? png::Paeth(left, above, upperLeft)
                                                             : uint8_t{0};
        row[i] = static_cast<uint8_t>(row[i] + prediction);
    }
}

/// Rows and columns that one pass stores: those at start + n * step.
struct Pass {
    uint8_t startX, startY, stepX, stepY;

    uint32_t Columns(const Header& header) const { return (header.width + stepX - 1U - startX) / stepX; }
    uint32_t Rows(const Header& header) const { return (header.height + stepY - 1U - startY) / stepY; }
};
constexpr Pass kWhole[] = {{0, 0, 1, 1}};
constexpr Pass kAdam7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                           {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

std::span<const Pass> PassesOf(const Header& header)
{
    return header.interlaced ? std::span<const Pass>(kAdam7) : std::span<const Pass>(kWhole);
}

/// Bytes that the samples' stream must have: all rows, each with its filter type.
uint64_t StreamBytes(const Header& header)
{
    uint64_t bytes = 0;
    for (const Pass& pass : PassesOf(header))
        if (const uint32_t columns = pass.Columns(header); columns > 0)
            bytes += uint64_t{pass.Rows(header)} * (1 + header.RowBytes(columns));
    return bytes;
}

class Decoder
{
  public:
    Decoder(const Chunks& chunks_, const std::string& name_)
        : chunks(chunks_), header(chunks.header), name(name_), stream(chunks, name)
    {
        const bool alpha = chunks.transparency || header.colorType >= png::kGrayAlpha;
        outChannels = alpha ? 4 : header.colorType == png::kGray ? 1 : 3;
        if (header.colorType == png::kGray || header.colorType == png::kIndexed)
            MakeEntries();
        if (chunks.transparency && header.colorType == png::kRgb)
            for (size_t i = 0; i < 3; ++i)
                transparent[i] = BigEndian16(*chunks.transparency, 2 * i);
    }

    StillImage Decode()
    {
        StillImage still = MakeStill(static_cast<int>(outChannels), header.width, header.height, name);
        CheckDataSize();
        still.pixels.resize(still.info.FrameBytes());
        for (const Pass& pass : PassesOf(header))
            DecodePass(pass, still.pixels);
        stream.Finish();
        return still;
    }

  private:
    /// A file that is too short for its picture is refused before the picture takes memory: a compressed byte
    /// gives 1032 bytes at most, since a match of 258 bytes takes two bits or more.
    void CheckDataSize() const
    {
        constexpr uint64_t kMaxGain = 1032;
        uint64_t bytes = 0;
        for (const auto& part : chunks.data)
            bytes += part.size();
        if (bytes * kMaxGain < StreamBytes(header))
            FailDamaged(name, "it has too few samples");
    }

    /// The pixels that gray values or palette indices stand for.
    void MakeEntries()
    {
        const uint32_t maximum = (1U << header.depth) - 1;
        entryCount = maximum + 1;
        if (header.colorType == png::kGray) {
            const uint32_t key = chunks.transparency ? BigEndian16(*chunks.transparency, 0) : UINT32_MAX;
            for (uint32_t value = 0; value < entryCount; ++value) {
                const auto gray = static_cast<uint8_t>(value * 255 / maximum);
                entries[value] = {gray, gray, gray, static_cast<uint8_t>(value == key ? 0 : 255)};
            }
            return;
        }
        entryCount = chunks.palette.size() / 3;
        for (size_t i = 0; i < entryCount; ++i) {
            const bool hasAlpha = chunks.transparency && i < chunks.transparency->size();
            entries[i] = {chunks.palette[3 * i + 2], chunks.palette[3 * i + 1], chunks.palette[3 * i],
                          hasAlpha ? (*chunks.transparency)[i] : uint8_t{255}};
        }
    }

    void DecodePass(const Pass& pass, std::span<uint8_t> pixels)
    {
        const uint32_t columns = pass.Columns(header), rows = pass.Rows(header);
        if (columns == 0)
            return;
        const size_t distance = header.FilterDistance();
        std::vector<uint8_t> row(distance + header.RowBytes(columns)), up(row.size());
        for (uint32_t y = 0; y < rows; ++y) {
            uint8_t filter = 0;
            stream.Read({&filter, 1});
            if (filter > png::kPaeth)
                FailDamaged(name, "a row has an unknown filter");
            stream.Read(std::span(row).subspan(distance));
            Unfilter(filter, row, up, distance);
            const size_t outRow = pass.startY + size_t{y} * pass.stepY;
            uint8_t* out = pixels.data() + (outRow * header.width + pass.startX) * outChannels;
            for (uint32_t x = 0; x < columns; ++x, out += pass.stepX * outChannels)
                PutPixel(row.data() + distance, x, out);
            std::swap(row, up);
        }
    }

    void PutPixel(const uint8_t* row, uint32_t x, uint8_t* out) const
    {
        const uint8_t* const in = row + x * header.Channels();
        switch (header.colorType) {
        case png::kRgb:
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            if (outChannels == 4)
                out[3] =
                    in[0] == transparent[0] && in[1] == transparent[1] && in[2] == transparent[2] ? 0 : 255;
            break;
        case png::kRgba:
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            out[3] = in[3];
            break;
        case png::kGrayAlpha:
            out[0] = out[1] = out[2] = in[0];
            out[3] = in[1];
            break;
        default: // gray, indexed: samples of less than 8 bits begin at the high bits of a byte
            const size_t bit = size_t{x} * header.depth;
            const auto value = static_cast<size_t>(row[bit / 8] >> (8 - header.depth - bit % 8)) &
                               ((size_t{1} << header.depth) - 1);
            if (value >= entryCount)
                FailDamaged(name, "a pixel has a color that the palette does not have");
            std::copy_n(entries[value].begin(), outChannels, out);
        }
    }

    const Chunks& chunks;
    const Header& header;
    const std::string& name;
    DataStream stream;
    size_t outChannels = 0;
    std::array<std::array<uint8_t, 4>, 256> entries{}; // B G R A
    size_t entryCount = 0;
    std::array<uint32_t, 3> transparent{}; // R G B of 16 bits; not looked at without transparency
};

} // namespace

StillImage DecodePng(std::span<const uint8_t> file, const std::string& name)
{
    Chunks chunks = ChunkReader(file, name).Read();
    StillImage still = Decoder(chunks, name).Decode();
    still.warnings = std::move(chunks.warnings);
    return still;
}
