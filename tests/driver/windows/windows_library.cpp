#include "driver/driver_library.h"

#include "platform/host_path.h"

std::filesystem::path DriverLibraryPath()
{
    return std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "orvane.dll";
}

void* FindExport(const char* name)
{
    static const HMODULE library = LoadLibraryW(DriverLibraryPath().c_str());
    return library ? reinterpret_cast<void*>(GetProcAddress(library, name)) : nullptr;
}
