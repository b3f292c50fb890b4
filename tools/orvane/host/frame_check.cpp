#include "host/frame_check.h"

#include "counted.h"
#include "files/avi_records.h"
#include "files/frame_structure.h"
#include "host/private_settings.h"

#include <algorithm>

FrameCheck::FrameCheck(VideoStream& stream_, DriverEntry driver_, size_t first)
    : stream(stream_), driver(driver_), hasher(stream.Format(), stream.Record()),
      payload(stream.Format(), std::span(stream.BitmapInfo()).subspan(avi::kBitmapHeaderSize))
{
    StoredChecksums stored = stream.ReadChecksums();
    table = std::move(stored.table);
    unreadable = stored.unreadable;
    if (table)
        matcher.emplace(*table, first);
    const std::vector<AviFrame>& frames = stream.File().frames;
    const auto hasBytes = [](const AviFrame& frame) { return frame.size > 0; };
    firstWithBytes = static_cast<size_t>(std::ranges::find_if(frames, hasBytes) - frames.begin());
}

/// Made when it is needed for the first time: files without damage need none while they are decoded.
FrameDecompressor& FrameCheck::Decoder()
{
    if (!decoder) {
        const PixelLayout& native = NativeLayout(stream.Format().code);
        PrivateSettings settings;
        settings.SetForDecoding(std::nullopt);
        decoder = std::make_unique<FrameDecompressor>(driver, stream.Format(), stream.BitmapInfo(), native,
                                                      stream.Width(), stream.Height());
        picture.resize(stream.InfoFor(native).FrameBytes());
    }
    return *decoder;
}

void FrameCheck::Add(size_t number)
{
    const std::span<const uint8_t> frame = stream.ReadFrame(number);
    const bool refused = !Decoder().Decompress(frame);
    const std::optional<size_t> entry = AddBytes(number, frame, refused);
    if (entry && !refused)
        ComparePicture(number, *entry);
}

void FrameCheck::AddDecoded(size_t number, std::span<const uint8_t> frame, bool refused)
{
    AddBytes(number, frame, refused);
}

/// Returns the number of the frame's checksums if they match its bytes.
std::optional<size_t> FrameCheck::AddBytes(size_t number, std::span<const uint8_t> frame, bool refused)
{
    if (frame.empty()) {
        if (number < firstWithBytes)
            faults[number] = {"it has no bytes, and no picture comes before it", {}};
        return std::nullopt;
    }
    if (!matcher || refused)
        CheckPayload(number, frame, refused);
    if (!matcher)
        return std::nullopt;
    numbers.push_back(number);
    return matcher->Add(FrameHasher::HashBytes(frame), static_cast<uint32_t>(frame.size()));
}

void FrameCheck::CheckPayload(size_t number, std::span<const uint8_t> frame, bool refused)
{
    FrameFindings findings = payload.Check(frame);
    for (const std::string& remark : findings.remarks)
        remarks[remark].insert(number);
    if (refused)
        faults[number] = {
            findings.fault.empty() ? "damaged, the codec refuses it" : std::move(findings.fault), {}};
    else if (!findings.fault.empty())
        faults[number] = {std::move(findings.fault), std::move(findings.rows)};
}

/// A frame with the bytes of its checksums, just decoded.
void FrameCheck::ComparePicture(size_t number, size_t entry)
{
    Decoder().Read(picture);
    const FrameChecksums expected = table->At(entry);
    if (FrameHasher::HashBytes(picture) == expected.picture)
        return;
    const std::string rows = RowsText(expected);
    faults[number] = {"its bytes are whole, but it decodes to another picture than was coded in " + rows,
                      rows};
}

const std::map<size_t, FrameCheck::Fault>& FrameCheck::Finish()
{
    if (!matcher)
        return faults;
    const std::vector<std::optional<size_t>> entries = matcher->Finish();
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (faults.contains(numbers[i]))
            continue;
        if (!entries[i]) {
            ++unknown;
            CheckPayload(numbers[i], stream.ReadFrame(numbers[i]), false);
        } else if (!matcher->IsKnown(i)) {
            ExplainDifference(numbers[i], *entries[i]);
        }
    }
    return faults;
}

/// A frame that decodes, but whose bytes are not those of its checksums.
void FrameCheck::ExplainDifference(size_t number, size_t entry)
{
    const std::span<const uint8_t> frame = stream.ReadFrame(number);
    const FrameChecksums expected = table->At(entry);
    Decoder().Decompress(frame);
    decoder->Read(picture);
    const std::string place = BlocksText(expected.blocks, frame);
    const std::string rows = RowsText(expected);
    faults[number] = {
        "damaged in " + (place.empty() ? "its header or tables" : place) +
            (rows.empty() ? "; the picture is still right" : "; the picture is wrong in " + rows),
        rows};
}

/// "block 3 (Y, rows 84-111), blocks 12-13 (U, rows 28-83)"; empty when all blocks are right or none can be
/// told.
std::string FrameCheck::BlocksText(std::span<const uint32_t> expected, std::span<const uint8_t> frame) const
{
    const FrameStructure structure = ReadFrameStructure(
        MemorySource(frame), 0, static_cast<uint32_t>(frame.size()), stream.Record(), stream.Format().planes);
    if (structure.blocks.size() != expected.size())
        return {};
    const std::vector<uint32_t> actual = hasher.HashBlocks(frame);
    std::string text;
    for (size_t plane = 0; plane < stream.Format().planes; ++plane) {
        const size_t first = plane * hasher.Bands();
        std::vector<bool> differs(hasher.Bands());
        for (size_t band = 0; band < differs.size(); ++band)
            differs[band] = actual[first + band] != expected[first + band];
        for (const auto& [from, to] : Stretches(differs))
            text += (text.empty() ? "" : ", ") +
                    structure.BlocksText(stream.Format(), stream.Record().height, first + from, first + to);
    }
    return text;
}

/// "rows 28-55, 112-139": where the picture differs; empty when it is right.
std::string FrameCheck::RowsText(const FrameChecksums& expected) const
{
    const std::vector<uint64_t> actual = hasher.HashBands(picture);
    std::vector<bool> differs(actual.size());
    for (size_t band = 0; band < actual.size(); ++band)
        differs[band] = actual[band] != expected.bands[band];
    return RowsOfBands(differs, kChecksumBandRows, stream.Record().height);
}

std::vector<std::string> FrameCheck::Remarks() const
{
    std::vector<std::string> lines;
    for (const auto& [remark, frames] : remarks)
        lines.push_back(FramesText(frames) + ": " + remark);
    return lines;
}

std::string FrameCheck::Summary() const
{
    const size_t count = stream.FrameCount();
    if (!table)
        return "structure only: no checksums in this file; " + Counted(count, "frame") +
               (count == 1 ? " decodes" : " decode") + ", and all blocks end where their samples do";
    if (unknown > 0)
        return "structure only for " + std::to_string(unknown) + " of " + Counted(count, "frame") +
               ": no checksums for " + (unknown == 1 ? "it" : "them") +
               "; frames that match their checksums: " + std::to_string(count - unknown);
    return Counted(count, "frame") +
           (count == 1 ? " is sound and matches its checksums" : " are sound and match their checksums");
}
