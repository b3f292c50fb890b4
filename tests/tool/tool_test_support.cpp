#include "tool/tool_test_support.h"

#include "common/frame_header.h"
#include "files/byte_source.h"
#include "files/fourcc.h"
#include "files/little_endian.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

std::string NameIn(const TestFolder& folder, const std::string& file)
{
    return TextOf(folder.Path() / PathOf(file));
}

Bytes ReadFile(const std::string& name)
{
    const FileSource source(PathOf(name));
    return source.ReadBytes(0, static_cast<size_t>(source.Size()));
}

void WriteFile(const std::string& name, std::span<const uint8_t> bytes)
{
    std::ofstream stream(PathOf(name), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush())
        throw std::runtime_error("cannot write " + name);
}

void WriteText(const std::string& name, const std::string& text)
{
    WriteFile(name, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

Bytes MakeFrame(size_t size, uint8_t fill)
{
    Bytes frame(size, fill);
    std::ranges::copy(kFrameMagic, frame.begin());
    return frame;
}

Bytes MakeBitmapInfo(int width, int height)
{
    Bytes info;
    Put<uint32_t>(info, 72);
    Put<int32_t>(info, width);
    Put<int32_t>(info, height);
    Put<uint16_t>(info, 1);
    Put<uint16_t>(info, 24);
    Put<uint32_t>(info, MakeFourCC("O8Y0"));
    info.resize(40);
    FrameHeader record{};
    std::ranges::copy(kFrameMagic, record.magic);
    record.headerSize = kFrameHeaderSize;
    record.version = kFrameVersion;
    record.formatCode = kCodeYuv420;
    record.maxCodeLength = 12;
    record.colorMatrix = 2;
    record.flags = kFlagAlwaysSet | 2U << kCoderTypeShift;
    record.width = static_cast<uint32_t>(width);
    record.height = static_cast<uint32_t>(height);
    record.codedWidth = record.width;
    record.blockHeight = 28;
    const auto* const at = reinterpret_cast<const uint8_t*>(&record);
    info.insert(info.end(), at, at + sizeof record);
    return info;
}

Bytes MakeAvi(const std::vector<Bytes>& frames, uint64_t segmentLimit)
{
    MemorySink sink;
    AviWriter writer(sink, {MakeFourCC("O8Y0"), 64, 48, {30000, 1001}, MakeBitmapInfo(64, 48)}, segmentLimit);
    for (const Bytes& frame : frames)
        writer.WriteFrame(frame);
    writer.Finish();
    return sink.bytes;
}

AviFile ReadAviBytes(const Bytes& bytes)
{
    return ReadAvi(MemorySource(bytes), "test.avi");
}

std::vector<Bytes> FramesOf(const Bytes& bytes, const AviFile& file)
{
    std::vector<Bytes> frames;
    for (const AviFrame& frame : file.frames)
        frames.push_back(MemorySource(bytes).ReadBytes(frame.offset, frame.size));
    return frames;
}
