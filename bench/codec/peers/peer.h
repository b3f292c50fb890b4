// Other codecs that are measured beside ours, each by one thread. What is built depends on the libraries that
// were found; each file of this folder registers the peers it makes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// One plane of a tight picture, or all of an RGB picture: bytes one behind the other, row by row.
struct PeerPlane {
    size_t offset; ///< bytes from the start of the picture
    int width;
    int height;
    int samples; ///< of a pixel, interleaved: 1 or 3
};

/// The pictures that peers take: 4:2:0 as three planes, or RGB as one plane of three samples.
struct PeerPicture {
    int width;
    int height;
    size_t bytes;
    std::vector<PeerPlane> planes;

    bool IsRgb() const { return planes.size() == 1; }
};

class Peer
{
  public:
    virtual ~Peer() = default;
    virtual std::string Name() const = 0;
    /// Replaces `coded`; room that it has is used again. Throws std::runtime_error.
    virtual void Encode(const uint8_t* picture, std::vector<uint8_t>& coded) = 0;
    virtual bool CanDecode() const { return true; }
    /// Without a decoder: gives back what the encoder holds for the result of decoding the last frame.
    virtual void Decode(std::span<const uint8_t> coded, uint8_t* picture) = 0;
};

using PeerMaker = std::function<std::unique_ptr<Peer>(const PeerPicture& picture)>;

/// Makers in the order of the table that shows them.
std::vector<PeerMaker> PeerMakers();

/// A static object of this class adds a maker.
class PeerRegistration
{
  public:
    /// place  in the table, from 0 on
    PeerRegistration(int place, PeerMaker maker);
};

/// Throws when a library call failed.
void ExpectPeer(bool good, const char* call);
