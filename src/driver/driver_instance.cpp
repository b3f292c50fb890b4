#include "driver/driver_instance.h"

#include "driver/client_settings.h"
#include "driver/format_table.h"
#include "platform/clock.h"
#include "platform/process_id.h"
#include "platform/thread.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace driver {

namespace {

std::atomic<uint32_t> instanceCounter = 0;

std::mutex openLock;
constinit uint32_t openInstances = 0;

/// FourCCs are compared in upper case: hosts keep handlers as the user or a file wrote them.
constexpr uint32_t UpperCase(uint32_t fourCC)
{
    uint32_t upper = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const uint32_t byte = fourCC >> shift & 0xFF;
        upper |= (byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte) << shift;
    }
    return upper;
}

DriverInstance* Refuse(ICOPEN* open, LRESULT error)
{
    if (open)
        open->dwError = error;
    return nullptr;
}

} // namespace

OpenCount::OpenCount() noexcept
{
    const std::lock_guard guard(openLock);
    ++openInstances;
}

OpenCount::~OpenCount()
{
    const std::lock_guard guard(openLock);
    if (--openInstances == 0)
        platform::WaitForDetachedThreads();
}

DriverInstance::DriverInstance(settings::CodecVariant variant)
    : Process(platform::ProcessId()), Id(++instanceCounter), Variant(std::move(variant)),
      Log(Variant.Description)
{
    std::srand(platform::TickCount());
    ResetSettings(*this);
    ApplySettings(*this, "init from global config");
}

DriverInstance* OpenInstance(ICOPEN* open) noexcept
try {
    if (open && open->fccType != ICTYPE_VIDEO)
        return Refuse(open, ICERR_BADFORMAT);
    const uint32_t fourCC = open ? UpperCase(open->fccHandler) : kGenericFourCC;
    std::vector<settings::CodecVariant> variants = settings::BuildVariantTable();
    const auto row = std::ranges::find(variants, fourCC, &settings::CodecVariant::FourCC);
    if (row == variants.end())
        return Refuse(open, ICERR_BADFORMAT);
    auto instance = std::make_unique<DriverInstance>(std::move(*row));
    if (open)
        open->dwError = ICERR_OK;
    return instance.release();
} catch (...) { // memory is the one thing that can be lacking here
    return Refuse(open, ICERR_MEMORY);
}

void CloseInstance(DriverInstance* instance) noexcept
{
    delete instance;
}

void LogLine(DriverInstance& instance, const char* format, ...) noexcept
{
    if (instance.Decode.EnableCodecLog == 0)
        return;
    char line[1001];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    instance.Log.LogLine(instance.Decode.EnableCodecLog, "%s", line);
}

} // namespace driver
