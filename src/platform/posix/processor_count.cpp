#include "platform/processor_count.h"

#include <algorithm>
#include <thread>

namespace platform {

int ProcessorCount() noexcept
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

} // namespace platform
