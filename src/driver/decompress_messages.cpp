#include "driver/decompress_messages.h"

#include "common/align_up.h"
#include "common/host_layouts.h"
#include "driver/format_table.h"
#include "driver/format_text.h"
#include "driver/run.h"

#include <limits>

namespace driver {

namespace {

bool CanDecompress(const DriverInstance& instance, const HeaderClass& stream, FormatId output)
{
    return stream.Parsed() &&
           instance.Codec.CanDecompress(stream.record.data(), stream.record.size(), output);
}

HeaderClass ClassifyStream(const DriverInstance& instance, const BITMAPINFOHEADER* in)
{
    return ClassifyHeader(in, instance.Codec.HasAlpha(instance.Variant.Id));
}

FormatId ClassifyOutput(const DriverInstance& instance, const HeaderClass& stream,
                        const BITMAPINFOHEADER* out)
{
    return ClassifyHeader(out, instance.Codec.HasAlpha(stream.id)).id;
}

/// Whether the record is of the size that its header promises. The host sizes its output by the header, a
/// frame is written by the record.
bool RecordFitsHeader(const HeaderClass& stream, const BITMAPINFOHEADER& in)
{
    const FrameHeader record = ReadHeader(stream.record.data());
    return record.width == WidthOf(in) && record.height == HeightOf(in);
}

/// Whether the stream decodes to this output; a null `out` asks for the native layout. Which of the two is
/// asked matters for the largest pictures: 24-bit RGB reaches further than the native 32-bit one.
bool Accepts(const DriverInstance& instance, const BITMAPINFOHEADER& in, const BITMAPINFOHEADER* out,
             const HeaderClass& stream, FormatId output)
{
    return (!out || SameSize(in, *out)) && output != kUnknownFormat &&
           CanDecompress(instance, stream, output) && RecordFitsHeader(stream, in);
}

FormatId SuggestedOutput(const DriverInstance& instance, const HeaderClass& stream)
{
    if (instance.Decode.SuggestRGB != 0) {
        for (const FormatId rgb : {kHostBgr, kHostBgra})
            if (CanDecompress(instance, stream, rgb))
                return rgb;
    }
    if (const FormatRow* row = FindFormat(stream.id); row && row->NativeOutput != kAnyFormat)
        return row->NativeOutput;
    return Orvane::NativeFormat(ReadHeader(stream.record.data()));
}

/// Bytes of a picture as suggested, 0 when they do not fit 32 bits.
uint32_t SuggestedSize(const DriverInstance& instance, FormatId output, const BITMAPINFOHEADER& in)
{
    PlaneRecords image;
    uint32_t total = 0;
    instance.Codec.ComputePlanes(image, nullptr, output, static_cast<uint32_t>(in.biWidth),
                                 static_cast<uint32_t>(in.biHeight), &total);
    if (total == 0 || !HasPaddedRows(output))
        return total;
    // One plane, which is suggested with its rows padded to four bytes.
    const uint64_t padded =
        alignUp<uint64_t>(static_cast<uint64_t>(image[0].pitch), 4) * static_cast<uint32_t>(in.biHeight);
    return padded > std::numeric_limits<uint32_t>::max() ? 0 : static_cast<uint32_t>(padded);
}

/// 4:2:2 of Rec.709, or of no stated matrix, is offered under the FourCC that says Rec.709.
bool IsOfferedAsHdyc(FormatId output, const FrameHeader& record)
{
    return Is422(output) && EffectiveMatrix(record.formatCode, record.colorMatrix) == 2;
}

LRESULT ReportUnsuggestible(DriverInstance& instance, const BITMAPINFOHEADER* in, bool hasRow, uint32_t size)
{
    constexpr const char* kRule = "##############################################################\n";
    LogLine(instance, "%s", kRule);
    LogLine(instance, "INTERNAL ERROR: %s: %d %d\n", "Decompress get format", hasRow ? 1 : 0,
            static_cast<int>(size));
    LogLine(instance, "Please send a bug report with this log and steps to reproduce!\n");
    LogLine(instance, "%s", kRule);
    LogQuery(instance, "Decompress get format", in, nullptr, false);
    return ICERR_BADFORMAT;
}

} // namespace

LRESULT QueryDecompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    if (!in) {
        LogLine(instance,
                "#### APPLICATION ERROR #### : ICM_DECOMPRESS_QUERY: Codec received NULL for input format\n");
        return ICERR_BADPARAM;
    }
    const HeaderClass stream = ClassifyStream(instance, in);
    const bool accepted = Accepts(instance, *in, out, stream, ClassifyOutput(instance, stream, out));
    LogQuery(instance, "Decompress query", in, out, accepted);
    return accepted ? ICERR_OK : ICERR_BADFORMAT;
}

