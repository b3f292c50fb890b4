#include "commands/commands.h"
#include "common/predict_methods.h"
#include "counted.h"
#include "files/avi_records.h"
#include "files/avi_writer.h"
#include "files/byte_source.h"
#include "files/checksum_table.h"
#include "files/conversion.h"
#include "files/fourcc.h"
#include "files/open_files.h"
#include "files/y4m_header.h"
#include "host/picture_check.h"
#include "host/private_settings.h"
#include "interrupt.h"
#include "progress.h"

#include <algorithm>
#include <iomanip>
#include <memory>
#include <ostream>

namespace {

/// The name of an option's value, and the setting that it means.
struct NamedValue {
    const char* name;
    uint32_t value;
};
constexpr NamedValue kMatrices[] = {{"601", 1}, {"709", 2}};

/// The methods that users can choose.
std::vector<NamedValue> OfferedMethods()
{
    std::vector<NamedValue> methods;
    for (const PredictMethodInfo& info : kPredictMethods)
        if (info.offered)
            methods.push_back({info.option, static_cast<uint32_t>(info.method)});
    return methods;
}

std::vector<std::string> NamesOf(std::span<const NamedValue> values)
{
    std::vector<std::string> names;
    for (const NamedValue& value : values)
        names.emplace_back(value.name);
    return names;
}

/// Nothing for an empty name.
std::optional<uint32_t> ValueOf(std::span<const NamedValue> values, const std::string& name)
{
    for (const NamedValue& value : values)
        if (name == value.name)
            return value.value;
    return std::nullopt;
}

const CompressedFormat& ChooseFormat(const EncodeOptions& options, const VideoInfo& info)
{
    return options.format == "auto" ? *FindCompressedFormat(info.layout->family)
                                    : *FindFormatByOption(options.format);
}

Rational ChooseRate(const EncodeOptions& options, const VideoInfo& info)
{
    if (options.rate.empty())
        return info.rate.value_or(Rational{});
    const auto rate = ParseRational(options.rate, '/');
    if (!rate)
        throw UsageError("bad frame rate", "--fps " + options.rate, "write N/D or N, as 30000/1001");
    return *rate;
}

/// Why the driver refuses this picture: its size, a conversion that does not exist, or a stored setting.
[[noreturn]] void ExplainRefusal(const CompressedFormat& format, const VideoInfo& info,
                                 const std::string& input)
{
    const bool interlaced = ReadSetting(format.fourcc, "Interlaced") != 0;
    const int across = std::max(format.horizontal, info.layout->horizontal);
    const int down = std::max(format.vertical, info.layout->vertical) * (interlaced ? 2 : 1);
    if (info.width < 4 || info.height < 4 || info.width % across != 0 || info.height % down != 0) {
        const std::string kind = std::string(interlaced ? "interlaced " : "") + format.text;
        const std::string multiples = across * down == 1
                                          ? "width and height must be"
                                          : "the width must be a multiple of " + std::to_string(across) +
                                                ", the height of " + std::to_string(down) + ", both";
        throw ToolError(
            "a size of " + std::to_string(info.width) + "x" + std::to_string(info.height) + " does not fit " +
                kind,
            input, multiples + " at least 4" + (interlaced ? "; --no-interlaced halves the second" : ""));
    }
    const std::string setting = FourCCText(format.fourcc) + ".InputColorSpace";
    if (ReadSetting(format.fourcc, "InputColorSpace") != 0xFFFFFFFF)
        throw ToolError(
            std::string("the codec does not take ") + info.layout->name + " for " + format.text, input,
            "the stored setting " + setting + " may exclude it; see orvane config get " + setting);
    throw ToolError(std::string("there is no way from ") + info.layout->name + " to " + format.text, input,
                    "leave out --format, or choose one with less colour detail");
}

/// What the options do not say, the file may; what neither says, the stored settings do.
CodecOptions CompleteOptions(const EncodeOptions& options, const VideoInfo& info)
{
    CodecOptions codec = options.codec;
    codec.method = ValueOf(OfferedMethods(), options.method);
    codec.matrix = ValueOf(kMatrices, options.matrix);
    codec.interlaced = codec.interlaced ? codec.interlaced : info.interlaced;
    codec.fullRange = codec.fullRange ? codec.fullRange : info.fullRange;
    return codec;
}

/// Checksums are written after so many frames, two seconds of video: a killed recording has all but the last
/// of them.
size_t FramesPerTable(Rational rate)
{
    return static_cast<size_t>(std::clamp(2 * rate.Value(), 1.0, 1000.0));
}

FrameHeader RecordOf(std::span<const uint8_t> bitmapInfo)
{
    return ReadHeader(bitmapInfo.data() + avi::kBitmapHeaderSize);
}

class Encoding
{
  public:
    Encoding(const EncodeOptions& options_, ToolContext& context_) : options(options_), context(context_) {}

