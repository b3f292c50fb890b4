#pragma once

#include "surroundings/tray_text.h"

namespace surroundings {

/// The notification area as a notifier sees it: one icon of one window. Failures are ignored.
class TrayShell
{
  public:
    virtual void Add(void* window, TrayMode mode) = 0;
    /// Icon and tip, and the balloon where asked for.
    virtual void Update(void* window, TrayMode mode, const TrayTexts& texts, bool balloon) = 0;
    virtual void Remove(void* window) = 0;

  protected:
    ~TrayShell() = default; // trivial: a notifier's thread may still call while the process ends
};

/// The shell of the system; without one, calls do nothing. Lives as long as the library.
TrayShell& SystemTrayShell();

} // namespace surroundings
