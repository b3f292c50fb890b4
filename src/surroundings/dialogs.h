// The dialogs as exports and messages open them: modal, on the caller's thread, below the window `parent`,
// which is a window handle of the system or null. A system without widgets shows nothing.
#pragma once

#include "driver/settings/codec_variant.h"

namespace surroundings {

/// The global settings: loads the stored settings, shows them, and stores all of them when the user confirms.
void RunConfigDialog(void* parent) noexcept;

/// The settings of the host plug-ins.
void RunAdobeConfigDialog(void* parent) noexcept;

/// The compression settings of the variant that a host has opened. Nothing is stored unless the user asks for
/// it in the dialog. Gives whether the user confirmed.
/// variant  not the generic one; takes the dialog's settings when the user confirms, else it stays
bool RunClientDialog(void* parent, settings::CodecVariant& variant) noexcept;

} // namespace surroundings
