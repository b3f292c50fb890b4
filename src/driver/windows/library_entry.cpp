// The library's entry. It runs under the loader's lock: it keeps the module's handle and starts nothing.
#include "common/trace.h"
#include "platform/module_handle.h"
#include "platform/vfw.h"

namespace __gnu_cxx {
void __freeres(); // of the C++ runtime: gives back the memory that it keeps for exceptions when there is no
                  // other
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* processEnds)
{
    Trace("======== DllMain(): %d (thread id: %d)\n", static_cast<int>(reason),
          static_cast<int>(GetCurrentThreadId()));
    if (reason == DLL_PROCESS_ATTACH)
        platform::StoreModuleHandle(module);
    else if (reason == DLL_PROCESS_DETACH)
        platform::StoreModuleHandle(nullptr);
    // The runtime is our own copy, which every load sets up anew: 70 KB would stay behind each time.
    if (reason == DLL_PROCESS_DETACH && !processEnds)
        __gnu_cxx::__freeres();
    return TRUE;
}
