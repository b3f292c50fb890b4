// The three functions that the library exports under these names, and the only ones.
#pragma once

#include "platform/vfw.h"

extern "C" {

/// The entry of an installable Video for Windows driver. driverId is what DRV_OPEN gave, or 0.
LRESULT CALLBACK DriverProc(DWORD_PTR driverId, HDRVR driver, UINT message, LPARAM lParam1, LPARAM lParam2);

/// Shows the settings of the codec over the window `parent`, which may be null. Callable by rundll32, whose
/// further arguments are not looked at.
void CALLBACK Configure(HWND parent, HANDLE module, char* commandLine, int show);

/// The same for the settings of the host plug-ins.
void CALLBACK ConfigureAdobe(HWND parent, HANDLE module, char* commandLine, int show);
}
