#include "files/avi_reader.h"

#include "common/frame_header.h"
#include "files/avi_index.h"
#include "files/avi_records.h"
#include "files/little_endian.h"
#include "tool_error.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr uint32_t kOurFourCCs[] = {MakeFourCC("O8RG"), MakeFourCC("O8RA"), MakeFourCC("O8YA"),
                                    MakeFourCC("O8Y4"), MakeFourCC("O8Y2"), MakeFourCC("O8Y0"),
                                    MakeFourCC("O8G0"), MakeFourCC("ORVN")};
constexpr uint32_t kMagic = MakeFourCC("ORVN");
constexpr uint32_t kMaxStreams = 100; // chunk ids have two digits for the number

/// Four printable characters. The magic of a frame is none: whoever meets it as an id has been led into a
/// payload.
constexpr bool IsPlausibleId(uint32_t id)
{
    for (int shift = 0; shift < 32; shift += 8)
        if (const uint32_t c = id >> shift & 0xFF; c < 0x20 || c > 0x7E)
            return false;
    return id != kMagic;
}

/// A list whose content the walk looks at; all others are stepped over as a whole.
constexpr bool IsSteppedInto(uint32_t id, uint32_t type)
{
    if (id == avi::kRiff)
        return type == avi::kAvi || type == avi::kAvix;
    return id == avi::kList && (type == avi::kHdrl || type == avi::kStrl || type == avi::kOdml ||
                                type == avi::kMovi || type == avi::kRec);
}

/// A chunk that describes the stream in whose list it stands.
constexpr bool DescribesStream(uint32_t id)
{
    return id == avi::kStrh || id == avi::kStrf || id == avi::kStrd || id == avi::kStrn || id == avi::kVprp;
}

/// The stream whose video frame a chunk of this id is.
constexpr std::optional<uint32_t> StreamOfFrame(uint32_t id)
{
    const uint32_t kind = id >> 16;
    return kind == ('d' | 'c' << 8) || kind == ('d' | 'b' << 8) ? avi::StreamOfDigits(id) : std::nullopt;
}

class AviWalk
{
  public:
    AviWalk(const ByteSource& source_, const std::string& name_)
        : source(source_), name(name_), size(source.Size())
    {}

    AviFile Run();

  private:
    struct Header {
        uint32_t id = 0;
        uint32_t size = 0;
        uint32_t type = 0; ///< of a list; 0 when the file ends before it
    };

    Header ReadHeader(uint64_t at) const;
    void StepInto(uint64_t at, const Header& header);
    void Take(const AviChunk& chunk);
    void TakeDescription(const AviChunk& chunk);
    void TakeStreamHeader(const AviChunk& chunk);
    void TakeStreamFormat(const AviChunk& chunk);
    uint32_t TakeWord(const AviChunk& chunk) const;
    uint64_t Behind(uint64_t payload, uint32_t chunkSize) const;
    uint64_t AfterBreak(uint64_t payload, uint64_t breakAt);
    std::optional<uint64_t> FindNext(uint64_t from) const;
    bool IsOurFrame(uint32_t id) const { return found && StreamOfFrame(id) == places.stream; }

    const ByteSource& source;
    const std::string& name;
    const uint64_t size;
    AviFile file;
    AviIndexPlaces places;

    bool found = false;          // a stream of ours has shown up
    bool inMovi = false;         // stream headers are over
    uint32_t streams = 0;        // stream headers so far
    uint32_t handler = 0;        // of the latest stream header
    bool isVideo = false;        // of the latest stream header
    Rational rate;               // of the latest stream header
    uint64_t lastPayload = 0;    // of the latest chunk or list head
    bool lastIsFrame = false;    // the latest chunk is file.frames.back()
    uint64_t riffEnd = 0;        // of the latest segment, as it says
    uint32_t promisedFrames = 0; // by dmlh: of all segments
    bool riffIsShort = false;    // a segment says that it is longer than the file, or not finished
};

AviWalk::Header AviWalk::ReadHeader(uint64_t at) const
{
    std::array<uint8_t, avi::kListHead> bytes{};
    source.Read(at, bytes);
    return {Get<uint32_t>(bytes, 0), Get<uint32_t>(bytes, 4), Get<uint32_t>(bytes, 8)};
}

