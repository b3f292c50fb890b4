// The driver as an installer leaves it on a machine: a copy of the library, and the list of the system's
// drivers that names it for each of its four-character codes.
#pragma once

#include "platform/vfw.h"

#include <string>
#include <utility>
#include <vector>

/// All that the driver serves: the compressed formats, and the generic decoder.
inline constexpr const char* kServedFourCCs[] = {"O8RG", "O8RA", "O8YA", "O8Y4",
                                                 "O8Y2", "O8Y0", "O8G0", "ORVN"};

/// One entry of the list of drivers while this object lives; what stood there before comes back afterwards.
class DriverEntry
{
  public:
    DriverEntry(const std::string& fourCC, const std::string& library);
    ~DriverEntry();
    DriverEntry(DriverEntry&& other) noexcept : name(std::exchange(other.name, {})), before(other.before) {}
    DriverEntry& operator=(DriverEntry&&) = delete;

  private:
    std::string name;
    std::string before;
};

/// A copy of the library of this build, in a folder of its own, registered for all its codes.
class InstalledDriver
{
  public:
    /// folder  a name without blanks in the root of the system's drive
    explicit InstalledDriver(const std::string& folder);
    ~InstalledDriver();
    InstalledDriver(const InstalledDriver&) = delete;
    InstalledDriver& operator=(const InstalledDriver&) = delete;

    const std::string& Library() const { return library; }

    /// Whether this copy is mapped in this process.
    bool IsLoaded() const { return GetModuleHandleA(library.c_str()) != nullptr; }

  private:
    std::string library;
    std::vector<DriverEntry> entries;
};

/// The one that serves all tests of this program, there from the first test on to the last.
const InstalledDriver& Driver();
