#include "commands/command.h"
#include "counted.h"
#include "files/avi_repair.h"
#include "files/byte_source.h"
#include "files/open_files.h"
#include "interrupt.h"
#include "progress.h"

#include <memory>
#include <ostream>

namespace {

struct RepairOptions {
    std::string input;
    std::string output;
};

ExitCode RunRepair(const RepairOptions& options, ToolContext& context)
{
    if (KindOf(options.output) != FileKind::Avi)
        throw UsageError("the output is an AVI file", options.output, "give a name that ends in .avi");
    CheckNotInput(PathOf(options.input), PathOf(options.output));

    const FileSource source(PathOf(options.input));
    AviRepair repair(source, options.input);
    OutputFile file(PathOf(options.output));
    {
        Progress progress(context.ProgressStream(), repair.FrameCount());
        try {
            repair.Run(file, [&](uint32_t size) {
                ThrowIfInterrupted();
                progress.Add(size, size);
            });
            file.Commit();
        } catch (ToolError& error) {
            NamePart(error, PathOf(options.output), progress.Frames());
            throw;
        }
    }
    for (const std::string& line : repair.Changes())
        context.out << "put right: " << line << '\n';
    for (const std::string& line : repair.Losses())
        context.out << "lost: " << line << '\n';
    if (repair.Changes().empty() && repair.Losses().empty())
        context.out << "nothing was wrong\n";
    context.out << options.output << ": " << Counted(repair.FrameCount(), "frame");
    if (repair.OtherChunkCount() > 0)
        context.out << " and " << Counted(repair.OtherChunkCount(), "chunk") << " of other streams";
    context.out << '\n';
    if (!repair.Losses().empty())
        throw ToolError("the file could not be made whole", options.input,
                        options.output + " has all that is left; see the lines on standard output",
                        ExitCode::DonePartly);
    return ExitCode::Done;
}

} // namespace

void AddRepairCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<RepairOptions>();
    CLI::App* const command =
        app.add_subcommand("repair", "Write a damaged, cut or rewritten AVI file anew, whole again");
    command->add_option("IN.avi", options->input, "The file to repair; it stays as it is")->required();
    command->add_option("-o,--output", options->output, "The AVI file to write")->required();
    command->callback([options, &action] {
        action = [options](ToolContext& context) { return RunRepair(*options, context); };
    });
}