    ExitCode Run()
    {
        if (KindOf(options.output) != FileKind::Avi && !IsStreamName(PathOf(options.output)))
            throw UsageError("the output is an AVI file", options.output, "give a name that ends in .avi");
        for (const std::filesystem::path& file : InputFiles(options.input))
            context.outputs.Protect(file);
        source = OpenSource(options.input, options.raw, context.in);
        format = &ChooseFormat(options, source->Info());
        conversion = ConversionOf(*source->Info().layout, *format);
        OpenCodec();
        TellConversion();
        WriteFrames();
        return ExitCode::Done;
    }

  private:
    void OpenCodec()
    {
        const VideoInfo& info = source->Info();
        PrivateSettings settings;
        settings.SetForEncoding(format->fourcc, CompleteOptions(options, info));
        settings.SetForDecoding(options.codec.threads);
        if (!CanCompress(context.driver, *format, *info.layout, info.width, info.height))
            ExplainRefusal(*format, info, options.input);
        coder =
            std::make_unique<FrameCompressor>(context.driver, *format, *info.layout, info.width, info.height);
        if (const PixelLayout& layout = NativeLayout(format->code); &layout != info.layout) {
            native = std::make_unique<FrameDecompressor>(context.driver, *format, coder->BitmapInfo(), layout,
                                                         info.width, info.height);
            nativePicture.resize(static_cast<size_t>(PictureBytes(layout, info.width, info.height)));
        }
        if (options.verify)
            check = std::make_unique<PictureCheck>(context.driver, *format, coder->BitmapInfo(), *info.layout,
                                                   info.width, info.height);
    }

    /// What is lost is said before it is.
    void TellConversion() const
    {
        if (conversion.empty())
            return;
        const std::string what = std::string(source->Info().layout->name) + " to " + format->text +
                                 " is not lossless: " + conversion;
        if (options.lossless)
            throw ToolError(what, options.input, "leave out --format, or --lossless");
        context.err << WarningLine({what, options.input, "without --format nothing is lost"}) << std::flush;
    }

    void WriteFrames()
    {
        const VideoInfo& info = source->Info();
        const Rational rate = ChooseRate(options, info);
        OutputFile file(PathOf(options.output), context.outputs);
        file.RequireSeek("an AVI file");
        Progress progress(context.ProgressStream(), source->FrameCount());
        try {
            AviWriter writer(file, {format->fourcc, info.width, info.height, rate, coder->BitmapInfo()});
            const FrameHasher hasher(*format, RecordOf(coder->BitmapInfo()));
            ChecksumTable checksums(hasher.Bands(), hasher.Blocks());
            const size_t framesPerTable = FramesPerTable(rate);
            std::vector<uint8_t> picture(info.FrameBytes());
            while (ReadPicture(picture)) {
                const std::span<const uint8_t> frame = coder->Compress(picture);
                writer.WriteFrame(frame);
                Verify(picture, frame, progress.Frames());
                checksums.Add(hasher.Hash(NativePicture(picture, frame, progress.Frames()), frame));
                if (checksums.Count() >= framesPerTable) {
                    writer.WriteExtra({avi::kChecksums, checksums.Chunk()});
                    checksums = ChecksumTable(hasher.Bands(), hasher.Blocks());
                }
                progress.Add(picture.size(), frame.size());
            }
            CheckFrames(progress.Frames());
            writer.Finish(Extras(checksums));
            // What came through a pipe until the request to end is a recording; of a file there is more.
            if (IsInterrupted() && !source->IsLive()) {
                file.Sync();
                throw ToolError("interrupted", options.input, "start again to have the whole result");
            }
            file.Commit();
        } catch (ToolError& error) {
            file.NamePart(error, progress.Frames());
            throw;
        }
        ReportWarnings();
        Summarise(progress);
    }

