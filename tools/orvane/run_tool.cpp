#include "run_tool.h"

#include "commands/command_line.h"
#include "interrupt.h"

#include <new>
#include <ostream>

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
