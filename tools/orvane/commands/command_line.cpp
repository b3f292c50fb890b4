#include "commands/command_line.h"

#include "commands/commands.h"
#include "files/open_files.h"
#include "files/pixel_layout.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
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

/// The command, when it is given, makes `run(options)` the action.
template <typename Options>
void SetAction(CLI::App& command, Action& action, std::shared_ptr<Options> options,
               ExitCode (*run)(const Options&, ToolContext&))
{
    command.callback([options = std::move(options), &action, run] {
        action = [options, run](ToolContext& context) { return run(*options, context); };
    });
}

/// Adds --NAME and --no-NAME; without either the option stays empty.
void AddSwitch(CLI::App& command, const std::string& name, std::optional<bool>& option,
               const std::string& help)
{
    const auto set = [&option](int64_t count) { option = count > 0; };
    command.add_flag_function("--" + name + ",!--no-" + name, set, help);
}

void AddThreadsOption(CLI::App& command, std::optional<uint32_t>& threads)
{
    command.add_option("--threads", threads, "Threads, 1 to 64; 0 for all processors")
        ->check(CLI::Range(0, 64));
}

void AddEncode(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<EncodeOptions>();
    CLI::App* const command = app.add_subcommand("encode", "Encode pictures or video to an AVI file");
    command
        ->add_option("INPUT", options->input,
                     ".y4m, .png, .ppm, .pgm, a numbered sequence (shot_%04d.png), or -")
        ->required();
    command->add_option("-o,--output", options->output, "The AVI file to write")->required();
    command->add_option("--format", options->format, "Compressed format; auto takes that of the input")
        ->check(CLI::IsMember({"auto", "rgb", "rgba", "yuv444", "yuv422", "yuv420", "yuva444", "gray"}))
        ->capture_default_str();
    command->add_flag("--lossless", options->lossless, "Refuse a format that does not keep every sample");
    command->add_option("--method", options->method, "Predictor; dynamic takes the best for each block")
        ->check(CLI::IsMember(MethodNames()));
    AddThreadsOption(*command, options->codec.threads);
    AddSwitch(*command, "interlaced", options->codec.interlaced, "Code the two fields by themselves");
    command->add_option("--matrix", options->matrix, "Colour matrix, Rec.601 or Rec.709")
        ->check(CLI::IsMember(MatrixNames()));
    AddSwitch(*command, "full-range", options->codec.fullRange, "YUV uses the full range");
    AddSwitch(*command, "interpolate", options->codec.interpolate, "Interpolate where chroma is subsampled");
    command->add_option("--fps", options->rate, "Frame rate N/D, instead of the input's");
    command->add_option("--raw", options->raw, "INPUT is raw frames: WIDTHxHEIGHT:LAYOUT");
    command->add_flag("--verify", options->verify, "Decode each frame as it is written and compare");
    SetAction(*command, action, options, RunEncode);
}

void AddDecode(CLI::App& app, Action& action)
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
    command->add_flag("--hold", options->hold, "Repeat the picture before missing frames in their place");
    SetAction(*command, action, options, RunDecode);
}

void AddInfo(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* const command = app.add_subcommand("info", "Tell what a file holds");
    command->add_option("IN.avi", options->input, "The file to look at")->required();
    command->add_flag("--frames", options->frames, "A line for each frame");
    command->add_flag("--json", options->json, "Everything as one JSON object");
    SetAction(*command, action, options, RunInfo);
}

void AddVerify(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<VerifyOptions>();
    CLI::App* const command = app.add_subcommand("verify", "Check a file, by itself or against its source");
    command->add_option("IN.avi", options->input, "The file to check")->required();
    command->add_option("--against", options->against, "Compare with these pictures, one by one");
    command->add_flag("--after-conversion", options->afterConversion,
                      "Take pictures for equal that are so after the conversion of the file");
    command->add_option("--raw", options->raw, "They are raw frames: WIDTHxHEIGHT:LAYOUT");
    command->add_flag("--strict", options->strict,
                      "Name whatever differs from what a writer of the format has to write");
    SetAction(*command, action, options, RunVerify);
}

void AddInspect(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* const command = app.add_subcommand("inspect", "Paint a frame with its blocks as a PNG picture");
    command->add_option("IN.avi", options->input, "The file to look at")->required();
    command->add_option("--frame", options->frame, "Number of the frame, counted from 0")->required();
    command->add_option("-o,--output", options->output, "The PNG file to write")->required();
    SetAction(*command, action, options, RunInspect);
}

void AddPlot(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<PlotOptions>();
    CLI::App* const command =
        app.add_subcommand("plot", "Draw compressed size and ratio over time as an SVG picture");
    command->add_option("IN.avi", options->input, "The file to look at")->required();
    command->add_option("-o,--output", options->output, "The SVG file to write")->required();
    SetAction(*command, action, options, RunPlot);
}

void AddRepair(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<RepairOptions>();
    CLI::App* const command =
        app.add_subcommand("repair", "Write a damaged, cut or rewritten AVI file anew, whole again");
    command->add_option("IN.avi", options->input, "The file to repair; it stays as it is")->required();
    command->add_option("-o,--output", options->output, "The AVI file to write")->required();
    command->add_option("--fps", options->fps, "Frame rate of the new file, N/D or N")->type_name("N/D");
    command->add_flag("--add-checksums", options->addChecksums, "Add checksums to a file without them");
    SetAction(*command, action, options, RunRepair);
}

void AddConfig(CLI::App& app, Action& action)
{
    struct ConfigOptions {
        std::string key;
        std::string value;
    };
    const auto options = std::make_shared<ConfigOptions>();
    CLI::App* const command = app.add_subcommand("config", "List, read and set the codec's settings");
    command->require_subcommand(0, 1);
    command->callback([&action] {
        if (!action)
            action = ListSettings;
    });

    command->add_subcommand("list", "All settings with the values that hold")->callback([&action] {
        action = ListSettings;
    });

    CLI::App* const get = command->add_subcommand("get", "The value of a setting");
    get->add_option("KEY", options->key, "As EnableCodecLog or O8Y2.CompMethod")->required();
    get->callback([options, &action] {
        action = [options](ToolContext& context) { return GetSetting(options->key, context); };
    });

    CLI::App* const set = command->add_subcommand("set", "Store a setting");
    set->add_option("KEY", options->key, "As EnableCodecLog or O8Y2.CompMethod")->required();
    set->add_option("VALUE", options->value, "Decimal, or hexadecimal after 0x")->required();
    set->callback([options, &action] {
        action = [options](ToolContext& context) {
            return SetSetting(options->key, options->value, context);
        };
    });

    CLI::App* const reset = command->add_subcommand("reset", "Back to the default, one setting or all");
    reset->add_option("KEY", options->key, "As EnableCodecLog or O8Y2.CompMethod");
    reset->callback(
        [options, &action] { action = [options](ToolContext&) { return ResetSettings(options->key); }; });
}

} // namespace

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
    for (const auto add :
         {AddEncode, AddDecode, AddInfo, AddVerify, AddInspect, AddPlot, AddRepair, AddConfig})
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
