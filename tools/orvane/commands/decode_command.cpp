#include "commands/command.h"
#include "counted.h"
#include "files/open_files.h"
#include "files/output_file.h"
#include "files/video_stream.h"
#include "host/frame_check.h"
#include "host/private_settings.h"
#include "interrupt.h"
#include "progress.h"

#include <memory>
#include <ostream>

namespace {

struct DecodeOptions {
    std::string input;
    std::string output;
    std::string layout;
    std::string frames;
    std::optional<uint32_t> threads;
    bool noCheck = false;
};

struct FrameRange {
    size_t first;
    size_t end; ///< behind the last

    size_t Count() const { return end - first; }
};

/// "A-B" or "A", counted from 0; empty for all.
FrameRange ParseRange(const std::string& text, size_t frameCount, const std::string& name)
{
    if (text.empty())
        return {0, frameCount};
    const size_t dash = text.find('-');
    const auto first = ParseNumber(text.substr(0, dash), INT64_MAX);
    const auto last = dash == std::string::npos ? first : ParseNumber(text.substr(dash + 1), INT64_MAX);
    if (!first || !last || *first > *last)
        throw UsageError("bad range of frames", "--frames " + text, "write A-B, as 0-99, or one number");
    if (*last >= frameCount)
        throw ToolError("frame " + std::to_string(*last) + " does not exist", name,
                        "the file has " + Counted(frameCount, "frame") + ", counted from 0");
    return {static_cast<size_t>(*first), static_cast<size_t>(*last + 1)};
}

class Decoding
{
  public:
    Decoding(const DecodeOptions& options_, ToolContext& context_)
        : options(options_), context(context_), stream(PathOf(options.input)),
          range(ParseRange(options.frames, stream.FrameCount(), options.input))
    {}

    ExitCode Run()
    {
        ChooseLayout();
        OpenCodec();
        if (!options.noCheck)
            check = std::make_unique<FrameCheck>(stream, context.driver, range.first);
        WriteFrames();
        return ReportDamage();
    }

  private:
    void ChooseLayout()
    {
        kind = OutputKindOf(options.output, !options.layout.empty(), stream.Format().code);
        layout =
            options.layout.empty() ? &DefaultLayout(kind, stream.Format().code) : FindLayout(options.layout);
        if (layout == nullptr)
            throw UsageError("unknown layout", "--to " + options.layout, "use one of " + LayoutNames());
        CheckPictureSize(*layout, stream.Width(), stream.Height(), options.input);
    }

    void OpenCodec()
    {
        PrivateSettings settings;
        settings.SetForDecoding(options.threads);
        const CompressedFormat& format = stream.Format();
        if (!CanDecompress(context.driver, format, stream.BitmapInfo(), *layout, stream.Width(),
                           stream.Height())) {
            const bool native = CanDecompress(context.driver, format, stream.BitmapInfo(),
                                              NativeLayout(format.code), stream.Width(), stream.Height());
            throw ToolError(std::string(format.text) + " cannot be decoded to " + layout->name, options.input,
                            native ? "choose another layout with --to, as " + std::string(format.native)
                                   : "its headers may be damaged: run orvane repair");
        }
        decoder = std::make_unique<FrameDecompressor>(context.driver, format, stream.BitmapInfo(), *layout,
                                                      stream.Width(), stream.Height());
        decoder->Clear();
    }

    void WriteFrames()
    {
        const VideoInfo info = stream.InfoFor(*layout);
        const std::unique_ptr<FrameSink> sink =
            OpenSink(options.output, kind, info, {range.first, range.Count()}, context.out, context.outputs);
        Progress progress(context.ProgressStream(), range.Count());
        std::vector<uint8_t> picture(info.FrameBytes());
        SeekBack();
        try {
            for (size_t number = range.first; number < range.end; ++number) {
                ThrowIfInterrupted();
                const std::span<const uint8_t> frame = stream.ReadFrame(number);
                const bool refused = !decoder->Decompress(frame);
                if (check)
                    check->AddDecoded(number, frame, refused);
                else if (refused)
                    NoteDamage(number, {});
                decoder->Read(picture);
                sink->Write(picture, number);
                progress.Add(picture.size(), frame.size());
            }
            ThrowIfInterrupted();
            sink->Finish();
        } catch (ToolError& error) {
            sink->NamePart(error, progress.Frames());
            throw;
        }
    }

    /// A first frame that is empty shows the picture of the last one before it that is not.
    void SeekBack()
    {
        size_t number = range.first;
        while (number > 0 && number < stream.FrameCount() && stream.File().frames[number].size == 0)
            --number;
        if (number < range.first)
            decoder->Decompress(stream.ReadFrame(number));
    }

    /// rows  of the picture that are wrong; empty: the frame cannot be decoded, or its picture is right
    void NoteDamage(size_t number, const std::string& rows)
    {
        if (damaged++ < kNamedFrames)
            damagedText += (damagedText.empty() ? "" : ", ") + std::to_string(number) +
                           (rows.empty() ? "" : " in " + rows);
    }

    ExitCode ReportDamage()
    {
        if (check)
            for (const auto& [number, fault] : check->Finish())
                NoteDamage(number, fault.rows);
        const AviFile& file = stream.File();
        if (damaged > 0) {
            if (damaged > kNamedFrames)
                damagedText += " ...";
            throw ToolError(
                std::to_string(damaged) + " of " + Counted(range.Count(), "frame") +
                    (damaged == 1 ? " is" : " are") + " damaged (" + damagedText + ")",
                options.input,
                "frames that cannot be decoded show the picture before them; orvane verify says more",
                ExitCode::DonePartly);
        }
        if (file.cut && range.end == stream.FrameCount())
            throw ToolError("the file is cut off after its first " + Counted(stream.FrameCount(), "frame"),
                            options.input, Counted(range.Count(), "frame") + " decoded",
                            ExitCode::DonePartly);
        if (check && check->ChecksumsUnreadable())
            throw ToolError("the checksums are damaged or belong to another video", options.input,
                            "frames were checked by their structure alone", ExitCode::DonePartly);
        return ExitCode::Done;
    }

    static constexpr size_t kNamedFrames = 8;

    const DecodeOptions& options;
    ToolContext& context;
    VideoStream stream;
    FrameRange range;
    FileKind kind = FileKind::Unknown; // of the output
    const PixelLayout* layout = nullptr;
    std::unique_ptr<FrameDecompressor> decoder;
    std::unique_ptr<FrameCheck> check; ///< null with --no-check
    size_t damaged = 0;
    std::string damagedText; // numbers of the first damaged frames
};

} // namespace

void AddDecodeCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<DecodeOptions>();
    CLI::App* const command = app.add_subcommand("decode", "Decode an AVI file to pictures or video");
    command->add_option("IN.avi", options->input, "The file to decode, also a cut one")->required();
    command
        ->add_option("-o,--output", options->output,
                     ".y4m, - (Y4M on standard output), .png, .ppm, shot_%04d.png, .raw or .yuv")
        ->required();
    command->add_option("--to", options->layout, "Layout of the pictures: " + LayoutNames())
        ->type_name("LAYOUT");
    command->add_option("--frames", options->frames, "Frames A-B or A, counted from 0");
    AddThreadsOption(*command, options->threads);
    command->add_flag("--no-check", options->noCheck, "Do not compare frames with their checksums");
    command->callback([options, &action] {
        action = [options](ToolContext& context) {
            context.outputs.Protect(PathOf(options->input));
            return Decoding(*options, context).Run();
        };
    });
}
