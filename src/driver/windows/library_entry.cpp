// The library's entry. It runs under the loader's lock: it keeps the module's handle and starts nothing.
#include "common/trace.h"
#include "platform/module_handle.h"
#include "platform/vfw.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    Trace("======== DllMain(): %d (thread id: %d)\n", static_cast<int>(reason),
          static_cast<int>(GetCurrentThreadId()));
    if (reason == DLL_PROCESS_ATTACH)
        platform::StoreModuleHandle(module);
    else if (reason == DLL_PROCESS_DETACH)
        platform::StoreModuleHandle(nullptr);
    return TRUE;
}
