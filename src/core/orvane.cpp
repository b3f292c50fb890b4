#include "core/orvane.h"

#include "core/block_list.h"
#include "core/native_table.h"
#include "entropy/length_table.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

Orvane::Orvane(bool eightBit, bool highBit)
    : stages(kStageCount), enable8Bit(eightBit), enableHighBit(highBit)
{
    for (size_t i = 0; i < stages.size(); ++i)
        stages[i].name = kStageNames[i];
    SetThreadCount(0);
    BuildRoutes(2, false);
}

void Orvane::SetThreadCount(int n)
{
    pool.SetThreadCount(n);
    ResetTimers();
}

int Orvane::ThreadCount() const
{
    return static_cast<int>(pool.GetThreadCount());
}

void Orvane::ResetTimers()
{
    for (StageTimers& stage : stages)
        stage.perThread.assign(static_cast<size_t>(ThreadCount()), {});
}

StageTimer& Orvane::Timer(Stage stage, int thread)
{
    return stages[static_cast<size_t>(stage)].perThread[static_cast<size_t>(thread)];
}

void Orvane::ApplyDecodeSettings(const DecodeSettings& settings)
{
    decodeSettings = settings;
    BuildRoutes(encodeSettings.ColorMatrix, encodeSettings.FullRangeYUV != 0);
}

void Orvane::ApplyEncodeSettings(const EncodeSettings& settings)
{
    encodeSettings = settings;
    encodeSettings.CompMethod =
        std::min(encodeSettings.CompMethod, static_cast<uint32_t>(PredictMethod::Dynamic));
    if (encodeSettings.ColorMatrix == 0 || encodeSettings.ColorMatrix > 2)
        encodeSettings.ColorMatrix = 2;
    if (encodeSettings.CoderType > 3)
        encodeSettings.CoderType = 2;
    BuildRoutes(encodeSettings.ColorMatrix, encodeSettings.FullRangeYUV != 0);
}

bool ParseConfig(std::vector<uint8_t>* holder, const uint8_t* record, size_t size)
{
    if (!record || size < kFrameHeaderSize || size > kMaxRecordSize || !HasMagic(record))
        return false;
    const FrameHeader header = ReadHeader(record);
    if (header.headerSize != size || header.version > kFrameVersion)
        return false;
    if (holder)
        holder->assign(record, record + size);
    return true;
}

bool Orvane::FillConfig(FrameHeader& record, FormatId formatId, uint32_t width, uint32_t height,
                        FormatId formatCode) const
{
    const FormatId code = ResolveCode(formatId, formatCode);
    const FormatRoute* route = FindRoute(formatId, code);
    if (!route)
        return false;
    const bool yuv = IsYuvFamily(code);
    record = {};
    std::memcpy(record.magic, kFrameMagic, sizeof kFrameMagic);
    record.headerSize = kFrameHeaderSize;
    record.version = kFrameVersion;
    record.formatCode = static_cast<uint8_t>(code);
    record.maxCodeLength = static_cast<uint8_t>(CodeLengthLimit(route->backend->GetBitsPerSample()));
    record.colorMatrix = static_cast<uint8_t>(yuv ? encodeSettings.ColorMatrix : 2);
    record.flags = kFlagAlwaysSet;
    if (encodeSettings.Interlaced)
        record.flags |= kFlagInterlaced;
    if (encodeSettings.FullRangeYUV && yuv)
        record.flags |= kFlagFullRange;
    // Tables for the whole stream are never written: the setting 1 means tables in each frame, too.
    const uint32_t coderType = encodeSettings.CoderType == 1 ? 2 : encodeSettings.CoderType & 15;
    record.flags |= coderType << kCoderTypeShift;
    record.width = record.codedWidth = width;
    record.height = height;
    record.blockHeight = blockHeight;
    return true;
}

uint32_t Orvane::GetConfigSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const
{
    FrameHeader record;
    return FillConfig(record, formatId, width, height, formatCode) ? kFrameHeaderSize : 0;
}

FormatId Orvane::NativeFormat(const FrameHeader& record)
{
    return NativeTable[record.formatCode];
}

void Orvane::BeginCompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId inputId)
{
    BeginRun(info, record, size, inputId, true);
}

void Orvane::BeginDecompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId outputId)
{
    BeginRun(info, record, size, outputId, false);
}

void Orvane::BeginRun(CompressInfo& info, const uint8_t* record, size_t size, FormatId imageFormat,
                      bool compressing)
{
    info.image = {};
    info.route = {};
    // A record that fails the test leaves the one of the last run in force.
    if (ParseConfig(&info.configBytes, record, size))
        info.header = ReadHeader(info.configBytes.data());
    info.imageFormat = imageFormat;
    info.compressing = compressing;

    BuildRoutes(EffectiveMatrix(info.header.formatCode, info.header.colorMatrix), IsFullRange(info.header));
    const FormatRoute* route = compressing ? FindRoute(imageFormat, info.header.formatCode)
                                           : FindRoute(info.header.formatCode, imageFormat);
    // The caller has asked CanCompress or CanDecompress before; without a route nothing sensible can follow.
    if (!route)
        std::abort();
    info.route = *route;
    SetupBlocks(info);

    const FormatRoute* picture = FindRoute(imageFormat, kAnyFormat);
    flipRows = bottomUp && picture && picture->frontend->SupportsFlip();

    const CoderType coderType = CoderTypeOf(info.header);
    if (coderType == CoderType::InRecord)
        LoadRecordTables(info);
    else if (coderType == CoderType::None)
        SetupCoders(0);
    ResetTimers();
}

void Orvane::LoadRecordTables(const CompressInfo& info)
{
    const auto planes = static_cast<size_t>(info.route.backend->GetPlaneCount());
    const size_t symbols = size_t{1} << info.route.backend->GetBitsPerSample();
    codeLengths.assign(planes * symbols, 0);
    const uint8_t* at = info.configBytes.data() + kFrameHeaderSize;
    const uint8_t* const end = info.configBytes.data() + info.configBytes.size();
    // A table that is cut off ends the reading; the planes not reached keep all lengths 0.
    for (size_t plane = 0; plane < planes && at; ++plane)
        at = ReadLengthTable(at, end, static_cast<int>(symbols), codeLengths.data() + plane * symbols);

    // A coder that refuses its lengths stays unbuilt, with no tables of an earlier run.
    SetupCoders(0);
    SetupCoders(planes);
    for (size_t plane = 0; plane < planes; ++plane)
        coders[plane]->BuildFromLengths(static_cast<int>(symbols), codeLengths.data() + plane * symbols,
                                        info.compressing);
}

void Orvane::SetupCoders(size_t count)
{
    coders.resize(count);
    for (auto& coder : coders)
        if (!coder)
            coder = std::make_unique<HuffCoder8>();
}
