#include "files/still_image.h"

#include "files/png_format.h"
#include "files/png_reader.h"
#include "files/png_writer.h"

#include <algorithm>

namespace {

constexpr uint64_t kMaxPngBytes = INT32_MAX;
constexpr std::string_view kBlanks = " \t\r\n\v\f";

bool IsBlank(uint8_t c)
{
    return kBlanks.find(static_cast<char>(c)) != std::string_view::npos;
}

/// Swaps bytes 0 and 2 of each pixel: files store R G B, hosts B G R.
void SwapRedAndBlue(std::span<uint8_t> pixels)
{
    for (size_t i = 0; i + 2 < pixels.size(); i += 3)
        std::swap(pixels[i], pixels[i + 2]);
}

[[noreturn]] void FailDamaged(const std::string& name)
{
    throw ToolError("the picture is damaged or truncated", name, "give an intact file");
}

/// The layout of a picture by the channels of a pixel: 1, 3 or 4.
const PixelLayout& LayoutOfChannels(int channels)
{
    return LayoutNamed(channels == 1 ? "Y800" : channels == 3 ? "RGB24" : "RGBA");
}

/// Channels of a pixel, 0 for a layout that pictures do not have.
int ChannelsOf(const PixelLayout& layout)
{
    if (layout.IsGray())
        return 1;
    return &layout == &LayoutOfChannels(3) ? 3 : &layout == &LayoutOfChannels(4) ? 4 : 0;
}

/// The numbers in the header of a PNM file: white space and comments are between them.
class PnmNumbers
{
  public:
    PnmNumbers(std::span<const uint8_t> bytes_, const std::string& name_) : bytes(bytes_), name(name_) {}

    uint64_t Next()
    {
        SkipBlanks();
        std::string digits;
        while (at < bytes.size() && bytes[at] >= '0' && bytes[at] <= '9' && digits.size() < 10)
            digits += static_cast<char>(bytes[at++]);
        const auto value = ParseNumber(digits, UINT32_MAX);
        if (!value)
            FailDamaged(name);
        return *value;
    }
    /// After the one white space that ends the header.
    size_t End() const { return at + 1; }

  private:
    void SkipBlanks()
    {
        for (; at < bytes.size(); ++at) {
            if (bytes[at] == '#')
                while (at < bytes.size() && bytes[at] != '\n')
                    ++at;
            else if (!IsBlank(bytes[at]))
                return;
        }
    }

    std::span<const uint8_t> bytes;
    const std::string& name;
    size_t at = 2; // after P5 or P6
};

} // namespace

struct StillFile::PnmHeader {
    int channels;
    uint64_t width;
    uint64_t height;
    uint64_t maximum;
    uint64_t size; ///< of the header, bytes

    uint64_t PixelBytes() const { return width * height * static_cast<uint64_t>(channels); }
};

StillFile::StillFile(std::unique_ptr<ByteSource> source_, std::string name_)
    : source(std::move(source_)), name(std::move(name_))
{
    const std::vector<uint8_t> first = source->ReadBytes(0, sizeof png::kSignature);
    if (std::ranges::equal(first, png::kSignature))
        kind = StillKind::Png;
    else if (!StartsPnm(0))
        throw ToolError("not a PNG, PPM or PGM picture", name, "give PNG, or PPM or PGM in its binary form");
}

bool StillFile::StartsPnm(uint64_t at) const
{
    const std::vector<uint8_t> magic = source->ReadBytes(at, 2);
    return magic.size() == 2 && magic[0] == 'P' && (magic[1] == '5' || magic[1] == '6');
}

StillFile::PnmHeader StillFile::ReadPnmHeader(uint64_t at) const
{
    constexpr size_t kUsual = 4096, kLongest = 1 << 20; // comments may be long
    const auto parse = [&](size_t window) {
        const std::vector<uint8_t> bytes = source->ReadBytes(at, window);
        PnmNumbers numbers(bytes, name);
        const uint64_t width = numbers.Next(), height = numbers.Next(), maximum = numbers.Next();
        if (numbers.End() > bytes.size())
            FailDamaged(name);
        return PnmHeader{bytes[1] == '5' ? 1 : 3, width, height, maximum, numbers.End()};
    };
    try {
        return parse(kUsual);
    } catch (const ToolError&) {
        return parse(kLongest);
    }
}

