#include "codec/load_driver.h"

#include "platform/host_path.h"

#include <dlfcn.h>

#include <stdexcept>

std::filesystem::path BuiltDriverPath()
{
    return std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "liborvane.so";
}

LoadedDriver LoadDriver(std::string name, const std::filesystem::path& path)
{
    // An absolute path: the loader would take another library of the same soname for a bare file name.
    void* const library = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entry = library ? dlsym(library, "DriverProc") : nullptr;
    if (!entry)
        throw std::runtime_error("cannot load the driver " + path.string());
    return {std::move(name), reinterpret_cast<DriverEntry>(entry)};
}
