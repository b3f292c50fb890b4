#include "files/avi_reader.h"

#include "counted.h"
#include "files/avi_index.h"
#include "files/little_endian.h"
#include "tool_error.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace {

constexpr uint32_t kOurFourCCs[] = {MakeFourCC("O8RG"), MakeFourCC("O8RA"), MakeFourCC("O8YA"),
                                    MakeFourCC("O8Y4"), MakeFourCC("O8Y2"), MakeFourCC("O8Y0"),
                                    MakeFourCC("O8G0"), MakeFourCC("ORVN")};
constexpr uint32_t kMaxStreams = 100; // chunk ids have two digits for the number

/// A chunk that describes the stream in whose list it stands.
constexpr bool DescribesStream(uint32_t id)
{
    return id == avi::kStrh || id == avi::kStrf || id == avi::kStrd || id == avi::kStrn || id == avi::kVprp;
}

/// The rate of which the main header stores microseconds a frame: one that films and television have, if any
/// fits.
Rational RateOfMicros(uint32_t micros)
{
    constexpr Rational kUsual[] = {{24000, 1001}, {24, 1},       {25, 1}, {30000, 1001}, {30, 1}, {48, 1},
                                   {50, 1},       {60000, 1001}, {60, 1}, {15, 1},       {12, 1}, {1, 1}};
    for (const Rational& rate : kUsual)
        if (std::abs(1e6 / rate.Value() - micros) <= 0.5)
            return rate;
    return {1000000, micros};
}

/// Whether the main header gives another rate than the stream header. Some libraries of hosts turn the
/// fraction over, and store a million times the rate for the microseconds of a frame; nobody reads it then.
bool Contradicts(uint32_t micros, const Rational& rate)
{
    constexpr double kMostWritten = 4e9;
    const auto differs = [&](double expected) {
        return std::abs(std::min(expected, kMostWritten) - micros) > 1 + 0.01 * micros;
    };
    return differs(1e6 / rate.Value()) && differs(1e6 * rate.Value());
}

/// Makes sense of chunks in file order.
class AviContent final : public AviChunkTaker
{
  public:
    /// salvaged  heads may be missing: a frame is known by its magic
    AviContent(const ByteSource& source_, bool salvaged_) : source(source_), salvaged(salvaged_) {}

    void TakeList(uint64_t at, const AviHead& head) override;
    void TakeChunk(const AviChunk& chunk) override;
    /// The file, once everything was taken.
    AviFile Finish(const AviChain& chain);

    bool HasStream() const { return found; }
    /// Whether there are chunks that may be frames of ours under another name.
    bool HasStrangers() const { return strangers; }
    /// Whether every segment has its list of frames.
    bool HasAllLists() const { return lists == segments; }

  private:
    struct MainHeader {
        bool present = false;
        uint32_t micros = 0; ///< of a frame
        bool hasOldIndex = false;
    };
    struct StreamHeader {
        bool isVideo = false;
        uint32_t handler = 0;
        std::optional<Rational> rate;
        uint32_t length = 0;
    };

    void TakeDescription(const AviChunk& chunk);
    void TakeStreamHeader(const AviChunk& chunk);
    void TakeStreamFormat(const AviChunk& chunk);
    void TakeMainHeader(const AviChunk& chunk);
    void TakeOther(const AviChunk& chunk);
    uint32_t TakeWord(const AviChunk& chunk) const;
    void ChooseStream(uint32_t number);
    bool IsOurFrame(const AviChunk& chunk);
    void CheckHeaders();

    const ByteSource& source;
    const bool salvaged;
    AviFile file;
    AviIndexPlaces places;

    bool found = false;  // a stream of ours has shown up
    bool inMovi = false; // stream headers are over
    bool strangers = false;
    bool pastIndex = false; // idx1 ends the frames of a segment
    uint32_t streams = 0;   // stream headers so far
    uint32_t segments = 0;  // RIFF heads
    uint32_t lists = 0;     // LIST movi
    MainHeader main;
    StreamHeader latest;         // of the latest stream
    StreamHeader ours;           // of the stream that was found
    uint32_t promisedFrames = 0; // by dmlh: of all segments
    bool riffIsShort = false;    // a segment says that it is longer than the file, or not finished
};

void AviContent::TakeList(uint64_t at, const AviHead& head)
{
    if (head.id == avi::kRiff) {
        ++segments;
        pastIndex = false;
        riffIsShort = riffIsShort || head.size == 0 || at + avi::kChunkHead + head.size > source.Size();
    }
    if (head.third != avi::kMovi)
        return;
    ++lists;
    if (lists == 1)
        places.moviType = at + avi::kChunkHead;
    inMovi = true;
}

