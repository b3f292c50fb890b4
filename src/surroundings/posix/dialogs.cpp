// This system has no widgets: nothing is shown, and nobody confirms.
#include "surroundings/dialogs.h"

namespace surroundings {

void RunConfigDialog(void*) noexcept {}

void RunAdobeConfigDialog(void*) noexcept {}

bool RunClientDialog(void*, settings::CodecVariant&) noexcept
{
    return false;
}

} // namespace surroundings
