#include "driver/info_messages.h"

#include "common/trace.h"
#include "driver/client_settings.h"
#include "platform/ansi_text.h"
#include "platform/message_box.h"
#include "surroundings/dialogs.h"

#include <cstring>

namespace driver {

LRESULT GetInfo(DriverInstance& instance, ICINFO* info, uint32_t size)
{
    Trace("ICM_GETINFO:\n");
    if (!info)
        return sizeof(ICINFO);
    if (size < sizeof(ICINFO))
        return 0;
    info->dwSize = sizeof(ICINFO);
    info->fccType = ICTYPE_VIDEO;
    info->fccHandler = instance.Variant.FourCC;
    info->dwFlags = 0;
    info->dwVersion = 0x02040100; // 2.4.1.0
    info->dwVersionICM = ICVERSION;
    // The variant's texts go over the product's; bytes behind a terminator stay as they were.
    platform::WideFromAnsi(info->szName, "Orvane");
    platform::WideFromAnsi(info->szDescription, "Orvane lossless 2.4.1 (Standard) (64 bit)");
    platform::WideFromAnsi(info->szName, instance.Variant.Name.c_str());
    platform::WideFromAnsi(info->szDescription, instance.Variant.Description.c_str());
    return sizeof(ICINFO);
}

LRESULT ConfigureInstance(DriverInstance& instance, LPARAM parent)
{
    Trace("ICM_CONFIGURE\n");
    if (settings::IsGeneric(instance.Variant))
        return ICERR_UNSUPPORTED;
    if (parent == kQueryOnly)
        return ICERR_OK;

    const bool ignored = instance.Decode.IgnoreClientConfig != 0;
    if (ignored)
        platform::ShowMessage(
            reinterpret_cast<HWND>(parent), "Orvane app settings ignored",
            "Orvane: In-app settings will be ignored according to global codec configuration!",
            platform::MessageIcon::Warning);
    settings::CodecVariant edited = instance.Variant;
    if (surroundings::RunClientDialog(reinterpret_cast<HWND>(parent), edited) && !ignored) {
        instance.Variant = std::move(edited);
        ApplySettings(instance, "from client dialog");
    }
    return ICERR_OK;
}

LRESULT ShowAbout(DriverInstance&, LPARAM parent)
{
    Trace("ICM_ABOUT\n");
    if (parent != kQueryOnly)
        platform::ShowMessage(reinterpret_cast<HWND>(parent), "About Orvane",
                              "Orvane lossless video codec 2.4.1 (Standard) (64 bit)",
                              platform::MessageIcon::None);
    return ICERR_OK;
}

LRESULT GetDefaultQuality(LPARAM target)
{
    Trace("ICM_GETDEFAULTQUALITY:\n");
    if (!target)
        return ICERR_UNSUPPORTED;
    constexpr uint64_t kDefaultQuality = 7500;
    std::memcpy(reinterpret_cast<void*>(target), &kDefaultQuality, sizeof kDefaultQuality);
    return ICERR_OK;
}

} // namespace driver
