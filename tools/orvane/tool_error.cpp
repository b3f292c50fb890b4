#include "tool_error.h"

std::string ErrorLine(const ToolError& error)
{
    std::string line = "orvane: error: " + error.what;
    for (const std::string* part : {&error.where, &error.remedy})
        if (!part->empty())
            line += ", " + *part;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return line + '\n';
}