void AviContent::TakeMainHeader(const AviChunk& chunk)
{
    constexpr uint32_t kHasIndex = 0x10;
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, std::min<uint32_t>(chunk.size, 16));
    if (bytes.size() == 16)
        main = {true, Get<uint32_t>(bytes, 0), (Get<uint32_t>(bytes, 12) & kHasIndex) != 0};
}

void AviContent::TakeStreamHeader(const AviChunk& chunk)
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, std::min<uint32_t>(chunk.size, 36));
    latest = {};
    ++streams;
    if (bytes.size() < 28)
        return;
    latest.isVideo = Get<uint32_t>(bytes, 0) == avi::kVids;
    latest.handler = Get<uint32_t>(bytes, 4);
    if (const auto scale = Get<uint32_t>(bytes, 20), value = Get<uint32_t>(bytes, 24); scale > 0 && value > 0)
        latest.rate = Rational{value, scale};
    latest.length = bytes.size() == 36 ? Get<uint32_t>(bytes, 32) : 0;
}

void AviContent::TakeStreamFormat(const AviChunk& chunk)
{
    if (found || !latest.isVideo || streams == 0 || streams > kMaxStreams ||
        chunk.size < avi::kBitmapHeaderSize)
        return;
    std::vector<uint8_t> bytes =
        source.ReadBytes(chunk.offset, std::min<size_t>(chunk.size, AviFile::kMaxBitmapInfo));
    const auto compression = Get<uint32_t>(bytes, 16);
    if (!IsOurFourCC(latest.handler) && !IsOurFourCC(compression))
        return;
    file.bitmapInfo = std::move(bytes);
    ChooseStream(streams - 1);
}

void AviContent::ChooseStream(uint32_t number)
{
    found = true;
    ours = latest;
    file.handler = latest.handler;
    places.stream = number;
    file.stream = static_cast<int>(number);
}

void AviContent::TakeDescription(const AviChunk& chunk)
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
uint32_t AviContent::TakeWord(const AviChunk& chunk) const
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, std::min<uint32_t>(chunk.size, 4));
    return bytes.size() == 4 ? Get<uint32_t>(bytes, 0) : 0;
}

/// Whether a chunk is a frame of the stream. Where the head of the stream is lost, the first chunk with the
/// magic of a frame says which stream it is.
bool AviContent::IsOurFrame(const AviChunk& chunk)
{
    const std::optional<uint32_t> stream = StreamOfFrame(chunk.id);
    if (salvaged && !found && stream && TakeWord(chunk) == kOrvaneMagic) {
        latest = streams == *stream + 1 ? latest : StreamHeader{};
        ChooseStream(*stream);
    }
    if (!stream || !found)
        return false;
    return *stream == places.stream;
}

/// A chunk that lies wholly inside the file.
void AviContent::TakeChunk(const AviChunk& chunk)
{
    const bool isOurStreamsHeader = !inMovi && found && streams == places.stream + 1;
    inMovi = inMovi || (salvaged && IsStreamData(chunk.id));
    pastIndex = pastIndex || chunk.id == avi::kIdx1;

    if (!inMovi && DescribesStream(chunk.id))
        TakeDescription(chunk);
    else if (inMovi && IsOurFrame(chunk))
        file.frames.push_back({chunk.offset, chunk.size});
    else if (IsSegmentIndex(chunk.id) && inMovi && avi::StreamOfDigits(chunk.id >> 16) == places.stream)
        places.segmentIndexes.push_back(chunk);
    else if (chunk.id == avi::kIdx1 && places.oldIndex.empty())
        places.oldIndex.push_back(chunk);
    else if (chunk.id == avi::kIndx && isOurStreamsHeader && places.superIndex.empty())
        places.superIndex.push_back(chunk);
    else if (chunk.id == avi::kDmlh && !inMovi)
        promisedFrames = TakeWord(chunk);
    else if (chunk.id == avi::kAvih && !inMovi)
        TakeMainHeader(chunk);
    else if (chunk.id != avi::kJunk && chunk.id != avi::kAvih)
        TakeOther(chunk);
}

void AviContent::TakeOther(const AviChunk& chunk)
{
    const std::optional<uint32_t> stream = avi::StreamOfDigits(chunk.id);
    const bool isOfOtherStream = stream && *stream < streams && IsStreamData(chunk.id);
    if (!salvaged && inMovi && !pastIndex && !isOfOtherStream && TakeWord(chunk) == kOrvaneMagic)
        strangers = true;
    file.others.push_back(chunk);
}

