#include "bench_content.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace {

/// Rows of `rowBytes`: slow waves, some edges, and noise of a Laplace distribution.
std::vector<uint8_t> NoisyPicture(size_t size, size_t rowBytes, size_t channels, double noise)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> uniform(-0.5, 0.5);
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        const auto x = static_cast<double>(i % rowBytes / channels);
        const auto y = static_cast<double>(i / rowBytes);
        double value = 120 + 50 * std::sin(x / 91 + y / 170) + 40 * std::cos(y / 67 - x / 301);
        if (std::fmod(x / 160 + y / 120, 2.0) < 1)
            value += 12;
        const double u = uniform(random);
        const double laplace = -std::copysign(std::log1p(-2 * std::abs(u) + 1e-9), u);
        bytes[i] = static_cast<uint8_t>(std::clamp(std::lround(value + noise * laplace), 0L, 255L));
    }
    return bytes;
}

size_t ChannelsOf(FormatId host)
{
    switch (host) {
    case kHostBgr:
        return 3;
    case kHostBgrx:
    case kHostBgra:
        return 4;
    default:
        return 1;
    }
}

size_t TightBytes(const BenchStream& stream)
{
    const Orvane codec(true, true);
    PlaneRecords planes;
    uint32_t total = 0;
    codec.ComputePlanes(planes, nullptr, stream.host, stream.width, stream.height, &total);
    return total;
}

} // namespace

BenchPicture MakeBenchPicture(const BenchStream& stream)
{
    BenchStream median = stream;
    median.method = PredictMethod::Median;
    const size_t bytes = TightBytes(stream);
    const size_t channels = ChannelsOf(stream.host);
    double low = 0;
    double high = 40;
    BenchPicture picture;
    for (int i = 0; i < 12; ++i) {
        const double noise = (low + high) / 2;
        picture.bytes = NoisyPicture(bytes, stream.width * channels, channels, noise);
        BenchRun run(median, picture, 0);
        picture.bitsPerSample = run.Encode() * 8.0 / static_cast<double>(run.Samples());
        if (std::abs(picture.bitsPerSample - stream.bitsPerSample) < 0.02)
            break;
        (picture.bitsPerSample < stream.bitsPerSample ? low : high) = noise;
    }
    return picture;
}

BenchRun::BenchRun(const BenchStream& stream, const BenchPicture& picture, int threads)
    : streamSpec(stream), pictureBytes(picture.bytes.size()), source(pictureBytes), back(pictureBytes)
{
    std::memcpy(source.data(), picture.bytes.data(), pictureBytes);
    EncodeSettings settings;
    settings.CompMethod = static_cast<uint32_t>(streamSpec.method);
    encoder.ApplyEncodeSettings(settings);
    encoder.FillConfig(record, streamSpec.host, streamSpec.width, streamSpec.height, streamSpec.code);
    encoder.SetThreadCount(threads);
    decoder.SetThreadCount(threads);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    encoder.BeginCompress(compressInfo, bytes, sizeof record, streamSpec.host);
    decoder.BeginDecompress(decompressInfo, bytes, sizeof record, streamSpec.host);
    frame.resize(
        encoder.MaxCompressedSize(streamSpec.host, streamSpec.width, streamSpec.height, streamSpec.code));
}

uint32_t BenchRun::Encode()
{
    encoder.SetImage(compressInfo, source.data());
    compressInfo.frame = frame.data();
    frameBytes = encoder.Compress(compressInfo);
    return frameBytes;
}

void BenchRun::Decode()
{
    decoder.SetImage(decompressInfo, back.data());
    decompressInfo.frame = frame.data();
    decompressInfo.frameSize = frameBytes;
    decoder.Decompress(decompressInfo);
}

bool BenchRun::IsLossless()
{
    Encode();
    Decode();
    return std::memcmp(source.data(), back.data(), pictureBytes) == 0;
}

uint64_t BenchRun::Samples() const
{
    uint64_t samples = 0;
    const ImgProcBackend& backend = *compressInfo.route.backend;
    for (int plane = 0; plane < backend.GetPlaneCount(); ++plane)
        samples += static_cast<uint64_t>(backend.GetPlaneWidth(plane, static_cast<int>(streamSpec.width))) *
                   static_cast<uint64_t>(backend.GetPlaneHeight(plane, static_cast<int>(streamSpec.height)));
    return samples;
}
