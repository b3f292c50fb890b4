#include "platform/process_id.h"

#include <unistd.h>

namespace platform {

uint32_t ProcessId() noexcept
{
    return static_cast<uint32_t>(getpid());
}

} // namespace platform
