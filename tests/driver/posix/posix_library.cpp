#include "driver/driver_library.h"

#include "platform/host_path.h"

#include <dlfcn.h>

std::filesystem::path DriverLibraryPath()
{
    return std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "liborvane.so";
}

void* FindExport(const char* name)
{
    static void* const library = dlopen(DriverLibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    return library ? dlsym(library, name) : nullptr;
}
