#include "driver/exports.h"
#include "interrupt.h"
#include "platform/process.h"
#include "run_tool.h"

#include <iostream>

int main(int argc, char** argv)
{
    std::ios::sync_with_stdio(false);
    platform::MakeStandardStreamsBinary();
    CatchInterrupt();
    ToolContext context{&DriverProc, std::cin, std::cout, std::cerr, platform::IsErrorTerminal()};
    const int code = RunTool(platform::ProgramArguments(argc, argv), context);
    std::cout.flush();
    return code;
}
