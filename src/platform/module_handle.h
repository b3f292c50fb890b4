#pragma once

namespace platform {

/// The handle under which the system loaded this library, kept by the library's entry for dialogs and icons;
/// null while it is not loaded and on systems without such handles.
void StoreModuleHandle(void* module) noexcept;
void* StoredModuleHandle() noexcept;

} // namespace platform
