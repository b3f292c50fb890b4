// Runs of a driver over a clip, frame after frame, through its one entry as a host sends messages.
#pragma once

#include "codec/bench_clip.h"
#include "codec/load_driver.h"
#include "common/settings_records.h"
#include "host/codec_host.h"
#include "host/private_settings.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

/// Compressed frames of a clip, one for each picture, with the stream's header and record.
struct CodedClip {
    std::vector<uint8_t> bitmapInfo;
    std::vector<AlignedBuffer> frames; ///< room of the largest frame each
    std::vector<size_t> sizes;

    double FrameBytes() const; ///< on average
};

/// Work that takes the pictures of a clip in turn.
class ClipRun
{
  public:
    virtual ~ClipRun() = default;
    virtual void Run(int frames) = 0;
    /// Raw bytes that one frame stands for.
    virtual double BytesPerFrame() const = 0;
};

class EncodeRun final : public ClipRun
{
  public:
    /// clip   outlives the run
    /// frame  where all frames go, FrameRoom bytes or more; outlives the run
    EncodeRun(const LoadedDriver& driver, PrivateSettings& settings, BenchClip& clip, PredictMethod method,
              int threads, AlignedBuffer& frame);
    ~EncodeRun() override;

    void Run(int frames) override;
    double BytesPerFrame() const override { return clip.PictureBytes(); }

    /// The frame of one picture, left in the frame buffer.
    size_t Encode(size_t picture);
    CodedClip EncodeAll();

  private:
    BITMAPINFOHEADER* Output() { return reinterpret_cast<BITMAPINFOHEADER*>(info.data()); }

    BenchClip& clip;
    AlignedBuffer& frame;
    std::unique_ptr<CodecInstance> instance;
    std::vector<uint8_t> info;
    size_t next = 0;
};

/// Bytes that a frame of such a picture takes at most.
size_t FrameRoom(const LoadedDriver& driver, BenchClip& clip);

class DecodeRun final : public ClipRun
{
  public:
    /// clip, coded, back  outlive the run; `back` is where all pictures go
    DecodeRun(const LoadedDriver& driver, PrivateSettings& settings, BenchClip& clip, const CodedClip& coded,
              int threads, HostPicture& back);
    ~DecodeRun() override;

    void Run(int frames) override;
    double BytesPerFrame() const override { return clip.PictureBytes(); }

    /// Decodes every frame once. False when a picture differs from its source in one bit.
    bool IsLossless();

  private:
    void Decode(size_t picture);
    BITMAPINFOHEADER* Input() { return reinterpret_cast<BITMAPINFOHEADER*>(info.data()); }

    BenchClip& clip;
    const CodedClip& coded;
    HostPicture& back;
    std::unique_ptr<CodecInstance> instance;
    std::vector<uint8_t> info;
    size_t next = 0;
};

/// Two runs at the same time, each on a thread of its own.
class PairedRuns final : public ClipRun
{
  public:
    PairedRuns(std::unique_ptr<ClipRun> first, std::unique_ptr<ClipRun> second);
    ~PairedRuns() override;

    /// `frames` frames of each.
    void Run(int frames) override;
    double BytesPerFrame() const override { return first->BytesPerFrame() + second->BytesPerFrame(); }

  private:
    std::unique_ptr<ClipRun> first;
    std::unique_ptr<ClipRun> second;
    std::atomic<int> ordered = 0; ///< frames that the partner is to do; negative: to leave
    std::thread partner;
};
