#include "files/still_image.h"

#include "tool_error.h"

#include <algorithm>
#include <cstring>
#include <memory>

// Both libraries are used here alone, so that their bodies stand here.
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_NO_HDR
#define STBI_NO_LINEAR
#include <stb/stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

namespace {

constexpr uint64_t kMaxPixels = 1ULL << 28;
constexpr uint8_t kPngMagic[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr char kUseEightBits[] = "convert it to 8 bits first";

/// Exchanges bytes 0 and 2 of each pixel: files store R G B, hosts B G R.
void SwapRedAndBlue(std::span<uint8_t> pixels, size_t pixelBytes)
{
    for (size_t i = 0; i + 2 < pixels.size(); i += pixelBytes)
        std::swap(pixels[i], pixels[i + 2]);
}

[[noreturn]] void FailDamaged(const std::string& name)
{
    throw ToolError("the picture is damaged or cut off", name, "give a whole file");
}

/// The layout of a picture by the samples of a pixel: 1, 3 or 4.
const PixelLayout& LayoutOfSamples(int samples)
{
    return LayoutNamed(samples == 1 ? "Y800" : samples == 3 ? "RGB24" : "RGBA");
}

/// Samples of a pixel, 0 for a layout that pictures do not have.
int SamplesOf(const PixelLayout& layout)
{
    if (layout.IsGray())
        return 1;
    return &layout == &LayoutOfSamples(3) ? 3 : &layout == &LayoutOfSamples(4) ? 4 : 0;
}

StillImage MakeStill(int samples, uint64_t width, uint64_t height, const std::string& name)
{
    StillImage still;
    still.info.layout = &LayoutOfSamples(samples);
    if (width > kMaxPictureSize || height > kMaxPictureSize || width * height > kMaxPixels)
        throw ToolError("the picture is too large", name, "use pictures of at most 268435456 pixels");
    CheckPictureSize(*still.info.layout, static_cast<int64_t>(width), static_cast<int64_t>(height), name);
    still.info.width = static_cast<int>(width);
    still.info.height = static_cast<int>(height);
    return still;
}

uint32_t BigEndian32(std::span<const uint8_t> bytes, size_t at)
{
    return static_cast<uint32_t>(bytes[at]) << 24 | static_cast<uint32_t>(bytes[at + 1]) << 16 |
           static_cast<uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
}

/// The file as the library can take it. Data chunks of no bytes are left out: they are allowed, but it copies the first
/// one to memory that it has not taken yet. A data chunk that is longer than the file is damage: it would take memory
/// for all that the chunk promises.
std::vector<uint8_t> WithSoundData(std::span<const uint8_t> bytes, const std::string& name)
{
    constexpr size_t kSignature = 8, kHead = 8, kChecksum = 4;
    std::vector<uint8_t> kept(bytes.begin(), bytes.begin() + kSignature);
    std::span<const uint8_t> rest = bytes.subspan(kSignature);
    for (bool ended = false; !ended && rest.size() >= kHead;) {
        const uint64_t length = BigEndian32(rest, 0);
        const bool isData = std::memcmp(rest.data() + 4, "IDAT", 4) == 0;
        ended = std::memcmp(rest.data() + 4, "IEND", 4) == 0; // what follows is no part of the picture
        if (isData && length > rest.size() - kHead)
            FailDamaged(name);
        const auto chunk =
            rest.first(static_cast<size_t>(std::min<uint64_t>(kHead + length + kChecksum, rest.size())));
        if (!isData || length > 0)
            kept.insert(kept.end(), chunk.begin(), chunk.end());
        rest = rest.subspan(chunk.size());
    }
    return kept;
}

StillImage DecodePng(std::span<const uint8_t> file, const std::string& name)
{
    // Signature, then the chunk IHDR: length, name, width, height, depth and so on.
    constexpr size_t kWidth = 16, kHeight = 20, kDepth = 24, kNeeded = 33;
    if (file.size() < kNeeded || file.size() > INT32_MAX)
        FailDamaged(name);
    const std::vector<uint8_t> bytes = WithSoundData(file, name);
    if (bytes.size() < kNeeded)
        FailDamaged(name);
    if (bytes[kDepth] > 8)
        throw ToolError("PNG pictures of 16 bits a sample are not supported", name, kUseEightBits);
    MakeStill(4, BigEndian32(bytes, kWidth), BigEndian32(bytes, kHeight), name); // checks the size

    const auto size = static_cast<int>(bytes.size());
    int width = 0, height = 0, samples = 0;
    if (!stbi_info_from_memory(bytes.data(), size, &width, &height, &samples))
        FailDamaged(name);
    if (samples == 2) // grey with alpha
        samples = 4;
    int ignored = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> decoded(
        stbi_load_from_memory(bytes.data(), size, &width, &height, &ignored, samples), stbi_image_free);
    if (!decoded)
        FailDamaged(name);
    StillImage still = MakeStill(samples, static_cast<uint64_t>(width), static_cast<uint64_t>(height), name);
    still.pixels.assign(decoded.get(), decoded.get() + still.info.FrameBytes());
    if (samples >= 3)
        SwapRedAndBlue(still.pixels, static_cast<size_t>(samples));
    return still;
}

/// The numbers in the head of a PNM file: white space and comments stand between them.
class PnmHead
{
  public:
    PnmHead(std::span<const uint8_t> bytes_, const std::string& name_) : bytes(bytes_), name(name_) {}

    uint64_t Number()
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
    /// Behind the one white space that ends the head.
    size_t DataStart() const { return at + 1; }

  private:
    void SkipBlanks()
    {
        constexpr std::string_view kBlanks = " \t\r\n\v\f";
        while (at < bytes.size()) {
            if (bytes[at] == '#')
                while (at < bytes.size() && bytes[at] != '\n')
                    ++at;
            else if (kBlanks.find(static_cast<char>(bytes[at])) == std::string_view::npos)
                return;
            else
                ++at;
        }
    }

    std::span<const uint8_t> bytes;
    const std::string& name;
    size_t at = 2; // behind P5 or P6
};

StillImage DecodePnm(std::span<const uint8_t> bytes, const std::string& name)
{
    const int samples = bytes[1] == '5' ? 1 : 3;
    PnmHead head(bytes, name);
    const uint64_t width = head.Number();
    const uint64_t height = head.Number();
    const uint64_t maximum = head.Number();
    if (maximum > 255)
        throw ToolError("PPM and PGM pictures of 16 bits a sample are not supported", name, kUseEightBits);
    if (maximum != 255)
        throw ToolError("samples with a maximum of " + std::to_string(maximum) + " are not supported", name,
                        "store the picture with a maximum of 255");
    StillImage still = MakeStill(samples, width, height, name);
    const size_t size = still.info.FrameBytes();
    if (head.DataStart() > bytes.size() || bytes.size() - head.DataStart() < size)
        FailDamaged(name);
    const auto first = bytes.begin() + static_cast<ptrdiff_t>(head.DataStart());
    still.pixels.assign(first, first + static_cast<ptrdiff_t>(size));
    if (samples == 3)
        SwapRedAndBlue(still.pixels, 3);
    return still;
}

std::vector<uint8_t> EncodePng(const VideoInfo& info, std::span<const uint8_t> pixels, int samples,
                               const std::string& name)
{
    std::vector<uint8_t> file;
    const auto append = [](void* context, void* data, int size) {
        const auto* const bytes = static_cast<const uint8_t*>(data);
        auto& out = *static_cast<std::vector<uint8_t>*>(context);
        out.insert(out.end(), bytes, bytes + size);
    };
    if (!stbi_write_png_to_func(append, &file, info.width, info.height, samples, pixels.data(),
                                info.width * samples))
        throw ToolError("cannot make the PNG picture", name, "there may be too little memory");
    return file;
}

} // namespace

StillImage DecodeStill(std::span<const uint8_t> bytes, const std::string& name)
{
    if (bytes.size() >= sizeof kPngMagic && std::ranges::equal(kPngMagic, bytes.first(sizeof kPngMagic)))
        return DecodePng(bytes, name);
    if (bytes.size() >= 2 && bytes[0] == 'P' && (bytes[1] == '5' || bytes[1] == '6'))
        return DecodePnm(bytes, name);
    throw ToolError("not a PNG, PPM or PGM picture", name, "give PNG, or PPM or PGM in its binary form");
}

void CheckStillLayout(StillKind kind, const PixelLayout& layout, const std::string& name)
{
    const int samples = SamplesOf(layout);
    if (samples == 0)
        throw ToolError(std::string("pictures cannot hold the layout ") + layout.name, name,
                        "choose RGB24, RGBA or Y800 with --to");
    if (kind == StillKind::Pnm && samples == 4)
        throw ToolError("PPM has no alpha", name, "write PNG, or choose another format");
}

std::vector<uint8_t> EncodeStill(StillKind kind, const VideoInfo& info, std::span<const uint8_t> pixels,
                                 const std::string& name)
{
    const int samples = SamplesOf(*info.layout);
    std::vector<uint8_t> ordered(pixels.begin(), pixels.end());
    if (samples >= 3)
        SwapRedAndBlue(ordered, static_cast<size_t>(samples));
    if (kind == StillKind::Png)
        return EncodePng(info, ordered, samples, name);
    const std::string head = std::string(samples == 1 ? "P5" : "P6") + "\n" + std::to_string(info.width) +
                             " " + std::to_string(info.height) + "\n255\n";
    ordered.insert(ordered.begin(), head.begin(), head.end());
    return ordered;
}
