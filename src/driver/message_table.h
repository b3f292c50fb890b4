// The messages of the driver in one table: number, what a null instance means, handler.
#pragma once

#include "driver/driver_instance.h"

#include <cstdint>
#include <span>

/// What a message without an instance gets. The rows differ on purpose: hosts read 0 from a query as yes and
/// from a size as none, and have come to live with it.
enum class NullInstance : uint8_t { PassOn, Gives0, Gives1, GivesBadParam };

struct MessageRow {
    uint32_t message;
    NullInstance onNull;
    LRESULT (*handle)(DriverInstance* instance, LPARAM lParam1, LPARAM lParam2);
};

/// All messages that the codec has, rising by number.
std::span<const MessageRow> MessageTable();

/// Answers a message as the exported DriverProc does. Nothing is thrown out of it.
LRESULT HandleMessage(DWORD_PTR driverId, HDRVR driver, uint32_t message, LPARAM lParam1,
                      LPARAM lParam2) noexcept;
