#include "platform/cancel_guard.h"

#include <pthread.h>

namespace platform {

CancelGuard::CancelGuard() noexcept
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &hostState);
}

CancelGuard::~CancelGuard() noexcept(false)
{
    pthread_setcancelstate(hostState, nullptr);
}

} // namespace platform
