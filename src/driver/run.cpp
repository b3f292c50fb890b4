#include "driver/run.h"

#include "common/align_up.h"
#include "driver/format_table.h"
#include "driver/format_text.h"

#include <cstdio>
#include <string>

namespace driver {

namespace {

void CopyText(char (&target)[64], const std::string& text)
{
    std::snprintf(target, sizeof target, "%s", text.c_str());
}

void FillStatus(DriverInstance& instance, Direction direction, const BITMAPINFOHEADER& picture,
                FormatId pictureId, const FrameHeader& record)
{
    surroundings::TrayStatus& status = instance.Status;
    const bool compressing = direction == Direction::Compress;
    const auto layout = static_cast<uint32_t>(pictureId);
    status.Mode = compressing ? surroundings::TrayMode::Compressing : surroundings::TrayMode::Decompressing;
    status.BottomUp = IsBottomUp(picture.biHeight, picture.biCompression);
    status.Width = WidthOf(picture);
    status.Height = HeightOf(picture);
    status.FirstFormat = compressing ? layout : record.formatCode;
    status.SecondFormat = compressing ? record.formatCode : layout;
    CopyText(status.FormatText, PictureFormatText(picture, instance.Codec.HasAlpha(pictureId)));
    CopyText(status.CompressedText, CompressedFormatName(record));
}

constexpr double kMegabyte = 9.5367431640625e-7; // one byte in units of 1048576

void LogBytes(DriverInstance& instance, const char* label, uint64_t bytes)
{
    LogLine(instance, "    %-20s%llu bytes (%.2f MBytes)\n", label, static_cast<unsigned long long>(bytes),
            static_cast<double>(bytes) * kMegabyte);
}

void LogTime(DriverInstance& instance, const char* label, uint64_t micros)
{
    const auto part = [micros](uint64_t unit, uint64_t modulus) {
        return static_cast<int>(micros / unit % modulus);
    };
    LogLine(instance, "    %-20s%02d:%02d:%02d.%03d\n", label, static_cast<int>(micros / 3'600'000'000),
            part(60'000'000, 60), part(1'000'000, 60), part(1'000, 1'000));
}

} // namespace

bool InRun(const DriverInstance& instance, Direction direction)
{
    return instance.Running && instance.Info.compressing == (direction == Direction::Compress);
}

void OpenRun(DriverInstance& instance, Direction direction, const BITMAPINFOHEADER& picture,
             FormatId pictureId, const FrameHeader& record)
{
    FillStatus(instance, direction, picture, pictureId, record);
    // From here on nothing fails.
    instance.Running = true;
    instance.TimerOf(direction) = {};
    instance.RawBytes = instance.CompressedBytes = 0;
    surroundings::PostNotify(instance.Tray, instance.Status, instance.Decode.NotificationSettings);

    const surroundings::TrayStatus& status = instance.Status;
    const char* bottomUp = status.BottomUp ? " (bottom-up)" : "";
    LogLine(instance, "--------------------------\n");
    if (direction == Direction::Compress) {
        LogLine(instance, "Compress begin:\n");
        LogLine(instance, "    Threads:            %d\n", instance.Codec.ThreadCount());
        LogLine(instance, "    Input format:       %s%s\n", status.FormatText, bottomUp);
        LogLine(instance, "    Compressed format:  %s\n", status.CompressedText);
    } else {
        LogLine(instance, "Decompress begin:\n");
        LogLine(instance, "    Threads:            %d\n", instance.Codec.ThreadCount());
        LogLine(instance, "    Compressed format:  %s\n", status.CompressedText);
        LogLine(instance, "    Output format:      %s%s\n", status.FormatText, bottomUp);
    }
    LogLine(instance, "    Resolution:         %d x %d\n", static_cast<int>(status.Width),
            static_cast<int>(status.Height));
    LogLine(instance, "    Interlaced:         %s\n", IsInterlaced(record) ? "YES" : "NO");
}

void EndRun(DriverInstance& instance, Direction direction)
{
    if (!instance.Running)
        return;
    instance.Running = false;
    instance.Tray.reset();

    const FrameTimer& timer = instance.TimerOf(direction);
    // A run without frames divides by zero: not-a-number and infinity print as the system prints them.
    const auto frames = static_cast<double>(timer.Count);
    const auto micros = static_cast<double>(timer.TotalMicros);
    const double pixels = static_cast<double>(instance.Status.Height) * instance.Status.Width;
    const double ratio =
        static_cast<double>(instance.RawBytes) / static_cast<double>(instance.CompressedBytes);
    const bool compressing = direction == Direction::Compress;

    LogLine(instance, compressing ? "Compress end:\n" : "Decompress end:\n");
    LogLine(instance, "    %-20s%d frames\n",
            compressing ? "Compressed:" : "Decompressed:", static_cast<int>(timer.Count));
    if (compressing)
        LogBytes(instance, "Raw data (input):", instance.RawBytes);
    LogBytes(instance, "Compressed data:", instance.CompressedBytes);
    if (!compressing)
        LogBytes(instance, "Raw data (output):", instance.RawBytes);
    LogLine(instance, "    Compression ratio:  %.2f\n", ratio);
    LogTime(instance, compressing ? "Encode-only time:" : "Decode-only time:", timer.TotalMicros);
    LogLine(instance, "    %s speed (avg): %.2f ms/frame (%.2f fps, %.2f MPix/sec)\n",
            compressing ? "Encode" : "Decode", micros / frames * 0.001, 1'000'000 * frames / micros,
            frames * pixels / micros);
}

void LogQuery(DriverInstance& instance, const char* action, const BITMAPINFOHEADER* in,
              const BITMAPINFOHEADER* out, bool accepted)
{
    if (instance.Decode.EnableCodecLog == 0)
        return; // an editor asks hundreds of times in a row
    const char* result = accepted ? "OK" : "NOT SUPPORTED";
    if (out)
        LogLine(instance, "%s: %s -> %s: %s\n", action, DescribeHeader(in).c_str(),
                DescribeHeader(out).c_str(), result);
    else
        LogLine(instance, "%s: %s: %s\n", action, DescribeHeader(in).c_str(), result);
}

void AdoptPaddedRows(const CompressInfo& info, int32_t& pitch, uint32_t& size,
                     const BITMAPINFOHEADER& picture, uint32_t imageSize, uint32_t room)
{
    if (!HasPaddedRows(info.imageFormat))
        return;
    const int32_t stride = alignUp(pitch, 4);
    const uint32_t padded = static_cast<uint32_t>(stride) * static_cast<uint32_t>(picture.biHeight);
    const uint64_t needed = uint64_t{static_cast<uint32_t>(stride)} * info.header.height;
    if (padded > imageSize || (room != 0 && needed > room))
        return;
    pitch = stride;
    size = padded;
}

} // namespace driver
