#include "codec/peers/peer.h"

#include <map>
#include <stdexcept>

namespace {

std::map<int, PeerMaker>& Registered()
{
    static std::map<int, PeerMaker> makers;
    return makers;
}

} // namespace

std::vector<PeerMaker> PeerMakers()
{
    std::vector<PeerMaker> makers;
    for (const auto& [place, maker] : Registered())
        makers.push_back(maker);
    return makers;
}

PeerRegistration::PeerRegistration(int place, PeerMaker maker)
{
    Registered().emplace(place, std::move(maker));
}

void ExpectPeer(bool good, const char* call)
{
    if (!good)
        throw std::runtime_error(std::string(call) + " failed");
}