uint64_t StillFile::CountPictures() const
{
    if (kind == StillKind::Png)
        return position == 0 ? 1 : 0;
    uint64_t count = 0;
    try {
        for (uint64_t at = position; StartsPnm(at); ++count) {
            const PnmHeader header = ReadPnmHeader(at);
            if (header.width > kMaxPictureSize || header.height > kMaxPictureSize)
                break;
            at += header.size + header.PixelBytes();
        }
    } catch (const ToolError&) { // Next says so
    }
    return count;
}

std::optional<StillImage> StillFile::Next()
{
    if (position == source->Size())
        return std::nullopt;
    return kind == StillKind::Png ? NextPng() : NextPnm();
}

StillImage StillFile::NextPng()
{
    position = source->Size();
    if (position > kMaxPngBytes)
        throw ToolError("the picture is too large", name, "use pictures below 2 GiB");
    return DecodePng(source->ReadBytes(0, static_cast<size_t>(position)), name);
}

StillImage StillFile::NextPnm()
{
    const PnmHeader header = ReadPnmHeader(position);
    if (header.maximum > 255)
        throw ToolError("PPM and PGM pictures of 16 bits a sample are not supported", name,
                        "convert it to 8 bits first");
    if (header.maximum != 255)
        throw ToolError("samples with a maximum of " + std::to_string(header.maximum) + " are not supported",
                        name, "store the picture with a maximum of 255");
    StillImage still = MakeStill(header.channels, header.width, header.height, name);
    const uint64_t start = position + header.size;
    if (source->Size() < start || source->Size() - start < header.PixelBytes())
        FailDamaged(name);
    still.pixels = source->ReadBytes(start, still.info.FrameBytes());
    if (header.channels == 3)
        SwapRedAndBlue(still.pixels);
    position = start + header.PixelBytes();
    if (position == source->Size() || StartsPnm(position))
        return still;
    // Some writers end the file with a line end.
    const std::vector<uint8_t> rest = source->ReadBytes(position, 64);
    if (source->Size() - position > rest.size() || !std::ranges::all_of(rest, IsBlank))
        still.warnings.push_back({"bytes that are no picture follow the picture", name, "they are left out"});
    position = source->Size();
    return still;
}

StillImage DecodeStill(std::span<const uint8_t> bytes, const std::string& name)
{
    return *StillFile(std::make_unique<MemorySource>(bytes), name).Next();
}

StillImage MakeStill(int channels, uint64_t width, uint64_t height, const std::string& name)
{
    StillImage still;
    still.info.layout = &LayoutOfChannels(channels);
    // Both fit 32 bits.
    CheckPictureSize(*still.info.layout, static_cast<int64_t>(width), static_cast<int64_t>(height), name);
    still.info.width = static_cast<int>(width);
    still.info.height = static_cast<int>(height);
    return still;
}

void CheckStillLayout(StillKind kind, const PixelLayout& layout, const std::string& name)
{
    const int channels = ChannelsOf(layout);
    if (channels == 0)
        throw ToolError(std::string("pictures cannot hold the layout ") + layout.name, name,
                        "choose RGB24, RGBA or Y800 with --to");
    if (kind == StillKind::Pnm && channels == 4)
        throw ToolError("PPM has no alpha", name, "write PNG, or choose another format");
}

std::vector<uint8_t> EncodeStill(StillKind kind, const VideoInfo& info, std::span<const uint8_t> pixels)
{
    if (kind == StillKind::Png)
        return EncodePng(info, pixels);
    const bool gray = ChannelsOf(*info.layout) == 1;
    const std::string header = std::string(gray ? "P5" : "P6") + "\n" + std::to_string(info.width) + " " +
                               std::to_string(info.height) + "\n255\n";
    std::vector<uint8_t> file(header.begin(), header.end());
    file.insert(file.end(), pixels.begin(), pixels.end());
    if (!gray)
        SwapRedAndBlue(std::span(file).subspan(header.size()));
    return file;
}