void AviWalk::StepInto(uint64_t at, const Header& header)
{
    lastPayload = at + avi::kListHead;
    lastIsFrame = false;
    if (header.id == avi::kRiff) {
        riffEnd = at + avi::kChunkHead + header.size;
        riffIsShort = riffIsShort || header.size == 0 || riffEnd > size;
    }
    if (header.type != avi::kMovi)
        return;
    if (!found)
        throw ToolError("no video stream of this codec", name,
                        "give a file with FourCC O8RG, O8RA, O8Y4, O8Y2, "
                        "O8Y0, O8YA or O8G0");
    if (!inMovi)
        places.moviType = at + avi::kChunkHead;
    inMovi = true;
}

void AviWalk::TakeStreamHeader(const AviChunk& chunk)
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, std::min<uint32_t>(chunk.size, 28));
    isVideo = bytes.size() == 28 && Get<uint32_t>(bytes, 0) == avi::kVids;
    handler = bytes.size() == 28 ? Get<uint32_t>(bytes, 4) : 0;
    rate = Rational{};
    if (bytes.size() == 28)
        if (const auto scale = Get<uint32_t>(bytes, 20), value = Get<uint32_t>(bytes, 24);
            scale > 0 && value > 0)
            rate = {value, scale};
    ++streams;
}

void AviWalk::TakeStreamFormat(const AviChunk& chunk)
{
    if (found || !isVideo || streams == 0 || streams > kMaxStreams || chunk.size < avi::kBitmapHeaderSize)
        return;
    std::vector<uint8_t> bytes =
        source.ReadBytes(chunk.offset, std::min<size_t>(chunk.size, AviFile::kMaxBitmapInfo));
    const auto compression = Get<uint32_t>(bytes, 16);
    if (!IsOurFourCC(handler) && !IsOurFourCC(compression))
        return;
    found = true;
    file.handler = handler;
    file.bitmapInfo = std::move(bytes);
    file.rate = rate;
    places.stream = streams - 1;
    file.stream = static_cast<int>(places.stream);
}

void AviWalk::TakeDescription(const AviChunk& chunk)
{
    if (chunk.id == avi::kStrh)
        TakeStreamHeader(chunk);
    if (chunk.id == avi::kStrf)
        TakeStreamFormat(chunk);
    if (streams == 0 || streams > kMaxStreams)
        return;
    file.streams.resize(streams);
    file.streams.back().push_back(chunk);
}

/// The first word of a chunk, 0 when it has none.
uint32_t AviWalk::TakeWord(const AviChunk& chunk) const
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, std::min<uint32_t>(chunk.size, 4));
    return bytes.size() == 4 ? Get<uint32_t>(bytes, 0) : 0;
}

/// A chunk that lies wholly inside the file.
void AviWalk::Take(const AviChunk& chunk)
{
    lastPayload = chunk.offset;
    lastIsFrame = inMovi && IsOurFrame(chunk.id);
    const bool isSegmentIndex = (chunk.id & 0xFFFF) == ('i' | 'x' << 8);
    const bool isOurStreamsHeader = !inMovi && found && streams == places.stream + 1;

    if (!inMovi && DescribesStream(chunk.id))
        TakeDescription(chunk);
    else if (lastIsFrame)
        file.frames.push_back({chunk.offset, chunk.size});
    else if (isSegmentIndex && inMovi && avi::StreamOfDigits(chunk.id >> 16) == places.stream)
        places.segmentIndexes.push_back(chunk);
    else if (chunk.id == avi::kIdx1 && places.oldIndex.empty())
        places.oldIndex.push_back(chunk);
    else if (chunk.id == avi::kIndx && isOurStreamsHeader && places.superIndex.empty())
        places.superIndex.push_back(chunk);
    else if (chunk.id == avi::kDmlh && !inMovi)
        promisedFrames = TakeWord(chunk);
    else if (chunk.id != avi::kJunk && chunk.id != avi::kAvih)
        file.others.push_back(chunk);
}