    /// False at the end of the input, and once the tool is asked to end.
    bool ReadPicture(std::span<uint8_t> picture)
    {
        if (IsInterrupted())
            return false;
        try {
            return source->Next(picture);
        } catch (const ToolError&) {
            if (IsInterrupted()) // a read that was woken up ends inside a picture
                return false;
            throw;
        }
    }

    void CheckFrames(uint64_t frames) const
    {
        if (frames > 0)
            return;
        ThrowIfInterrupted();
        throw ToolError("the input has no frames", options.input, "give at least one");
    }

    void ReportWarnings()
    {
        for (const ToolWarning& warning : source->Warnings())
            context.err << WarningLine(warning);
    }

    void Verify(std::span<const uint8_t> picture, std::span<const uint8_t> frame, uint64_t number)
    {
        if (check && !IsAsCoded(check->Check(picture, frame)))
            FailToDecode(number);
    }

    static bool IsAsCoded(PictureMatch match)
    {
        return match == PictureMatch::Same || match == PictureMatch::SameAfterConversion;
    }

    [[noreturn]] void FailToDecode(uint64_t number) const
    {
        throw ToolError("a frame does not decode to what was coded",
                        options.input + " frame " + std::to_string(number),
                        "do not use the result; test the memory of this machine and report it");
    }

    /// The picture that checksums are taken of: what comes in if that is in the native layout, for nothing is
    /// lost then; else what comes out.
    std::span<const uint8_t> NativePicture(std::span<const uint8_t> picture, std::span<const uint8_t> frame,
                                           uint64_t number)
    {
        if (!native)
            return picture;
        if (!native->Decompress(frame))
            FailToDecode(number);
        native->Read(nativePicture);
        return nativePicture;
    }

    std::vector<AviExtraChunk> Extras(const ChecksumTable& checksums) const
    {
        std::vector<AviExtraChunk> extras;
        if (checksums.Count() > 0)
            extras.push_back({avi::kChecksums, checksums.Chunk()});
        VideoInfo info = source->Info();
        info.fullRange = CompleteOptions(options, info).fullRange;
        if (const std::string fields = MakeY4mFields(info); !fields.empty())
            extras.push_back({avi::kY4mFields, {fields.begin(), fields.end()}});
        if (!conversion.empty())
            extras.push_back({avi::kConversion, {conversion.begin(), conversion.end()}});
        return extras;
    }

    void Summarise(const Progress& progress)
    {
        const VideoInfo& info = source->Info();
        // Where the file itself goes to standard output, nothing else does.
        std::ostream& results =
            platform::IsStandardOutput(PathOf(options.output)) ? context.err : context.out;
        results << options.output << ": " << Counted(progress.Frames(), "frame") << ", " << info.width << "x"
                << info.height << " " << format->text << ", " << progress.CompressedBytes() << " of "
                << progress.RawBytes() << " bytes, ratio " << std::fixed << std::setprecision(2)
                << Ratio(progress.RawBytes(), progress.CompressedBytes()) << std::defaultfloat << '\n';
        if (check)
            results << "verified: every frame decodes to what was coded\n";
    }

    const EncodeOptions& options;
    ToolContext& context;
    std::unique_ptr<FrameSource> source;
    const CompressedFormat* format = nullptr;
    std::string conversion; ///< what is lost; empty: nothing
    std::unique_ptr<FrameCompressor> coder;
    std::unique_ptr<PictureCheck> check;
    std::unique_ptr<FrameDecompressor> native; ///< null: pictures come in the native layout
    std::vector<uint8_t> nativePicture;
};

} // namespace

std::vector<std::string> MethodNames()
{
    return NamesOf(OfferedMethods());
}

std::vector<std::string> MatrixNames()
{
    return NamesOf(kMatrices);
}

ExitCode RunEncode(const EncodeOptions& options, ToolContext& context)
{
    return Encoding(options, context).Run();
}
