#pragma once

#include "platform/clock.h"

#include <algorithm>
#include <cstdint>

namespace driver {

/// Times the frames of a run: the codec's work alone, without the host's.
struct FrameTimer {
    int64_t Frequency = platform::CounterFrequency(); ///< counter ticks in a second
    int64_t Start = 0;
    int64_t Stop = 0;
    int64_t MinMicros = 0; ///< 0: no frame yet
    int64_t MaxMicros = 0;
    uint64_t TotalMicros = 0;
    uint64_t Count = 0; ///< frames that succeeded

    void Begin() { Start = platform::ReadCounter(); }

    /// Counts the frame that Begin started. A frame that fails never comes here.
    void End()
    {
        Stop = platform::ReadCounter();
        const int64_t elapsed = (Stop - Start) * 1'000'000 / Frequency;
        MinMicros = MinMicros == 0 ? elapsed : std::min(MinMicros, elapsed);
        MaxMicros = std::max(MaxMicros, elapsed);
        TotalMicros += static_cast<uint64_t>(elapsed);
        ++Count;
    }
};

} // namespace driver
