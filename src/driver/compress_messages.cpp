#include "driver/compress_messages.h"

#include "driver/format_table.h"
#include "driver/format_text.h"
#include "driver/frame_bound.h"
#include "driver/run.h"

#include <cstring>

namespace driver {

namespace {

struct FormatPair {
    FormatId input;
    FormatId output;
    std::span<const uint8_t> record; ///< behind `out`, if there is one
};

FormatId ClassifyInput(const DriverInstance& instance, const BITMAPINFOHEADER* in)
{
    return ClassifyHeader(in, instance.Codec.HasAlpha(instance.Variant.Id)).id;
}

FormatPair ClassifyPair(const DriverInstance& instance, const BITMAPINFOHEADER* in,
                        const BITMAPINFOHEADER* out)
{
    const FormatId input = ClassifyInput(instance, in);
    const HeaderClass output = ClassifyHeader(out, instance.Codec.HasAlpha(input));
    return {input, output.id == kAnyFormat ? instance.Variant.Id : output.id, output.record};
}

bool CanCompress(const DriverInstance& instance, const BITMAPINFOHEADER& in, FormatId input, FormatId output)
{
    return instance.Codec.CanCompress(input, output, WidthOf(in), HeightOf(in));
}

/// Whether a run can open on these headers.
bool CanBegin(const DriverInstance& instance, const BITMAPINFOHEADER& in, const FormatPair& formats)
{
    return CanCompress(instance, in, formats.input, formats.output) &&
           instance.Codec.CanCompressWith(formats.record.data(), formats.record.size(), formats.input,
                                          WidthOf(in), HeightOf(in));
}

/// The end of every failed GET_FORMAT: a host that only asks for the size gets it all the same.
LRESULT RefuseFormat(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    if (!out)
        return kCompressedHeaderSize;
    LogQuery(instance, "Compress get format", in, nullptr, false);
    return ICERR_BADFORMAT;
}

uint64_t ImageSize(const ConstPlaneRecords& image)
{
    uint64_t size = 0;
    for (const ConstPlaneRecord& plane : image)
        size += plane.size;
    return size;
}

} // namespace

LRESULT QueryCompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    if (!in) {
        LogLine(instance,
                "#### APPLICATION ERROR #### : ICM_COMPRESS_QUERY: Codec received NULL for input format\n");
        return ICERR_BADPARAM;
    }
    const FormatPair formats = ClassifyPair(instance, in, out);
    const bool accepted =
        (!out || SameSize(*in, *out)) && CanCompress(instance, *in, formats.input, formats.output);
    LogQuery(instance, "Compress query", in, out, accepted);
    return accepted ? ICERR_OK : ICERR_BADFORMAT;
}

LRESULT GetCompressFormat(DriverInstance& instance, const BITMAPINFOHEADER* in, BITMAPINFOHEADER* out)
{
    if (!in) {
        LogLine(
            instance,
            "#### APPLICATION ERROR #### : ICM_COMPRESS_GET_FORMAT: Codec received NULL for input format\n");
        return ICERR_BADPARAM;
    }
    const FormatId input = ClassifyInput(instance, in);
    const FormatId variant = instance.Variant.Id;
    if (!CanCompress(instance, *in, input, variant))
        return RefuseFormat(instance, in, out);

    const uint32_t recordSize = instance.Codec.GetConfigSize(input, WidthOf(*in), HeightOf(*in), variant);
    if (recordSize == 0) {
        LogLine(instance, "#### INTERNAL ERROR #### : Compress get format size failed:\n");
        LogQuery(instance, "Compress get format", in, nullptr, false);
        return out ? LRESULT{ICERR_BADFORMAT} : LRESULT{kCompressedHeaderSize};
    }
    const auto size = static_cast<uint32_t>(sizeof(BITMAPINFOHEADER)) + recordSize;
    if (!out) {
        LogLine(instance, "Compress get format size: %s: %d\n", DescribeHeader(in).c_str(),
                static_cast<int>(size));
        return size;
    }

    FrameHeader record{};
    if (!instance.Codec.FillConfig(record, input, WidthOf(*in), HeightOf(*in), variant))
        return RefuseFormat(instance, in, out);
    *out = *in;
    out->biSize = size;
    out->biPlanes = 1;
    out->biHeight = static_cast<LONG>(record.height);
    out->biCompression = instance.Variant.FourCC;
    if (const FormatRow* row = FindFormat(record.formatCode); row && record.formatCode != 0)
        out->biBitCount = static_cast<WORD>(row->BitCount);
    std::memcpy(out + 1, &record, sizeof record);

    // Half of the hosts allocate by this field and never ask for the size of a frame.
    out->biSizeImage = FrameSizeBound(instance.Codec, input, record);
    if (out->biSizeImage == 0)
        return ICERR_BADFORMAT;
    LogLine(instance, "%s: %s: %s\n", "Compress get format", DescribeHeader(in).c_str(),
            DescribeHeader(out).c_str());
    return ICERR_OK;
}

