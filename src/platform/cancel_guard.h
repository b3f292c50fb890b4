#pragma once

namespace platform {

/// Puts off the cancellation of this thread (pthread_cancel) while it lives: our own frames cannot be unwound
/// by it. A request that came meanwhile is carried out where the host's code next allows it, or when this
/// object goes, if the host's thread may be canceled at any point. Does nothing on Windows.
class CancelGuard
{
  public:
    CancelGuard() noexcept;
    CancelGuard(const CancelGuard&) = delete;
    CancelGuard& operator=(const CancelGuard&) = delete;
    ~CancelGuard() noexcept(false);

  private:
    int hostState = 0;
};

} // namespace platform
