#include "tool_error.h"

#include <cerrno>
#include <system_error>

namespace {

template <class Message>
std::string Line(const char* kind, const Message& message)
{
    std::string line = std::string("orvane: ") + kind + ": " + message.what;
    for (const std::string* part : {&message.where, &message.remedy})
        if (!part->empty())
            line += ", " + *part;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return line + '\n';
}

} // namespace

std::string ErrorLine(const ToolError& error)
{
    return Line("error", error);
}

std::string WarningLine(const ToolWarning& warning)
{
    return Line("warning", warning);
}

std::string SystemReason()
{
    return errno == 0 ? "the system gives no reason" : std::generic_category().message(errno);
}