LRESULT GetCompressSize(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    const FormatPair formats = ClassifyPair(instance, in, out);
    if (formats.record.empty())
        return ICERR_BADFORMAT;
    const uint32_t bound = FrameSizeBound(instance.Codec, formats.input, ReadHeader(formats.record.data()));
    return bound != 0 ? LRESULT{bound} : LRESULT{ICERR_BADFORMAT};
}

LRESULT BeginCompress(DriverInstance& instance, const BITMAPINFOHEADER* in, const BITMAPINFOHEADER* out)
{
    EndRun(instance, Direction::Compress);
    if (!in || !out) {
        LogLine(instance, "#### APPLICATION ERROR #### : ICM_COMPRESS_BEGIN: Codec received NULL for "
                          "input/output format\n");
        return ICERR_BADPARAM;
    }
    const FormatPair formats = ClassifyPair(instance, in, out);
    if (!SameSize(*in, *out) || !CanBegin(instance, *in, formats))
        return ICERR_BADFORMAT;

    const EncodeSettings& encode = instance.Variant.Encode;
    instance.Codec.SetBottomUp(IsBottomUp(in->biHeight, in->biCompression));
    instance.Codec.SetThreadCount(encode.AutoEncodeThreads != 0 ? 0
                                                                : static_cast<int>(encode.NumEncodeThreads));
    instance.Codec.BeginCompress(instance.Info, formats.record.data(), formats.record.size(), formats.input);
    instance.InputImageSize = in->biSizeImage;
    OpenRun(instance, Direction::Compress, *in, formats.input, instance.Info.header);
    return ICERR_OK;
}

LRESULT CompressFrame(DriverInstance& instance, const ICCOMPRESS* params)
{
    if (!params || !params->lpbiInput || !params->lpbiOutput || !params->lpInput || !params->lpOutput) {
        LogLine(instance, "#### APPLICATION ERROR #### : ICM_COMPRESS: Codec received NULL params\n");
        return ICERR_BADPARAM;
    }
    const BITMAPINFOHEADER& picture = *params->lpbiInput;
    if (!InRun(instance, Direction::Compress)) {
        const LRESULT result = BeginCompress(instance, &picture, params->lpbiOutput);
        if (result != ICERR_OK)
            return result;
    }

    CompressInfo& info = instance.Info;
    instance.Codec.SetSource(info, static_cast<const uint8_t*>(params->lpInput));
    info.output = static_cast<uint8_t*>(params->lpOutput);
    AdoptPaddedRows(info, info.source[0].pitch, info.source[0].size, picture, picture.biSizeImage,
                    instance.InputImageSize);
    if (const uint64_t expected = ImageSize(info.source); expected > picture.biSizeImage) {
        LogLine(instance, "FRAME ENCODE ERROR: Input image size (%d) is less than expected size (%d)\n",
                static_cast<int>(picture.biSizeImage), static_cast<int>(expected));
        return ICERR_BADSIZE;
    }

    FrameTimer& timer = instance.TimerOf(Direction::Compress);
    timer.Begin();
    ++instance.FrameCount;
    instance.Codec.ClearLastError();
    const uint32_t size = instance.Codec.Compress(info);
    params->lpbiOutput->biSizeImage = size;
    if (size == 0) {
        LogLine(instance, "#### FRAME ENCODE ERROR #### : Internal error: Compress failed, code: %d\n",
                static_cast<int>(instance.Codec.LastError()));
        instance.Codec.ClearLastError();
        return ICERR_BADSIZE;
    }
    timer.End();

    instance.CompressedBytes += size;
    instance.RawBytes += picture.biSizeImage;
    if (params->lpckid)
        *params->lpckid = MakeFourCC("dcdc");
    *params->lpdwFlags = AVIIF_KEYFRAME;
    return ICERR_OK;
}

LRESULT EndCompress(DriverInstance& instance)
{
    EndRun(instance, Direction::Compress);
    return ICERR_OK;
}

} // namespace driver