LRESULT GetDecompressFormat(DriverInstance& instance, const BITMAPINFOHEADER* in, BITMAPINFOHEADER* out)
{
    if (!in) {
        LogLine(instance, "#### APPLICATION ERROR #### : ICM_DECOMPRESS_GET_FORMAT: Codec received NULL for "
                          "input format\n");
        return ICERR_BADPARAM;
    }
    if (!out)
        return sizeof(BITMAPINFOHEADER);
    const HeaderClass stream = ClassifyStream(instance, in);
    if (!CanDecompress(instance, stream, kAnyFormat)) {
        LogQuery(instance, "Decompress get format", in, nullptr, false);
        return ICERR_BADFORMAT;
    }

    const FormatId output = SuggestedOutput(instance, stream);
    const FormatRow* row = FindFormat(output);
    const uint32_t size = SuggestedSize(instance, output, *in);
    if (!row || size == 0)
        return ReportUnsuggestible(instance, in, row != nullptr, size);

    *out = *in;
    out->biSize = sizeof(BITMAPINFOHEADER);
    out->biBitCount = static_cast<WORD>(row->BitCount);
    out->biCompression =
        IsOfferedAsHdyc(output, ReadHeader(stream.record.data())) ? MakeFourCC("HDYC") : row->FourCC;
    out->biSizeImage = size;
    LogLine(instance, "%s: %s: %s\n", "Decompress get format", DescribeHeader(in).c_str(),
            DescribeHeader(out).c_str());
    return ICERR_OK;
}

LRESULT BeginDecompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    EndRun(instance, Direction::Decompress);
    if (!in || !out) {
        LogLine(instance, "#### APPLICATION ERROR #### : ICM_DECOMPRESS_BEGIN: Codec received NULL for "
                          "input/output format\n");
        return ICERR_BADPARAM;
    }
    const HeaderClass stream = ClassifyStream(instance, in);
    const FormatId output = ClassifyOutput(instance, stream, out);
    if (!Accepts(instance, *in, out, stream, output))
        return ICERR_BADFORMAT;

    const DecodeSettings& decode = instance.Decode;
    instance.Codec.SetBottomUp(IsBottomUp(out->biHeight, out->biCompression));
    instance.Codec.SetThreadCount(decode.AutoDecodeThreads != 0 ? 0
                                                                : static_cast<int>(decode.NumDecodeThreads));
    instance.Codec.BeginDecompress(instance.Info, stream.record.data(), stream.record.size(), output);
    instance.OutputImageSize = out->biSizeImage;
    OpenRun(instance, Direction::Decompress, *out, output, instance.Info.header);
    return ICERR_OK;
}

LRESULT DecompressFrame(DriverInstance& instance, const ICDECOMPRESS* params)
{
    if (!params || !params->lpbiInput || !params->lpbiOutput || !params->lpInput || !params->lpOutput) {
        LogLine(instance, "#### APPLICATION ERROR #### : ICM_DECOMPRESS: Codec received NULL params\n");
        return ICERR_BADPARAM;
    }
    BITMAPINFOHEADER& picture = *params->lpbiOutput;
    if (!InRun(instance, Direction::Decompress)) {
        const LRESULT result = BeginDecompress(instance, params->lpbiInput, &picture);
        if (result != ICERR_OK)
            return result;
    }
    picture.biSizeImage = instance.OutputImageSize;
    const uint32_t frameSize = params->lpbiInput->biSizeImage;
    if (frameSize == 0 || (params->dwFlags & ICDECOMPRESS_NULLFRAME) != 0)
        return ICERR_OK;

    CompressInfo& info = instance.Info;
    info.frame = {static_cast<const uint8_t*>(params->lpInput), frameSize};
    instance.Codec.SetImage(info, static_cast<uint8_t*>(params->lpOutput));
    AdoptPaddedRows(info, info.image[0].pitch, info.image[0].size, picture, picture.biSizeImage,
                    instance.OutputImageSize);

    FrameTimer& timer = instance.TimerOf(Direction::Decompress);
    timer.Begin();
    ++instance.FrameCount;
    if (const FrameStatus status = instance.Codec.Decompress(info); status != FrameStatus::Ok) {
        LogLine(
            instance,
            "#### FRAME DECODE ERROR #### : Bad frame or frame format doesn't match video format: code %d\n",
            static_cast<int>(status));
        return ICERR_BADSIZE;
    }
    timer.End();
    instance.CompressedBytes += frameSize;
    instance.RawBytes += picture.biSizeImage;
    return ICERR_OK;
}

LRESULT EndDecompress(DriverInstance& instance)
{
    EndRun(instance, Direction::Decompress);
    return ICERR_OK;
}

} // namespace driver
