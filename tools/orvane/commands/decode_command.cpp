#include "commands/commands.h"
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
    {
        const AviFile& file = stream.File();
        if (stream.FrameCount() == 0)
            throw ToolError(file.cut ? "the file is cut off " + file.WhereCut() : "the file has no frames",
                            options.input, "there is nothing to decode");
    }

    ExitCode Run()
    {
        ChooseLayout();
        OpenCodec();
        if (!options.noCheck)
            check = std::make_unique<FrameCheck>(stream, context.driver, range.first);
        WriteFrames();
        FinishCheck();
        return ReportLosses();
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

    /// Frames that the index names before a frame of the range, or after the last one, and that are missing.
    uint64_t MissingBefore(size_t number) const
    {
        const bool isInside =
            (number > range.first || number == 0) && (number < range.end || number == stream.FrameCount());
        uint64_t count = 0;
        for (const AviGap& gap : stream.File().gaps)
            count += isInside && gap.before == number ? gap.count : 0;
        return count;
    }

    /// The numbers under which pictures are written: with --hold those of the frames before the file lost
    /// some.
    FrameNumbers OutputNumbers() const
    {
        FrameNumbers numbers{range.first, range.Count()};
        if (options.hold)
            for (const AviGap& gap : stream.File().gaps) {
                const bool isBefore = gap.before <= range.first && range.first > 0;
                numbers.first += isBefore ? gap.count : 0;
                numbers.count += isBefore || MissingBefore(gap.before) == 0 ? 0 : gap.count;
            }
        return numbers;
    }

    void WriteFrames()
    {
        const VideoInfo info = stream.InfoFor(*layout);
        const FrameNumbers numbers = OutputNumbers();
        const std::unique_ptr<FrameSink> sink =
            OpenSink(options.output, kind, info, numbers, context.out, context.outputs);
        Progress progress(context.ProgressStream(), numbers.count);
        std::vector<uint8_t> picture(info.FrameBytes());
        const auto write = [&](size_t frameBytes) {
            ThrowIfInterrupted();
            sink->Write(picture, numbers.first + progress.Frames());
            progress.Add(picture.size(), frameBytes);
        };
        const auto hold = [&](size_t number) {
            for (uint64_t i = options.hold ? MissingBefore(number) : 0; i > 0; --i)
                write(0);
        };
        SeekBack();
        try {
            for (size_t number = range.first; number < range.end; ++number) {
                if (number > 0)
                    hold(number);
                const size_t frameBytes = Decode(number);
                decoder->Read(picture);
                if (number == 0) // nothing comes before it that could be held
                    hold(number);
                write(frameBytes);
            }
            hold(range.end);
            ThrowIfInterrupted();
            sink->Finish();
        } catch (ToolError& error) {
            sink->NamePart(error, progress.Frames());
            throw;
        }
    }

    /// Returns the size of the frame.
    size_t Decode(size_t number)
    {
        ThrowIfInterrupted();
        const std::span<const uint8_t> frame = stream.ReadFrame(number);
        const bool refused = !decoder->Decompress(frame);
        if (check)
            check->AddDecoded(number, frame, refused);
        else if (refused)
            NoteDamage(number, {});
        return frame.size();
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

    void FinishCheck()
    {
        if (check)
            for (const auto& [number, fault] : check->Finish())
                NoteDamage(number, fault.rows);
        if (damaged > kNamedFrames)
            damagedText += " ...";
    }

    /// Everything that keeps the output from being what was recorded, in one line.
    ExitCode ReportLosses() const
    {
        const AviFile& file = stream.File();
        std::vector<std::string> losses, remedies;
        const auto note = [&](const std::string& loss, const std::string& remedy) {
            losses.push_back(loss);
            remedies.push_back(remedy);
        };
        if (damaged > 0)
            note(std::to_string(damaged) + " of " + Counted(range.Count(), "frame") +
                     (damaged == 1 ? " is" : " are") + " damaged (" + damagedText + ")",
                 "frames that cannot be decoded show the picture before them; orvane verify says more");
        if (const std::string missing = MissingText(); !missing.empty())
            note(missing, options.hold
                              ? "the picture before them is repeated"
                              : "--hold repeats the picture before them, so that sound stays in step");
        if (file.cut && range.end == stream.FrameCount())
            note("the file is cut off " + file.WhereCut(), Counted(range.Count(), "frame") + " decoded");
        else if (file.mayLackFrames)
            note("frames may be missing: some bytes belong to no chunk",
                 Counted(range.Count(), "frame") + " decoded");
        if (check && check->ChecksumsUnreadable())
            note("the checksums are damaged or belong to another video",
                 "frames were checked by their structure alone");
        if (losses.empty())
            return ExitCode::Done;
        throw ToolError(Joined(losses), options.input, Joined(remedies), ExitCode::DonePartly);
    }

    /// "missing: 3 frames before frame 4, 1 frame at the end"; empty when none is.
    std::string MissingText() const
    {
        std::string text;
        size_t places = 0;
        for (const AviGap& gap : stream.File().gaps)
            if (MissingBefore(gap.before) > 0 && places++ < kNamedFrames)
                text += (text.empty() ? "missing: " : ", ") + stream.File().TextOf(gap);
        return places > kNamedFrames ? text + " ..." : text;
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

ExitCode RunDecode(const DecodeOptions& options, ToolContext& context)
{
    context.outputs.Protect(PathOf(options.input));
    return Decoding(options, context).Run();
}
