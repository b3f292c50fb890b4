#include "hosts/installed_driver.h"

#include "platform/host_path.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace {

constexpr char kDriverList[] = "Software\\Microsoft\\Windows NT\\CurrentVersion\\drivers32";

std::string ReadEntry(const std::string& name)
{
    char text[MAX_PATH] = {};
    DWORD size = sizeof text;
    RegGetValueA(HKEY_LOCAL_MACHINE, kDriverList, name.c_str(), RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

void WriteEntry(const std::string& name, const std::string& value)
{
    const LSTATUS status = value.empty()
                               ? RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kDriverList, name.c_str())
                               : RegSetKeyValueA(HKEY_LOCAL_MACHINE, kDriverList, name.c_str(), REG_SZ,
                                                 value.c_str(), static_cast<DWORD>(value.size() + 1));
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("cannot change " + name + " in the list of drivers");
}

std::unique_ptr<InstalledDriver> installed;

class Installation final : public testing::Environment
{
    void SetUp() override { installed = std::make_unique<InstalledDriver>("orvane_hosts"); }
    void TearDown() override { installed.reset(); }
};

[[maybe_unused]] testing::Environment* const installation =
    testing::AddGlobalTestEnvironment(new Installation);

} // namespace

DriverEntry::DriverEntry(const std::string& fourCC, const std::string& library)
    : name("vidc." + fourCC), before(ReadEntry(name))
{
    WriteEntry(name, library);
}

DriverEntry::~DriverEntry()
{
    if (!name.empty())
        WriteEntry(name, before);
}

InstalledDriver::InstalledDriver(const std::string& folder)
{
    namespace fs = std::filesystem;
    const fs::path built = fs::path(platform::HostPath()).parent_path().parent_path() / "orvane.dll";
    const fs::path place = fs::temp_directory_path().root_path() / folder / "orvane.dll";
    fs::create_directory(place.parent_path());
    fs::copy_file(built, place, fs::copy_options::overwrite_existing);
    library = place.string();
    // Longer paths and what stands behind a blank are cut off by the system.
    if (library.size() >= 128 || library.find(' ') != std::string::npos)
        throw std::runtime_error("no path for a driver: " + library);
    for (const char* fourCC : kServedFourCCs)
        entries.emplace_back(fourCC, library);
}

InstalledDriver::~InstalledDriver()
{
    entries.clear();
    // A library that a host has never let go stays where it is, and the next installation replaces it.
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(library).parent_path(), ignored);
}

const InstalledDriver& Driver()
{
    return *installed;
}
