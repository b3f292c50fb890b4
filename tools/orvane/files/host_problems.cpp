#include "files/host_problems.h"

std::vector<std::string> FindHostProblems(const VideoStream& stream)
{
    std::vector<std::string> problems;
    for (const std::string& fault : stream.HeadFaults())
        problems.push_back("other programs cannot open this file: " + fault);
    switch (stream.File().index) {
    case AviIndexState::None:
        problems.emplace_back("other programs cannot open this file or seek in it: there is no index");
        break;
    case AviIndexState::Wrong:
        problems.emplace_back("other programs cannot seek in this file: the index does not fit the frames");
        break;
    case AviIndexState::Whole:
        break;
    }
    return problems;
}
