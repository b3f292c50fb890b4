// Options reach the driver as settings do: through the store. While an object of this class lives, a private
// copy of the user's store takes the store's place, so that options can be written there without changing
// what the user has stored.
#pragma once

#include "platform/environment.h"
#include "platform/settings_store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What the command line says; absent options leave the stored setting.
struct CodecOptions {
    std::optional<uint32_t> method;  ///< PredictMethod
    std::optional<uint32_t> threads; ///< 0: one for each processor
    std::optional<uint32_t> matrix;  ///< 1 Rec.601, 2 Rec.709
    std::optional<bool> interlaced;
    std::optional<bool> fullRange;
    std::optional<bool> interpolate;
};

/// One at a time, and only while no codec runs: instances read the store when they open, so that this object
/// need not live longer than that. What cannot be kept in the copy is a ToolError.
class PrivateSettings
{
  public:
    PrivateSettings();
    ~PrivateSettings();
    PrivateSettings(const PrivateSettings&) = delete;
    PrivateSettings& operator=(const PrivateSettings&) = delete;

    /// Options for compressing to the format of this FourCC.
    void SetForEncoding(uint32_t fourcc, const CodecOptions& options);
    /// Allows every conversion that the codec has.
    void SetForDecoding(std::optional<uint32_t> threads);

  private:
    void Write(const std::string& path, const std::vector<platform::SettingsValue>& values) const;
    void GiveBack() const noexcept;

    std::optional<platform::Path> usersStore; ///< as the environment had it
    platform::Path folder;
};

/// A setting of a format as an instance would read it now.
uint32_t ReadSetting(uint32_t fourcc, const std::string& name);
