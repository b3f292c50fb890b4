#include "platform/module_handle.h"

#include <atomic>

namespace platform {
namespace {
constinit std::atomic<void*> storedModule{nullptr};
}

void StoreModuleHandle(void* module) noexcept
{
    storedModule = module;
}

void* StoredModuleHandle() noexcept
{
    return storedModule;
}

} // namespace platform
