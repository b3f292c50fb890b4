#include "run_tool.h"

#include "commands/command.h"
#include "files/pixel_layout.h"
#include "interrupt.h"

#include <algorithm>
#include <new>
#include <ostream>

namespace {

constexpr char kSeeHelp[] = "see orvane --help and orvane COMMAND --help";
constexpr char kFooter[] = R"(
Examples:
  orvane encode clip.y4m -o clip.avi --verify
  orvane decode clip.avi -o shot_%04d.png --frames 10-19
  orvane verify clip.avi

orvane COMMAND --help tells the options of a command.
Exit codes: 0 done; 1 an error, damage found or a difference; 2 wrong usage;
3 done as far as a damaged input allowed.)";

/// Parses and gives the action. Help and version are actions too.
Action ParseCommandLine(const std::vector<std::string>& arguments, ToolContext& context)
{
    Action action;
    CLI::App app("Lossless intra-frame video codec: encodes to AVI, decodes, looks into files.", "orvane");
    app.set_version_flag("--version", kToolVersion);
    app.add_flag("-q,--quiet", context.quiet, "No progress");
    app.add_flag("--force", context.outputs.force,
                 "Replace existing outputs and unfinished ones; never an input");
    constexpr char kMaxPixels[] = "--max-pixels";
    uint64_t maxPixels = kDefaultMaxPixels;
    app.add_option(kMaxPixels, maxPixels, "Largest picture that an input may ask for")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.require_subcommand(1);
    // Names may begin with a slash. Commands inherit this, so that it comes before them.
    app.allow_windows_style_options(false);
    app.fallthrough();
    for (const auto add : {AddEncodeCommand, AddDecodeCommand, AddInfoCommand, AddVerifyCommand,
                           AddInspectCommand, AddPlotCommand, AddRepairCommand, AddConfigCommand})
        add(app, action);
    app.footer(kFooter);
    auto command = arguments.begin();
    while (command != arguments.end() && command->starts_with('-'))
        command += *command == kMaxPixels && command + 1 != arguments.end() ? 2 : 1;
    const auto isCommand = [&](const CLI::App* known) { return known->get_name() == *command; };
    if (command != arguments.end() && std::ranges::none_of(app.get_subcommands(nullptr), isCommand))
        throw UsageError("there is no command " + *command, "", kSeeHelp);
    try {
        app.parse(
            std::vector<std::string>(arguments.rbegin(), arguments.rend())); // it takes them from the back
    } catch (const CLI::Success& request) {
        app.exit(request, context.out, context.err);
        return [](ToolContext&) { return ExitCode::Done; };
    } catch (const CLI::ParseError& error) {
        throw UsageError(arguments.empty() ? "a command is missing" : error.what(), "", kSeeHelp);
    }
    SetMaxPixels(maxPixels);
    return action;
}

} // namespace

int RunTool(const std::vector<std::string>& arguments, ToolContext& context)
{
    const auto fail = [&](const ToolError& error) {
        context.err << ErrorLine(error) << std::flush;
        return static_cast<int>(error.exitCode);
    };
    try {
        const ExitCode code = ParseCommandLine(arguments, context)(context);
        context.out.flush();
        if (!context.out)
            ThrowIfInterrupted();
        if (!context.out)
            throw ToolError("cannot write to standard output", "", "the reader is gone or the disk is full");
        return static_cast<int>(code);
    } catch (const ToolError& error) {
        return fail(error);
    } catch (const std::bad_alloc&) {
        return fail({"out of memory", "", "close other programs or use smaller pictures"});
    } catch (const std::exception& error) {
        return fail(
            {error.what(), "", "this should not happen; please report it with the command that was run"});
    }
}
