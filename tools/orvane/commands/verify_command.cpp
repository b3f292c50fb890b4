#include "commands/commands.h"
#include "counted.h"
#include "files/conversion.h"
#include "files/host_problems.h"
#include "files/open_files.h"
#include "files/video_stream.h"
#include "files/writer_rules.h"
#include "host/frame_check.h"
#include "host/picture_check.h"
#include "host/private_settings.h"
#include "interrupt.h"
#include "progress.h"

#include <map>
#include <memory>
#include <ostream>
#include <set>

namespace {

class Verification
{
  public:
    Verification(const VerifyOptions& options_, ToolContext& context_)
        : options(options_), context(context_), stream(PathOf(options.input))
    {}

    ExitCode Run()
    {
        CheckFile();
        if (options.against.empty())
            CheckFrames();
        else
            CompareFrames();
        if (options.strict)
            CheckWriter();
        CheckForOthers();
        if (faults > 0)
            throw ToolError(Counted(faults, "fault") + " found", options.input,
                            "see the " + std::string(faults == 1 ? "line" : "lines") + " on standard output");
        return ExitCode::Done;
    }

  private:
    void Report(const std::string& fault)
    {
        ++faults;
        context.out << fault << '\n';
    }
    void ReportFrame(size_t number, const std::string& fault)
    {
        Report("frame " + std::to_string(number) + ": " + fault);
    }

    void CheckFile()
    {
        const AviFile& file = stream.File();
        if (file.cut)
            Report("the file is cut off " + file.WhereCut());
        if (file.brokenPlaces > 0)
            Report("the chain of chunks is broken in " + Counted(file.brokenPlaces, "place"));
        for (const AviGap& gap : file.gaps)
            Report("missing: " + file.TextOf(gap));
        if (file.mayLackFrames)
            Report("some bytes belong to no chunk: frames may be missing");
        if (file.reordered)
            context.out << "remark: the index plays the frames in another order than the file stores them; "
                           "the index decides\n";
    }

    /// Whether the file is as a writer of the format has to write it.
    void CheckWriter()
    {
        WriterRules rules(stream);
        for (const std::string& broken : rules.CheckStream())
            Report(broken);
        std::map<std::string, std::set<size_t>> frames; // by the rule that they break
        for (size_t number = 0; number < stream.FrameCount(); ++number) {
            ThrowIfInterrupted();
            for (const std::string& broken : rules.CheckFrame(stream.ReadFrame(number)))
                frames[broken].insert(number);
        }
        for (const auto& [broken, numbers] : frames)
            Report(FramesText(numbers) + ": " + broken);
        if (faults == 0)
            context.out << "the file is as a writer has to write it\n";
    }

    /// Whether other programs can read the file.
    void CheckForOthers()
    {
        const bool picturesAreRight = faults == 0;
        const std::vector<std::string> problems = FindHostProblems(stream);
        for (const std::string& problem : problems)
            Report(problem);
        if (!problems.empty())
            context.out << (picturesAreRight ? "the pictures are right; " : "")
                        << "run orvane repair to have a file that other programs read\n";
    }

    /// What can be seen without the source: the structure of each frame, that it decodes, and that bytes and
    /// picture are those of its checksums.
    void CheckFrames()
    {
        FrameCheck check(stream, context.driver);
        if (check.ChecksumsUnreadable())
            Report("the checksums are damaged or belong to another video");
        Progress progress(context.ProgressStream(), stream.FrameCount());
        const uint64_t pictureBytes = stream.InfoFor(NativeLayout(stream.Format().code)).FrameBytes();
        for (size_t number = 0; number < stream.FrameCount(); ++number) {
            ThrowIfInterrupted();
            check.Add(number);
            progress.Add(pictureBytes, stream.File().frames[number].size);
        }
        if (stream.FrameCount() == 0)
            Report("the file has no frames");
        for (const auto& [number, fault] : check.Finish())
            ReportFrame(number, fault.text);
        for (const std::string& remark : check.Remarks())
            context.out << "remark: " << remark << '\n';
        if (faults == 0)
            context.out << check.Summary() << '\n';
    }

