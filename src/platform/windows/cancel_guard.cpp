#include "platform/cancel_guard.h"

namespace platform {

CancelGuard::CancelGuard() noexcept = default;

CancelGuard::~CancelGuard() noexcept(false) {}

} // namespace platform
