// Load and save of settings. Global values stand in the key "Software\Orvane", those of a variant in a key of
// its own beneath it, named by its FourCC. Nothing here fails visibly: what cannot be read keeps its default,
// what cannot be written is lost. Any thread may call; each value is a single access and there is no lock
// around a record.
#pragma once

#include "common/settings_records.h"
#include "driver/settings/codec_variant.h"
#include "platform/settings_store.h"

#include <optional>

namespace settings {

/// The key of a variant's settings. Not for the generic variant.
std::string VariantKeyPath(const CodecVariant& variant);

/// Reads the global values over `decode`, which holds the defaults. A missing thread count becomes the
/// processor count; any other missing value leaves its field.
void LoadGlobalSettings(DecodeSettings& decode);
void LoadGlobalSettings(DecodeSettings& decode, const platform::SettingsStore& store);

/// Writes the global values and removes those of the earlier layout, in which compression settings were
/// global.
void SaveGlobalSettings(const DecodeSettings& decode);

/// Reads a variant's compression settings over `variant.Encode`, which holds the defaults: first the global
/// values of the earlier layout, then the variant's own. A missing thread count becomes the processor count,
/// the coder type is always 2, and method and matrix are clamped. Not for the generic variant.
void LoadVariantSettings(CodecVariant& variant);
void LoadVariantSettings(CodecVariant& variant, const platform::SettingsStore& store);

/// Writes a variant's compression settings. Not for the generic variant.
void SaveVariantSettings(const CodecVariant& variant);

/// The rule for settings that come from a host or a dialog: unknown methods, and Left, become Dynamic; a
/// matrix other than Rec.601 and Rec.709 becomes Rec.709; an unknown coder type becomes 2. A method of 0
/// stays.
void ClampEncodeSettings(EncodeSettings& encode);

/// Whether the host plug-ins write logs. They read this value themselves; the codec only keeps it.
/// Empty when nothing is stored; asking does not make the key.
std::optional<uint32_t> LoadAdobeLog();
std::optional<uint32_t> LoadAdobeLog(const platform::SettingsStore& store);
void SaveAdobeLog(bool enable);

} // namespace settings
