// The built driver library as a host sees it: three functions.
#pragma once

#include "platform/vfw.h"

#include <filesystem>

using DriverProcCall = LRESULT(CALLBACK*)(DWORD_PTR, HDRVR, UINT, LPARAM, LPARAM);
using ConfigureCall = void(CALLBACK*)(HWND, HANDLE, char*, int);

struct DriverLibrary {
    DriverProcCall DriverProc;
    ConfigureCall Configure;
    ConfigureCall ConfigureAdobe;
};

/// orvane.dll or liborvane.so of this build.
std::filesystem::path DriverLibraryPath();

/// Loaded at the first call, for the life of the program. Throws when the library or an export is missing.
const DriverLibrary& LoadedDriver();

/// A function of the loaded library by name; null when it does not export it.
void* FindExport(const char* name);