    void CompareFrames()
    {
        const std::unique_ptr<FrameSource> source = OpenSource(options.against, options.raw, context.in);
        const VideoInfo& info = source->Info();
        if (info.width != stream.Width() || info.height != stream.Height())
            throw ToolError("the pictures are of " + std::to_string(info.width) + "x" +
                                std::to_string(info.height) + ", the stream of " +
                                std::to_string(stream.Width()) + "x" + std::to_string(stream.Height()),
                            options.against, "compare with the source of this file");
        std::unique_ptr<PictureCheck> check = OpenCheck(info, std::nullopt);

        Progress progress(context.ProgressStream(), stream.FrameCount());
        std::vector<uint8_t> picture(info.FrameBytes());
        size_t number = 0;
        for (; source->Next(picture); ++number) {
            ThrowIfInterrupted();
            if (number >= stream.FrameCount())
                continue;
            const std::span<const uint8_t> frame = stream.ReadFrame(number);
            PictureMatch match = check->Check(picture, frame);
            if (match == PictureMatch::Different && number == 0)
                match = CheckOtherwise(picture, frame, info, check);
            converted = converted || match == PictureMatch::SameAfterConversion;
            if (match == PictureMatch::Damaged)
                ReportFrame(number, "damaged, the codec refuses it");
            if (match == PictureMatch::Different)
                ReportFrame(number, "differs from the source");
            progress.Add(picture.size(), frame.size());
        }
        for (const ToolWarning& warning : source->Warnings())
            context.err << WarningLine(warning);
        if (number != stream.FrameCount())
            Report("the source has " + Counted(number, "frame") + ", the file " +
                   std::to_string(stream.FrameCount()));
        if (converted)
            ReportConversion(ConversionOf(*info.layout, stream.Format()));
        else if (faults == 0)
            context.out << Counted(number, "frame") << (number == 1 ? " is" : " are") << " identical with "
                        << options.against << '\n';
    }

    void ReportConversion(const std::string& conversion)
    {
        const std::string line = "converted: " + conversion + "; ";
        if (faults > 0)
            Report(line + "not equal after the same conversion either");
        else if (options.afterConversion)
            context.out << line << "equal after the same conversion\n";
        else
            Report(line + "equal after the same conversion");
    }

    /// The stream does not tell how chroma was subsampled: if the first frame fits with the other way, that
    /// one holds.
    PictureMatch CheckOtherwise(std::span<const uint8_t> picture, std::span<const uint8_t> frame,
                                const VideoInfo& info, std::unique_ptr<PictureCheck>& check)
    {
        if (IsLossless(*info.layout, stream.Format()))
            return PictureMatch::Different;
        for (const bool interpolate : {false, true}) {
            std::unique_ptr<PictureCheck> other = OpenCheck(info, interpolate);
            const PictureMatch match = other->Check(picture, frame);
            if (match == PictureMatch::SameAfterConversion) {
                check = std::move(other);
                return match;
            }
        }
        return PictureMatch::Different;
    }

    std::unique_ptr<PictureCheck> OpenCheck(const VideoInfo& info, std::optional<bool> interpolate)
    {
        const CompressedFormat& format = stream.Format();
        CodecOptions codec;
        codec.interlaced = IsInterlaced(stream.Record());
        codec.interpolate = interpolate;
        PrivateSettings settings;
        settings.SetForEncoding(format.fourcc, codec);
        settings.SetForDecoding(std::nullopt);
        if (!IsLossless(*info.layout, format) &&
            !CanCompress(context.driver, format, *info.layout, info.width, info.height))
            throw ToolError(std::string("pictures of ") + info.layout->name + " cannot be compared with " +
                                format.text,
                            options.against, "give the source in its own layout");
        return std::make_unique<PictureCheck>(context.driver, format, stream.BitmapInfo(), *info.layout,
                                              info.width, info.height);
    }

    const VerifyOptions& options;
    ToolContext& context;
    VideoStream stream;
    size_t faults = 0;
    bool converted = false; ///< frames hold what a conversion made of the source
};

} // namespace

ExitCode RunVerify(const VerifyOptions& options, ToolContext& context)
{
    return Verification(options, context).Run();
}
