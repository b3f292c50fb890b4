#include "progress.h"

#include "counted.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr size_t kBarWidth = 30;
constexpr size_t kLineWidth = 78;

std::string Bar(double part)
{
    const auto filled = static_cast<size_t>(part * static_cast<double>(kBarWidth));
    return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "]";
}

} // namespace

Progress::Progress(std::ostream* stream_, std::optional<uint64_t> frameCount_)
    : stream(stream_), frameCount(frameCount_), start(Clock::now()), shown(start)
{}

Progress::~Progress()
{
    if (visible)
        *stream << '\r' << std::string(kLineWidth, ' ') << '\r' << std::flush;
}

double Progress::Seconds() const
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void Progress::Add(uint64_t rawBytes, uint64_t compressedBytes)
{
    ++frames;
    raw += rawBytes;
    compressed += compressedBytes;
    if (stream == nullptr || Clock::now() - shown < kInterval)
        return;
    shown = Clock::now();
    Show();
}

void Progress::Show()
{
    const double seconds = Seconds();
    const double speed = static_cast<double>(frames) / seconds;
    char text[128];
    std::snprintf(text, sizeof text, " %.1f fps %.0f MB/s ratio %.2f", speed,
                  static_cast<double>(raw) / seconds / 1e6, Ratio(raw, compressed));
    std::string line = Counted(frames, "frame") + text;
    if (frameCount && *frameCount > 0) {
        const double part = static_cast<double>(frames) / static_cast<double>(*frameCount);
        const auto left = static_cast<int>(std::lround(std::max(seconds / part - seconds, 0.0)));
        char time[32];
        std::snprintf(time, sizeof time, " %d:%02d left", left / 60, left % 60);
        line = Bar(part < 1 ? part : 1) + text + time;
    }
    line.resize(kLineWidth, ' ');
    *stream << '\r' << line << std::flush;
    visible = true;
}

double Ratio(uint64_t rawBytes, uint64_t compressedBytes)
{
    return compressedBytes == 0 ? 0 : static_cast<double>(rawBytes) / static_cast<double>(compressedBytes);
}
