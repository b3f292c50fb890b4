// The driver that hosts of this program open is its own code, entry included: faults can be made inside it.
#include "driver/exports.h"

#include "driver/driver_library.h"

const DriverLibrary& LoadedDriver()
{
    static const DriverLibrary library = {DriverProc, Configure, ConfigureAdobe};
    return library;
}
