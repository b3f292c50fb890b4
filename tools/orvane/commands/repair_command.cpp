#include "commands/commands.h"
#include "counted.h"
#include "files/avi_records.h"
#include "files/avi_repair.h"
#include "files/byte_source.h"
#include "files/open_files.h"
#include "files/video_stream.h"
#include "host/frame_check.h"
#include "host/private_settings.h"
#include "interrupt.h"
#include "progress.h"

#include <memory>
#include <optional>
#include <ostream>

namespace {

/// What a repaired file cannot mend, a line each: the faults that verify finds in the frames of the input.
std::vector<std::string> CheckFrames(VideoStream& stream, ToolContext& context)
{
    std::vector<std::string> losses;
    FrameCheck check(stream, context.driver);
    if (check.ChecksumsUnreadable())
        losses.emplace_back("the checksums are damaged or belong to another video");
    for (size_t number = 0; number < stream.FrameCount(); ++number) {
        ThrowIfInterrupted();
        check.Add(number);
    }
    for (const auto& [number, fault] : check.Finish())
        losses.push_back("frame " + std::to_string(number) + ": " + fault.text + "; copied unchanged");
    return losses;
}

/// The checksums of all frames of a stream without faults.
AviExtraChunk MakeChecksums(VideoStream& stream, DriverEntry driver)
{
    const PixelLayout& native = NativeLayout(stream.Format().code);
    const FrameHasher hasher(stream.Format(), stream.Record());
    ChecksumTable table(hasher.Bands(), hasher.Blocks());
    PrivateSettings settings;
    settings.SetForDecoding(std::nullopt);
    FrameDecompressor decoder(driver, stream.Format(), stream.BitmapInfo(), native, stream.Width(),
                              stream.Height());
    std::vector<uint8_t> picture(stream.InfoFor(native).FrameBytes());
    for (size_t number = 0; number < stream.FrameCount(); ++number) {
        ThrowIfInterrupted();
        const std::span<const uint8_t> frame = stream.ReadFrame(number);
        if (frame.empty())
            continue;
        decoder.Decompress(frame);
        decoder.Read(picture);
        table.Add(hasher.Hash(picture, frame));
    }
    return {avi::kChecksums, table.Chunk()};
}

/// Says what --add-checksums did.
std::string AddChecksums(AviRepair& repair, VideoStream& stream, bool hasFaults, DriverEntry driver)
{
    if (stream.ReadChecksums().table)
        return "checksums: the file has them already";
    if (hasFaults)
        return "checksums: not added, since frames are damaged";
    repair.Add(MakeChecksums(stream, driver));
    return "checksums: added for " + Counted(stream.FrameCount(), "frame");
}

std::optional<Rational> RateOption(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    const std::optional<Rational> rate = ParseRational(text, '/');
    if (!rate)
        throw UsageError("bad frame rate", "--fps " + text, "write N/D, as 30000/1001, or N");
    return rate;
}

} // namespace

ExitCode RunRepair(const RepairOptions& options, ToolContext& context)
{
    if (KindOf(options.output) != FileKind::Avi)
        throw UsageError("the output is an AVI file", options.output, "give a name that ends in .avi");
    context.outputs.Protect(PathOf(options.input));

    const FileSource source(PathOf(options.input));
    AviRepair repair(source, options.input, RateOption(options.fps));
    VideoStream stream(PathOf(options.input));
    std::vector<std::string> losses = CheckFrames(stream, context);
    std::string checksums;
    if (options.addChecksums)
        checksums = AddChecksums(repair, stream, !losses.empty(), context.driver);
    OutputFile file(PathOf(options.output), context.outputs);
    file.RequireSeek("an AVI file");
    {
        Progress progress(context.ProgressStream(), repair.FrameCount());
        try {
            const uint64_t written = repair.Run(file, [&](uint32_t size) {
                progress.Add(size, size);
                return !IsInterrupted();
            });
            if (written < repair.FrameCount()) {
                file.Sync();
                ThrowIfInterrupted();
            }
            file.Commit();
        } catch (ToolError& error) {
            file.NamePart(error, progress.Frames());
            throw;
        }
    }
    losses.insert(losses.begin(), repair.Losses().begin(), repair.Losses().end());
    for (const std::string& line : repair.Changes())
        context.out << "put right: " << line << '\n';
    for (const std::string& line : losses)
        context.out << "lost: " << line << '\n';
    if (!checksums.empty())
        context.out << checksums << '\n';
    if (repair.Changes().empty() && losses.empty())
        context.out << "nothing was wrong\n";
    context.out << options.output << ": " << Counted(repair.FrameCount(), "frame");
    if (repair.OtherChunkCount() > 0)
        context.out << " and " << Counted(repair.OtherChunkCount(), "chunk") << " of other streams";
    context.out << '\n';
    if (!losses.empty())
        throw ToolError("the file could not be made whole", options.input,
                        options.output + " has all that is left; see the lines on standard output",
                        ExitCode::DonePartly);
    return ExitCode::Done;
}
