// Salvage of AVI files. The first byte says what the rest is:
//
//   even  any bytes as a file: what is found lies inside the file and does not overlap, in rising order
//   odd   places of a small intact file that are wiped: every frame that still has its bytes comes back

#include "common/frame_header.h"
#include "files/avi_reader.h"
#include "files/avi_records.h"
#include "files/avi_writer.h"
#include "files/little_endian.h"
#include "support/fuzz_input.h"
#include "support/guarded_buffer.h"
#include "support/history.h"
#include "support/memory_sink.h"
#include "tool_error.h"

#include <algorithm>
#include <string>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kMaxFile = 1 << 16;
constexpr int kWidth = 64, kHeight = 56, kPlanes = 3, kFrames = 6;
constexpr uint32_t kBlockHeight = 28;

/// Holds up what a walk promises of the chunks that it hands out.
class CheckedTaker final : public AviChunkTaker
{
  public:
    explicit CheckedTaker(uint64_t size_) : size(size_) {}

    Transcript taken;

    void TakeList(uint64_t at, const AviHead&) override { Advance(at, avi::kListHead); }
    void TakeChunk(const AviChunk& chunk) override { Advance(chunk.offset, chunk.size); }

  private:
    void Advance(uint64_t begin, uint64_t length)
    {
        Require(begin >= end, "chunks rise and do not overlap");
        Require(length <= size && begin <= size - length, "chunks lie inside the file");
        end = begin + length;
        taken.NoteAll(begin, length);
    }

    uint64_t size;
    uint64_t end = 0;
};

Transcript SalvageAnything(std::span<const uint8_t> bytes)
{
    CheckedTaker taker(bytes.size());
    const MemorySource source(bytes);
    const AviChain chain = SalvageChunks(source, taker);
    Require(chain.lostBytes <= bytes.size(), "no more is lost than there was");
    Require(chain.end <= bytes.size() + 1,
            "the chain ends in the file, or with the padding of its last byte");
    taker.taken.NoteAll(chain.lostBytes, chain.end);
    return taker.taken;
}

FrameHeader MakeRecord()
{
    FrameHeader header{};
    std::copy_n("ORVN", sizeof header.magic, header.magic);
    header.headerSize = kFrameHeaderSize;
    header.version = kFrameVersion;
    header.formatCode = kCodeYuv420;
    header.maxCodeLength = 12;
    header.colorMatrix = 2;
    header.flags = kFlagAlwaysSet | static_cast<uint32_t>(CoderType::InFrame) << kCoderTypeShift;
    header.width = kWidth;
    header.height = kHeight;
    header.codedWidth = kWidth;
    header.blockHeight = kBlockHeight;
    return header;
}

std::span<const uint8_t> BytesOf(const FrameHeader& header)
{
    return {reinterpret_cast<const uint8_t*>(&header), sizeof header};
}

/// A frame as salvage looks at it: header, offset table, bytes that are never a header.
Bytes MakeFrame(size_t number)
{
    constexpr uint32_t kBlocks = kHeight / kBlockHeight * kPlanes;
    constexpr uint32_t kFirst = 4 * (kBlocks + 1) + 1 + kBlocks + 60;
    const FrameHeader record = MakeRecord();
    Bytes frame(BytesOf(record).begin(), BytesOf(record).end());
    Put<uint32_t>(frame, kFirst);
    for (uint32_t block = 0; block < kBlocks; ++block)
        Put<uint32_t>(frame, kFirst + 40 * block);
    for (size_t i = 0; i < 400 + 37 * number; ++i)
        frame.push_back(static_cast<uint8_t>(0x80 | (i * 7 + number * 31 + i / 13)));
    return frame;
}

struct Intact {
    Bytes bytes;
    std::vector<AviFrame> frames;
};

Intact MakeIntact()
{
    Bytes info;
    for (const uint32_t word : {72u, uint32_t{kWidth}, uint32_t{kHeight}, 1u | 12u << 16, MakeFourCC("O8Y0")})
        Put<uint32_t>(info, word);
    info.resize(avi::kBitmapHeaderSize);
    const FrameHeader record = MakeRecord();
    PutBytes(info, BytesOf(record));
    MemorySink sink;
    AviWriter writer(sink, {MakeFourCC("O8Y0"), kWidth, kHeight, {25, 1}, info});
    for (size_t i = 0; i < kFrames; ++i)
        writer.WriteFrame(MakeFrame(i));
    writer.Finish({});
    const AviFile file = ReadAvi(MemorySource(sink.bytes), "intact.avi");
    Require(file.IsWhole() && file.frames.size() == kFrames, "the intact file is whole");
    return {sink.bytes, file.frames};
}

/// A frame that begins at the same place and has at least its bytes.
bool Has(const AviFile& file, const AviFrame& frame)
{
    return std::ranges::any_of(file.frames, [&](const AviFrame& found) {
        return found.offset == frame.offset && found.size >= frame.size;
    });
}

Transcript WipeAndSalvage(FuzzInput input)
{
    static const Intact intact = MakeIntact();
    Bytes bytes = intact.bytes;
    std::vector<bool> isWiped(bytes.size());
    for (int i = 0; i < 8 && !input.IsEmpty(); ++i) {
        const size_t at = input.Take<uint16_t>() % bytes.size();
        const size_t count = std::min<size_t>(1 + input.Take<uint16_t>() % 1024, bytes.size() - at);
        std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(at), count, uint8_t{0});
        std::fill_n(isWiped.begin() + static_cast<ptrdiff_t>(at), count, true);
    }
    std::vector<AviFrame> left;
    for (const AviFrame& frame : intact.frames) {
        const auto first = isWiped.begin() + static_cast<ptrdiff_t>(frame.offset);
        if (std::find(first, first + frame.size, true) == first + frame.size)
            left.push_back(frame);
    }
    Transcript given;
    if (left.empty())
        return given;
    const AviFile file = ReadAvi(MemorySource(bytes), "wiped.avi");
    for (const AviFrame& frame : left)
        Require(Has(file, frame), "a frame that has all its bytes comes back");
    for (const AviFrame& frame : file.frames)
        given.NoteAll(frame.offset, frame.size);
    return given;
}

Transcript Read(std::span<const uint8_t> input)
{
    const std::span<const uint8_t> rest = input.subspan(1);
    if (input[0] % 2 != 0)
        return WipeAndSalvage(FuzzInput(rest.data(), rest.size()));
    static GuardedBuffer memory(kMaxFile);
    return SalvageAnything(memory.Place(rest));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > kMaxFile)
        return 0;
    static History history;
    history.ReadTwice({data, size}, Read);
    return 0;
}
