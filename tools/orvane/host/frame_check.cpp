#include "host/frame_check.h"

#include "counted.h"
#include "files/frame_structure.h"
#include "host/private_settings.h"

#include <algorithm>

namespace {

/// Stretches of numbers whose flag is set: first and last of each.
std::vector<std::pair<size_t, size_t>> Stretches(const std::vector<bool>& flags)
{
    std::vector<std::pair<size_t, size_t>> stretches;
    for (size_t i = 0; i < flags.size(); ++i) {
        if (!flags[i])
            continue;
        if (!stretches.empty() && stretches.back().second + 1 == i)
            stretches.back().second = i;
        else
            stretches.push_back({i, i});
    }
    return stretches;
}

std::string RangeText(size_t first, size_t last)
{
    return std::to_string(first) + (first == last ? "" : "-" + std::to_string(last));
}

/// The picture rows of some bands.
std::string RowsOfBands(size_t first, size_t last, uint32_t height)
{
    const size_t end = std::min<size_t>((last + 1) * kChecksumBandRows, height);
    return RangeText(first * kChecksumBandRows, end - 1);
}

} // namespace

FrameCheck::FrameCheck(VideoStream& stream_, DriverEntry driver)
    : stream(stream_), hasher(stream.Format(), stream.Record())
{
    StoredChecksums stored = stream.ReadChecksums();
    table = std::move(stored.table);
    unreadable = stored.unreadable;
    if (table)
        matcher.emplace(*table);
    const PixelLayout& native = NativeLayout(stream.Format().code);
    PrivateSettings settings;
    settings.SetForDecoding(std::nullopt);
    decoder = std::make_unique<FrameDecompressor>(driver, stream.Format(), stream.BitmapInfo(), native,
                                                  stream.Width(), stream.Height());
    picture.resize(stream.InfoFor(native).FrameBytes());
}

void FrameCheck::Add(size_t number)
{
    const AviFrame& place = stream.File().frames[number];
    if (place.size == 0) // the picture before stays: nothing to check
        return;
    const std::span<const uint8_t> frame = stream.ReadFrame(number);
    const FrameStructure structure = ReadFrameStructure(stream.Source(), place.offset, place.size,
                                                        stream.Record(), stream.Format().planes);
    if (!structure.fault.empty())
        faults[number] = "damaged, " + structure.fault;
    else if (!decoder->Decompress(frame))
        faults[number] = "damaged, the codec refuses it";
    if (!matcher)
        return;
    numbers.push_back(number);
    const auto entry = matcher->Add(FrameHasher::HashBytes(frame), place.size);
    if (!entry || faults.contains(number))
        return;
    decoder->Read(picture);
    const FrameChecksums expected = table->At(*entry);
    if (FrameHasher::HashBytes(picture) == expected.picture)
        ++matched;
    else
        faults[number] =
            "its bytes are whole, but it decodes to another picture than was coded in " + RowsText(expected);
}

const std::map<size_t, std::string>& FrameCheck::Finish()
{
    if (!matcher)
        return faults;
    const std::vector<std::optional<size_t>> entries = matcher->Finish();
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (faults.contains(numbers[i]))
            continue;
        if (!entries[i])
            ++unknown;
        else if (table->FrameHashAt(*entries[i]) != FrameHasher::HashBytes(stream.ReadFrame(numbers[i])))
            ExplainUnknown(numbers[i], *entries[i]);
    }
    return faults;
}

/// A frame of sound structure whose bytes are not those of its checksums.
void FrameCheck::ExplainUnknown(size_t number, size_t entry)
{
    const std::span<const uint8_t> frame = stream.ReadFrame(number);
    const FrameChecksums expected = table->At(entry);
    decoder->Decompress(frame);
    decoder->Read(picture);
    const std::string place = BlocksText(expected.blocks, frame);
    faults[number] = "damaged in " + (place.empty() ? "its head or tables" : place) +
                     (FrameHasher::HashBytes(picture) == expected.picture
                          ? "; the picture is still right"
                          : "; the picture is wrong in " + RowsText(expected));
}

/// "block 3 (Y, rows 84-111), blocks 12-13 (U, rows 28-83)"; empty when all blocks are right.
std::string FrameCheck::BlocksText(std::span<const uint32_t> expected, std::span<const uint8_t> frame) const
{
    const std::vector<uint32_t> actual = hasher.HashBlocks(frame);
    std::string text;
    for (size_t plane = 0; plane < stream.Format().planes; ++plane) {
        const size_t first = plane * hasher.Bands();
        std::vector<bool> differs(hasher.Bands());
        for (size_t band = 0; band < differs.size(); ++band)
            differs[band] = actual[first + band] != expected[first + band];
        for (const auto& [from, to] : Stretches(differs))
            text += (text.empty() ? "" : ", ") + std::string(from == to ? "block " : "blocks ") +
                    RangeText(first + from, first + to) + " (" + PlaneName(stream.Format(), plane) +
                    ", rows " + RowsOfBands(from, to, stream.Record().height) + ")";
    }
    return text;
}

/// "rows 28-55, 112-139": where the picture differs.
std::string FrameCheck::RowsText(const FrameChecksums& expected) const
{
    const std::vector<uint64_t> actual = hasher.HashBands(picture);
    std::vector<bool> differs(actual.size());
    for (size_t band = 0; band < actual.size(); ++band)
        differs[band] = actual[band] != expected.bands[band];
    std::string text;
    for (const auto& [from, to] : Stretches(differs))
        text += (text.empty() ? "rows " : ", ") + RowsOfBands(from, to, stream.Record().height);
    return text;
}

std::string FrameCheck::Summary() const
{
    const bool one = stream.FrameCount() == 1;
    const std::string sound = Counted(stream.FrameCount(), "frame") + (one ? " is sound" : " are sound");
    if (!table)
        return sound + "; there are no checksums, so this is the structure alone";
    if (unknown == 0)
        return sound + (one ? " and matches its checksums" : " and match their checksums");
    return sound + "; with checksums that match: " + std::to_string(matched) +
           ", without any, so that the structure alone was checked: " + std::to_string(unknown);
}
