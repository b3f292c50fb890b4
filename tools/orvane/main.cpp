#include "driver/exports.h"
#include "files/input_stream.h"
#include "files/output_stream.h"
#include "platform/end_request.h"
#include "platform/process.h"
#include "run_tool.h"

#include <iostream>
#include <string>

namespace {

bool AskToReplace(const std::string& name, std::istream& in)
{
    std::cerr << "orvane: replace " << name << "? [y/N] " << std::flush;
    std::string answer;
    std::getline(in, answer);
    return answer.starts_with('y') || answer.starts_with('Y');
}

} // namespace

int main(int argc, char** argv)
{
    using platform::IsTerminal, platform::StandardStream;
    std::ios::sync_with_stdio(false);
    platform::PrepareStandardStreams();
    platform::CatchEndRequests();
    InputStream in(platform::OpenFile::StandardInput());
    OutputStream out(platform::OpenFile::StandardOutput());
    ToolContext context{&DriverProc, in, out, std::cerr, IsTerminal(StandardStream::Error)};
    context.outputs.outputIsTerminal = IsTerminal(StandardStream::Output);
    if (IsTerminal(StandardStream::Input) && context.errIsTerminal)
        context.outputs.ask = [&](const std::string& name) { return AskToReplace(name, in); };
    const int code = RunTool(platform::ProgramArguments(argc, argv), context);
    if (platform::IsEndRequested())
        platform::EndAsRequested();
    return code;
}
