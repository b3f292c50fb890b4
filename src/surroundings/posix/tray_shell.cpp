#include "surroundings/tray_shell.h"

namespace surroundings {

namespace {

/// This system has no notification area.
class NoShell final : public TrayShell
{
  public:
    void Add(void*, TrayMode) override {}
    void Update(void*, TrayMode, const TrayTexts&, bool) override {}
    void Remove(void*) override {}
};

constinit NoShell noShell;

} // namespace

TrayShell& SystemTrayShell()
{
    return noShell;
}

} // namespace surroundings
