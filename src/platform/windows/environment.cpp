#include "platform/environment.h"

#include "platform/windows/windows_headers.h"

#include <string>

namespace platform {

std::optional<Path> PathFromEnvironment(const char* name)
{
    // The C runtime's own copy, which getenv reads, dates from when this library was loaded.
    const std::wstring wideName(name, name + std::char_traits<char>::length(name));
    std::wstring value(256, L'\0');
    for (;;) {
        // The length where it fits, else the room needed: more than the text has then. 0 for none or an empty
        // one.
        const DWORD length =
            GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0)
            return std::nullopt;
        const bool fits = length < value.size();
        value.resize(length);
        if (fits)
            return Path(value);
    }
}

} // namespace platform
