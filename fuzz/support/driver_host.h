// A host of the driver for fuzz targets: settings that start no icon, and pictures sized as hosts size them.
#pragma once

#include "core/orvane.h"
#include "driver/format_table.h"
#include "driver/message_table.h"
#include "support/fuzz_input.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

/// FourCCs that instances are opened for, the generic decoder last.
inline constexpr uint32_t kVariantFourCCs[] = {MakeFourCC("O8RG"), MakeFourCC("O8RA"),    MakeFourCC("O8Y4"),
                                               MakeFourCC("O8Y2"), MakeFourCC("O8Y0"),    MakeFourCC("O8YA"),
                                               MakeFourCC("O8G0"), driver::kGenericFourCC};

/// FourCC and bits of the host layouts.
struct HostLayout {
    uint32_t fourCC;
    uint16_t bits;
};
inline constexpr HostLayout kFuzzLayouts[] = {
    {BI_RGB, 24},
    {BI_RGB, 32},
    {MakeFourCC("YUY2"), 16},
    {MakeFourCC("UYVY"), 16},
    {MakeFourCC("YV12"), 12},
    {MakeFourCC("I420"), 12},
    {MakeFourCC("YV24"), 24},
    {MakeFourCC("I444"), 24},
    {MakeFourCC("AYUV"), 32},
    {MakeFourCC("Y800"), 8},
    {MakeFourCC("v308"), 24},
    {MakeFourCC("v408"), 32},
    {MakeFourCC("HDYC"), 16},
    {MakeFourCC("DIB "), 32},
    {MakeFourCC("v210"), 20},
};

/// Gives the process a settings store of its own: one thread, no icon, every conversion allowed, RGB
/// suggested first. The file lies in memory alone.
inline void UseFuzzSettings()
{
    constexpr std::string_view kStart =
        "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\Software\\Orvane]\n";
    constexpr std::string_view kGlobal = "\"NumDecodeThreads\"=dword:1\n\"AutoDecodeThreads\"=dword:0\n"
                                         "\"DecompSettings_YUV400\"=dword:ffffffff\n"
                                         "\"DecompSettings_YUV420\"=dword:ffffffff\n"
                                         "\"DecompSettings_YUV422\"=dword:ffffffff\n"
                                         "\"DecompSettings_YUV444\"=dword:ffffffff\n"
                                         "\"SuggestRGB\"=dword:1\n\"NotificationSettings\"=dword:0\n";
    std::string text = std::string(kStart) + std::string(kGlobal);
    for (const char* variant : {"O8RG", "O8RA", "O8Y4", "O8Y2", "O8Y0", "O8YA", "O8G0"})
        text += std::string("[HKEY_CURRENT_USER\\Software\\Orvane\\") + variant +
                "]\n\"NumEncodeThreads\"=dword:1\n\"AutoEncodeThreads\"=dword:0\n";
    const int file = memfd_create("settings", 0);
    const bool written =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    Require(written, "the settings are written");
    setenv("ORVANE_STORE", ("/proc/self/fd/" + std::to_string(file)).c_str(), 1);
}

inline LRESULT SendMessageTo(LRESULT instance, uint32_t message, LPARAM first = 0, LPARAM second = 0)
{
    return driver::HandleMessage(static_cast<DWORD_PTR>(instance), {}, message, first, second);
}

inline LRESULT SendMessageTo(LRESULT instance, uint32_t message, const void* first,
                             const void* second = nullptr)
{
    return SendMessageTo(instance, message, reinterpret_cast<LPARAM>(first),
                         reinterpret_cast<LPARAM>(second));
}

/// An instance, or 0.
inline LRESULT OpenDriver(uint32_t fourCC, uint32_t type = ICTYPE_VIDEO)
{
    ICOPEN open{};
    open.dwSize = sizeof open;
    open.fccType = type;
    open.fccHandler = fourCC;
    return SendMessageTo(0, DRV_OPEN, nullptr, &open);
}

/// Whether a target may open a run of this size: inputs are many, and large pictures say nothing new.
inline bool IsSmall(const BITMAPINFOHEADER& header, uint32_t maxWidth, uint32_t maxHeight)
{
    return driver::WidthOf(header) <= maxWidth && driver::HeightOf(header) <= maxHeight;
}

/// The memory that a host offers for a picture: what the layout takes at least, or what the header says if
/// that is more.
inline size_t PictureRoom(const BITMAPINFOHEADER& header)
{
    static const Orvane codec(true, true);
    uint32_t most = header.biSizeImage;
    for (const bool alpha : {false, true}) {
        PlaneRecords planes;
        uint32_t total = 0;
        const FormatId id = driver::ClassifyHeader(&header, alpha).id;
        codec.ComputePlanes(planes, nullptr, id, driver::WidthOf(header), driver::HeightOf(header), &total);
        most = std::max(most, total);
    }
    return most;
}
