#include "driver/driver_library.h"

#include <stdexcept>
#include <string>

namespace {

template <class Function>
Function Require(const char* name)
{
    void* const address = FindExport(name);
    if (!address)
        throw std::runtime_error("no export " + std::string(name) + " in " + DriverLibraryPath().string());
    return reinterpret_cast<Function>(address);
}

} // namespace

const DriverLibrary& LoadedDriver()
{
    static const DriverLibrary library = {Require<DriverProcCall>("DriverProc"),
                                          Require<ConfigureCall>("Configure"),
                                          Require<ConfigureCall>("ConfigureAdobe")};
    return library;
}
