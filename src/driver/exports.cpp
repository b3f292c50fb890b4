#include "driver/exports.h"

#include "driver/message_table.h"
#include "platform/cancel_guard.h"
#include "surroundings/dialogs.h"

LRESULT CALLBACK DriverProc(DWORD_PTR driverId, HDRVR driver, UINT message, LPARAM lParam1, LPARAM lParam2)
{
    const platform::CancelGuard guard;
    return driver::HandleMessage(driverId, driver, message, lParam1, lParam2);
}

void CALLBACK Configure(HWND parent, HANDLE, char*, int)
{
    const platform::CancelGuard guard;
    surroundings::RunConfigDialog(parent);
}

void CALLBACK ConfigureAdobe(HWND parent, HANDLE, char*, int)
{
    const platform::CancelGuard guard;
    surroundings::RunAdobeConfigDialog(parent);
}
