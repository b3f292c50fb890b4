#include "codec/load_driver.h"

#include "platform/host_path.h"

#include <stdexcept>

std::filesystem::path BuiltDriverPath()
{
    return std::filesystem::path(platform::HostPath()).parent_path().parent_path() / "orvane.dll";
}

LoadedDriver LoadDriver(std::string name, const std::filesystem::path& path)
{
    const HMODULE library = LoadLibraryW(std::filesystem::absolute(path).c_str());
    void* const entry = library ? reinterpret_cast<void*>(GetProcAddress(library, "DriverProc")) : nullptr;
    if (!entry)
        throw std::runtime_error("cannot load the driver " + path.string());
    return {std::move(name), reinterpret_cast<DriverEntry>(entry)};
}
