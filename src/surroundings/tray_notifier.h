// The icon and the balloon that say, while a run is going, which application uses the codec with which
// formats.
#pragma once

#include <cstdint>
#include <memory>

namespace surroundings {

enum class TrayMode : uint32_t { Idle = 0, Compressing = 1, Decompressing = 2 };

/// What icon and balloon tell of a run.
struct TrayStatus {
    TrayMode Mode = TrayMode::Idle;
    bool BottomUp = false; ///< of the uncompressed side
    uint32_t Width = 0;
    uint32_t Height = 0;          ///< absolute
    uint32_t FirstFormat = 0;     ///< compress: input id; decompress: compressed id
    uint32_t SecondFormat = 0;    ///< compress: compressed id; decompress: output id
    char FormatText[64] = {};     ///< uncompressed format
    char CompressedText[64] = {}; ///< compressed format
};

class TrayNotifier;

/// Ends a notifier without waiting: its thread removes the icon, frees the notifier and leaves.
struct TrayStop {
    void operator()(TrayNotifier* notifier) const noexcept;
};

/// A run's hold on its notifier. Empty: no icon.
using TrayHandle = std::unique_ptr<TrayNotifier, TrayStop>;

/// Shows `status` at the start of a run as far as the user wants it.
/// tray      gets a notifier when the icon is wanted and there is none; it stays empty when its thread cannot
///           start
/// status    copied; its mode chooses the bits
/// settings  DecodeSettings::NotificationSettings: the icon of the mode, and with it the balloon
/// Waits for the notifier's thread to be ready, so it must not be called while the loader's lock is held.
void PostNotify(TrayHandle& tray, const TrayStatus& status, uint32_t settings) noexcept;

} // namespace surroundings
