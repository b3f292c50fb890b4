#include "files/host_problems.h"

std::vector<std::string> FindHostProblems(const VideoStream& stream)
{
    std::vector<std::string> problems;
    for (const std::string& fault : stream.HeadFaults())
        problems.push_back("other programs cannot open this file: " + fault);
    const AviFile& file = stream.File();
    if (file.index == AviIndexState::None)
        problems.push_back("other programs cannot open this file or seek in it: " + file.IndexFault());
    if (file.index == AviIndexState::Wrong)
        problems.push_back("other programs cannot seek in this file: " + file.IndexFault());
    return problems;
}