/// The next frame of the stream, or the next segment, whose head begins at `from` or behind it.
std::optional<uint64_t> AviWalk::FindNext(uint64_t from) const
{
    constexpr size_t kNeeded = avi::kListHead; // id, size, magic or type
    // The window grows while nothing is found, so that many breaks close together cost no more than one far
    // search.
    constexpr size_t kFirstWindow = 256, kLastWindow = 1 << 16;
    std::vector<uint8_t> window(kFirstWindow);
    for (uint64_t at = from; at + kNeeded <= size;) {
        const size_t count = source.Read(at, window);
        const std::span<const uint8_t> bytes(window.data(), count);
        for (size_t i = 0; i + kNeeded <= count; ++i) {
            if (bytes[i + 8] != 'O' && bytes[i + 8] != 'A')
                continue;
            const auto id = Get<uint32_t>(bytes, i);
            const auto third = Get<uint32_t>(bytes, i + 8);
            if ((third == kMagic && IsOurFrame(id)) || (third == avi::kAvix && id == avi::kRiff))
                return at + i;
        }
        at += window.size() - kNeeded + 1;
        window.resize(std::min(window.size() * 2, kLastWindow));
    }
    return std::nullopt;
}

/// Where the next chunk begins. Some writers leave out the padding byte of an odd size.
uint64_t AviWalk::Behind(uint64_t payload, uint32_t chunkSize) const
{
    const uint64_t end = payload + chunkSize;
    if (chunkSize % 2 == 0)
        return end;
    const Header unpadded = ReadHeader(end);
    return IsOurFrame(unpadded.id) && unpadded.type == kMagic ? end : end + 1;
}

/// Where the walk goes on behind a chunk whose size led nowhere; the file's end if nothing follows.
/// payload  of that chunk: the next chunk begins behind it
/// breakAt  where its size led; behind the end of a segment nothing is missing
uint64_t AviWalk::AfterBreak(uint64_t payload, uint64_t breakAt)
{
    const std::optional<uint64_t> next = inMovi ? FindNext(payload) : std::nullopt;
    if (!next) {
        file.cut = file.cut || breakAt < riffEnd;
        return size;
    }
    ++file.brokenPlaces;
    // The frame reaches up to what was found: more than its bytes do no harm, fewer would.
    if (lastIsFrame)
        file.frames.back().size = static_cast<uint32_t>(std::min<uint64_t>(*next - payload, UINT32_MAX));
    return *next;
}

AviFile AviWalk::Run()
{
    const Header first = ReadHeader(0);
    if (first.id != avi::kRiff || first.type != avi::kAvi)
        throw ToolError("not an AVI file", name, "give an AVI file");

    // Invariant: lastPayload grows with every step, so that the walk ends even where a break leads back;
    // frames rise and do not overlap.
    for (uint64_t at = 0; at < size;) {
        const Header header = ReadHeader(at);
        const uint64_t payload = at + avi::kChunkHead;
        if (size - at < avi::kChunkHead) {
            file.cut = file.cut || at < riffEnd;
            break;
        }
        if (IsSteppedInto(header.id, header.type) && size - at >= avi::kListHead) {
            StepInto(at, header);
            at += avi::kListHead;
        } else if (!IsPlausibleId(header.id)) {
            at = AfterBreak(lastPayload, at);
        } else if (header.size > size - payload) {
            // Cut off here, or a size that lies: then there is a frame behind it.
            lastPayload = payload;
            lastIsFrame = false;
            if (const auto next = inMovi ? FindNext(payload) : std::nullopt; next && IsOurFrame(header.id)) {
                file.frames.push_back({payload, 0});
                lastIsFrame = true;
            }
            at = AfterBreak(payload, at);
        } else {
            Take({header.id, payload, header.size});
            at = Behind(payload, header.size);
        }
    }
    if (!found)
        throw ToolError("no video stream of this codec", name,
                        "the head of the file is cut or of another codec");
    CompareIndex(source, places, file);
    // Some writers promise too much; an index that names all frames says that none is missing.
    const bool promisesMore = riffIsShort || promisedFrames > file.frames.size();
    const bool indexVouches = file.index == AviIndexState::Whole && !file.frames.empty();
    file.cut = file.cut || (promisesMore && !indexVouches);
    return std::move(file);
}

} // namespace

bool IsOurFourCC(uint32_t fourcc)
{
    return std::ranges::find(kOurFourCCs, UpperFourCC(fourcc)) != std::end(kOurFourCCs);
}

AviFile ReadAvi(const ByteSource& source, const std::string& name)
{
    return AviWalk(source, name).Run();
}
