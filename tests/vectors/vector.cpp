#include "vectors/vector.h"

#include "vectors/describe.h"

#include <stdexcept>

namespace vectors {

std::vector<Vector> AllVectors()
{
    std::vector<Vector> all;
    AddEncodedStreams(all);
    AddStructureStreams(all);
    AddCodeStreams(all);
    AddRefusedStreams(all);
    AddFiles(all);
    return all;
}

void AddAny(std::vector<Vector>& all, std::string name, std::string text, const Stream& stream)
{
    all.push_back({std::move(name), std::move(text), JoinStream(stream)});
}

void Add(std::vector<Vector>& all, std::string name, std::string text, const Stream& stream,
         const std::vector<size_t>& unspecified)
{
    StreamReader reader(stream.record);
    for (const Bytes& frame : stream.frames)
        if (!reader.Accepts() || reader.Decode(frame) != FrameStatus::Ok)
            throw std::logic_error(name + " has a frame that is refused");
    AddAny(all, std::move(name), std::move(text), stream);
    all.back().unspecified.resize(stream.frames.size());
    for (const size_t frame : unspecified)
        all.back().unspecified[frame] = true;
}

namespace {

void AddPart(Bytes& bytes, const Bytes& part)
{
    bytes.resize(bytes.size() + sizeof(uint32_t));
    SetWord(bytes, bytes.size() - sizeof(uint32_t), static_cast<uint32_t>(part.size()));
    bytes.insert(bytes.end(), part.begin(), part.end());
}

} // namespace

Bytes JoinStream(const Stream& stream)
{
    Bytes bytes;
    AddPart(bytes, stream.record);
    for (const Bytes& frame : stream.frames)
        AddPart(bytes, frame);
    return bytes;
}

Stream SplitStream(const Bytes& bytes)
{
    std::vector<Bytes> parts;
    for (size_t at = 0; at < bytes.size();) {
        const size_t size = WordAt(bytes, at);
        at += sizeof(uint32_t);
        const auto from = bytes.begin() + static_cast<ptrdiff_t>(at);
        parts.emplace_back(from, from + static_cast<ptrdiff_t>(size));
        at += size;
    }
    return {parts.front(), {parts.begin() + 1, parts.end()}};
}

} // namespace vectors
