#pragma once

#include "common/compiler.h"
#include "common/settings_records.h"
#include "core/compress_info.h"
#include "core/orvane.h"
#include "driver/frame_timer.h"
#include "driver/settings/codec_variant.h"
#include "platform/vfw.h"
#include "surroundings/codec_log.h"
#include "surroundings/tray_notifier.h"

#include <array>
#include <cstdint>

namespace driver {

/// Which way a run goes; the index of what the instance holds for each.
enum class Direction : size_t { Compress, Decompress };

/// Counts the instances of this process. The last one to go waits for the threads that the others left
/// behind; an instance that is opened meanwhile waits for that.
class OpenCount
{
  public:
    OpenCount() noexcept;
    OpenCount(const OpenCount&) = delete;
    OpenCount& operator=(const OpenCount&) = delete;
    ~OpenCount();
};

/// What a host holds as its driver id, from DRV_OPEN to DRV_CLOSE. The host sends the messages of one
/// instance one at a time, from whatever thread; different instances share nothing but constants and the
/// stored settings.
struct DriverInstance {
    /// Takes the settings from the store and, with the log enabled, opens the log.
    explicit DriverInstance(settings::CodecVariant variant);
    DriverInstance(const DriverInstance&) = delete;
    DriverInstance& operator=(const DriverInstance&) = delete;

    FrameTimer& TimerOf(Direction direction) { return Timers[static_cast<size_t>(direction)]; }

    const OpenCount Counted; ///< goes last
    const uint32_t
        Process; ///< it was opened in: threads and files of an instance do not come along into a forked child
    const uint32_t Id; ///< counts the opens of the process, from 1
    Orvane Codec{true, true};
    DecodeSettings Decode;
    settings::CodecVariant Variant; ///< the variant it was opened for, with the settings in force
    CompressInfo Info;              ///< of the current run, in either direction

    bool Running = false;         ///< from a successful BEGIN until the statistics of its end
    uint32_t FrameCount = 0;      ///< frames handed to the core since the open
    uint32_t InputImageSize = 0;  ///< biSizeImage of the input at compress begin
    uint32_t OutputImageSize = 0; ///< biSizeImage of the output at decompress begin
    uint64_t RawBytes = 0;        ///< of the run, uncompressed
    uint64_t CompressedBytes = 0; ///< of the run
    std::array<FrameTimer, 2> Timers;

    // Closing an instance takes the icon away first, then ends the log.
    surroundings::CodecLog Log;
    surroundings::TrayStatus Status; ///< of the run; what icon and statistics tell
    surroundings::TrayHandle Tray;   ///< empty: no icon
};

/// Opens an instance for the FourCC that `open` asks for, or the generic decoder when it is null. Null when
/// there is no such variant, with the reason in open->dwError.
DriverInstance* OpenInstance(ICOPEN* open) noexcept;

/// Ends tray and log and frees the instance. A run that is still open gets no statistics.
void CloseInstance(DriverInstance* instance) noexcept;

/// Writes one line to the instance's log if the log is enabled at this moment. The format carries the line
/// end; a line has 1,000 characters at most.
ORVANE_PRINTF(2, 3) void LogLine(DriverInstance& instance, const char* format, ...) noexcept;

} // namespace driver
