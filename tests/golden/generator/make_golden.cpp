// Writes the golden frames and files that do not exist yet: make_golden FOLDER. What exists stays as it is: a
// golden file is what a version that people have used wrote, and is never made anew.

#include "files/avi_writer.h"
#include "golden/golden_frames.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace {

using Bytes = std::vector<uint8_t>;

std::filesystem::path folder;

Bytes ReadBytes(const std::string& name)
{
    std::ifstream file(folder / name, std::ios::binary);
    if (!file)
        throw std::runtime_error("no file " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteNew(const std::string& name, const Bytes& bytes)
{
    if (std::filesystem::exists(folder / name)) {
        std::cout << "kept     " << name << '\n';
        return;
    }
    std::ofstream file(folder / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + name);
    std::cout << "written  " << name << '\n';
}

/// Slopes and edges with a little noise in the left half, a pattern of stripes in the right; whole numbers
/// only.
Bytes MakePicture(const std::string& name, size_t size, size_t rowBytes)
{
    Bytes picture(size, 77);
    uint32_t state = 2463534242;
    for (size_t i = 0; i < size && name != "flat"; ++i) {
        state = state * 1664525 + 1013904223;
        const size_t x = i % rowBytes, y = i / rowBytes;
        const size_t slope = 2 * x + 3 * y + (x / 16 + y / 20) % 2 * 50 + (state >> 30);
        const size_t stripes = x % 4 * 30 + (y % 5 == 0 ? 90 : 20) + (state >> 31);
        picture[i] = static_cast<uint8_t>(name == "noise" ? state >> 24 : x < rowBytes / 2 ? slope : stripes);
    }
    return picture;
}

const Bytes& Reused(std::vector<std::pair<std::string, Bytes>>& pictures, const GoldenFrame& golden,
                    CodecRun& run)
{
    for (const auto& [name, bytes] : pictures)
        if (name == golden.picture)
            return bytes;
    const std::string name = golden.picture + ".raw";
    if (!std::filesystem::exists(folder / name))
        WriteNew(name,
                 MakePicture(golden.picture, run.InputBytes(), run.InputBytes() / run.streamSpec.height));
    pictures.push_back({golden.picture, ReadBytes(name)});
    return pictures.back().second;
}

void MakeFrames()
{
    std::vector<std::pair<std::string, Bytes>> pictures;
    for (const GoldenFrame& golden : GoldenFrames()) {
        CodecRun run(golden.stream);
        const Bytes frame = run.Encode(Reused(pictures, golden, run));
        Bytes file(run.RecordBytes(), run.RecordBytes() + kFrameHeaderSize);
        file.insert(file.end(), frame.begin(), frame.end());
        WriteNew(golden.name + ".frame", file);
        if (golden.decoded != golden.picture)
            WriteNew(golden.decoded + ".raw", run.Decode(frame).picture);
    }
}

class MemoryFile final : public ByteSink
{
  public:
    void Write(std::span<const uint8_t> more) override
    {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    void WriteAt(uint64_t offset, std::span<const uint8_t> other) override
    {
        std::ranges::copy(other, bytes.begin() + static_cast<ptrdiff_t>(offset));
    }
    uint64_t Position() const override { return bytes.size(); }

    Bytes bytes;
};

void Put(Bytes& bytes, uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void MakeFile(const GoldenFile& golden)
{
    const Bytes stored = ReadBytes(std::string(golden.frame) + ".frame");
    const Bytes frame(stored.begin() + kFrameHeaderSize, stored.end());
    AviStreamFormat format;
    format.handler = golden.fourCC;
    format.width = kGoldenWidth;
    format.height = kGoldenHeight;
    Put(format.bitmapInfo, 72, 4);
    Put(format.bitmapInfo, kGoldenWidth, 4);
    Put(format.bitmapInfo, kGoldenHeight, 4);
    Put(format.bitmapInfo, 1, 2);
    Put(format.bitmapInfo, 24, 2);
    Put(format.bitmapInfo, format.handler, 4);
    format.bitmapInfo.resize(40);
    format.bitmapInfo.insert(format.bitmapInfo.end(), stored.begin(), stored.begin() + kFrameHeaderSize);

    MemoryFile file;
    AviWriter writer(file, format, golden.segmentLimit);
    uint64_t lastFrame = 0;
    for (int i = 0; i < golden.frames; ++i) {
        lastFrame = file.Position();
        writer.WriteFrame(frame);
    }
    writer.Finish();
    if (golden.cut)
        file.bytes.resize(lastFrame + frame.size() / 2);
    WriteNew(std::string(golden.name) + ".avi", file.bytes);
}

} // namespace

int main(int argumentCount, char** arguments)
try {
    if (argumentCount != 2) {
        std::cerr << "Usage: make_golden FOLDER\n";
        return 2;
    }
    folder = arguments[1];
    MakeFrames();
    for (const GoldenFile& golden : kGoldenFiles)
        MakeFile(golden);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "make_golden: " << error.what() << '\n';
    return 1;
}
