#include "platform/processor_count.h"

#include "platform/windows/windows_headers.h"

namespace platform {

int ProcessorCount() noexcept
{
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

} // namespace platform
