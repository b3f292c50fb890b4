#include "codec/peer_rows.h"

#include "codec/peers/peer.h"

#include <cstring>
#include <stdexcept>

namespace {

PeerPicture PictureOf(const BenchClip& clip)
{
    PeerPicture picture{clip.width, clip.height, static_cast<size_t>(clip.PictureBytes()), {}};
    if (clip.layout->IsRgb()) {
        picture.planes = {{0, clip.width, clip.height, 3}};
        return picture;
    }
    const size_t luma = static_cast<size_t>(clip.width) * static_cast<size_t>(clip.height);
    picture.planes = {{0, clip.width, clip.height, 1},
                      {luma, clip.width / 2, clip.height / 2, 1},
                      {luma + luma / 4, clip.width / 2, clip.height / 2, 1}};
    return picture;
}

/// A peer with its frames of a clip.
class PeerRun
{
  public:
    PeerRun(const PeerMaker& maker, BenchClip& clip_)
        : clip(clip_), picture(PictureOf(clip_)), peer(maker(picture)), back(picture.bytes)
    {
        double total = 0;
        for (HostPicture& source : clip.pictures) {
            peer->Encode(source.Data(), frames.emplace_back());
            total += static_cast<double>(frames.back().size());
            peer->Decode(frames.back(), back.Data());
            if (std::memcmp(source.Data(), back.Data(), picture.bytes) != 0)
                throw std::runtime_error(peer->Name() + ": a picture of " + clip.name +
                                         " does not come back");
        }
        ratio = clip.PictureBytes() * static_cast<double>(frames.size()) / total;
    }

    const Peer& Codec() const { return *peer; }
    double Ratio() const { return ratio; }
    void Encode(int count)
    {
        for (int i = 0; i < count; ++i)
            peer->Encode(clip.pictures[next++ % clip.pictures.size()].Data(), scratch);
    }
    void Decode(int count)
    {
        for (int i = 0; i < count; ++i)
            peer->Decode(frames[next++ % frames.size()], back.Data());
    }

  private:
    BenchClip& clip;
    PeerPicture picture;
    std::unique_ptr<Peer> peer;
    AlignedBuffer back;
    std::vector<std::vector<uint8_t>> frames;
    std::vector<uint8_t> scratch;
    double ratio = 1;
    size_t next = 0;
};

/// A plain copy of the clip's pictures.
std::function<void(int)> CopyOf(BenchClip& clip)
{
    const auto target = std::make_shared<AlignedBuffer>(static_cast<size_t>(clip.PictureBytes()));
    return [target, &clip, next = size_t{0}](int count) mutable {
        for (int i = 0; i < count; ++i)
            std::memcpy(target->Data(), clip.pictures[next++ % clip.pictures.size()].Data(), target->Size());
    };
}

Guests InvitePeers(BenchClip& clip, const Result& model)
{
    Guests guests;
    const auto add = [&](const std::string& name, const char* task, double ratio,
                         std::function<void(int)> run) {
        Result row = model;
        row.contestant = name;
        row.task = task;
        row.ratio = ratio;
        guests.rows.push_back(std::move(row));
        guests.contestants.push_back({std::move(run), clip.PictureBytes()});
    };
    for (const PeerMaker& maker : PeerMakers()) {
        const auto run = std::make_shared<PeerRun>(maker, clip);
        const std::string name = run->Codec().Name();
        add(name, "encode", run->Ratio(), [run](int count) { run->Encode(count); });
        if (run->Codec().CanDecode())
            add(name, "decode", run->Ratio(), [run](int count) { run->Decode(count); });
    }
    add("memcpy", "copy", 1, CopyOf(clip));
    return guests;
}

} // namespace

void PlanPeers(BenchSetup& setup, const ClipPlan& plan)
{
    PlanFrames(setup, "peers", plan, kSingleThreadTasks, InvitePeers);
}