/// Rate and counts, as far as the headers agree with each other and with the frames.
void AviContent::CheckHeaders()
{
    if (!main.present)
        file.headFaults.emplace_back("the main header is lost");
    file.rateIsKnown = ours.rate || main.micros > 0;
    if (ours.rate)
        file.rate = *ours.rate;
    else if (main.micros > 0)
        file.rate = RateOfMicros(main.micros);
    if (!file.rateIsKnown)
        file.headFaults.emplace_back("the frame rate is lost");
    else if (!ours.rate)
        file.headFaults.emplace_back("the stream header has no frame rate");

    if (ours.rate && main.micros > 0 && Contradicts(main.micros, *ours.rate))
        file.headFaults.push_back("the main header gives another frame rate: " +
                                  ::TextOf(RateOfMicros(main.micros), '/'));
    const uint64_t count = file.frames.size() + file.MissingFrames();
    if (!file.cut && !riffIsShort && ours.length != 0 && ours.length != count)
        file.headFaults.push_back("the stream header promises " + Counted(ours.length, "frame"));
    if (!file.cut && !riffIsShort && promisedFrames != 0 && promisedFrames != count)
        file.headFaults.push_back("the extended header promises " + Counted(promisedFrames, "frame"));
}

AviFile AviContent::Finish(const AviChain& chain)
{
    file.cut = chain.cut;
    file.brokenPlaces = chain.brokenPlaces;
    places.promisesOldIndex = main.hasOldIndex;
    const bool indexVouches = CompareIndex(source, places, file) && !file.frames.empty();
    // Some writers promise too much; an index that names all frames says that none is missing. Where the
    // index or the video has gaps, the counts say that nothing else is missing.
    const uint64_t total = file.frames.size() + file.MissingFrames();
    const bool countsVouch = ours.length == total || promisedFrames == total;
    const bool hasGaps = file.unindexed > 0 || !file.gaps.empty();
    const bool isAllKnown = (indexVouches && file.index == AviIndexState::Whole) || (hasGaps && countsVouch);
    file.cut = file.cut || ((riffIsShort || promisedFrames > total) && !isAllKnown);
    file.mayLackFrames = chain.lostBytes > 0 && !indexVouches && !countsVouch;
    CheckHeaders();
    return std::move(file);
}

} // namespace

uint64_t AviFile::MissingFrames() const
{
    return std::accumulate(gaps.begin(), gaps.end(), uint64_t{0},
                           [](uint64_t sum, const AviGap& gap) { return sum + gap.count; });
}

std::string AviFile::TextOf(const AviGap& gap) const
{
    return Counted(gap.count, "frame") +
           (gap.before == frames.size() ? " at the end" : " before frame " + std::to_string(gap.before));
}

std::string AviFile::WhereCut() const
{
    if (frames.empty())
        return "before the end of its first frame";
    return "after its first " + (frames.size() == 1 ? "frame" : Counted(frames.size(), "frame"));
}

std::string AviFile::IndexFault() const
{
    switch (index) {
    case AviIndexState::None:
        return "there is no index";
    case AviIndexState::Wrong:
        return unindexed == 0 ? "the index does not fit the frames"
                              : "the index has gaps: it lacks " + std::to_string(unindexed) + " of " +
                                    Counted(frames.size(), "frame");
    case AviIndexState::Whole:
        break;
    }
    return {};
}

bool IsOurFourCC(uint32_t fourcc)
{
    return std::ranges::find(kOurFourCCs, UpperFourCC(fourcc)) != std::end(kOurFourCCs);
}

AviFile ReadAvi(const ByteSource& source, const std::string& name)
{
    AviContent content(source, false);
    const AviHead first = ReadAviHead(source, 0);
    const bool isAvi = first.id == avi::kRiff && first.third == avi::kAvi;
    if (isAvi) {
        const AviChain chain = WalkChunks(source, content);
        const bool isHeld =
            chain.brokenPlaces == 0 &&
            (chain.cut ? !CanSalvage(source, chain.end + avi::kChunkHead) : content.HasAllLists());
        if (isHeld && content.HasStream() && !content.HasStrangers()) {
            AviFile file = content.Finish(chain);
            if (file.index != AviIndexState::Wrong || file.cut)
                return file;
        }
    }
    AviContent salvaged(source, true);
    const AviChain chain = SalvageChunks(source, salvaged);
    if (!salvaged.HasStream()) {
        if (!isAvi)
            throw ToolError("not an AVI file, and without a frame of this codec", name, "give an AVI file");
        throw ToolError("no video stream of this codec", name,
                        "give a file with FourCC O8RG, O8RA, O8Y4, O8Y2, O8Y0, O8YA or O8G0");
    }
    return salvaged.Finish(chain);
}
