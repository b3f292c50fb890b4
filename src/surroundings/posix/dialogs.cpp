// This system has no widgets: nothing is shown, and nobody confirms.
#include "surroundings/dialogs.h"

void RunConfigDialog(void*) noexcept {}

void RunAdobeConfigDialog(void*) noexcept {}

bool RunClientDialog(void*, CodecVariant&) noexcept
{
    return false;
}
