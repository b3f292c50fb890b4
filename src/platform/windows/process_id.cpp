#include "platform/process_id.h"

#include "platform/windows/windows_headers.h"

namespace platform {

uint32_t ProcessId() noexcept
{
    return GetCurrentProcessId();
}

} // namespace platform
