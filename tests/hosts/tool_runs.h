// Runs the tool of this build, and the tool of the system that built it, each as a program of its own. A test
// under Wine can start the other system's programs.
#pragma once

#include "support/test_folder.h"

#include <string>
#include <vector>

struct ToolRun {
    int code;
    std::string out;
    std::string err;
};

/// Whether programs of the building system can be started: not on Windows itself.
bool HasNativeTool();

/// Both run with the folder as the working one and with default settings; files may be named without a path.
ToolRun RunWindowsTool(const TestFolder& folder, const std::vector<std::string>& arguments);
ToolRun RunNativeTool(const TestFolder& folder, const std::vector<std::string>& arguments);
