#include "commands/commands.h"
#include "driver/settings/settings_catalog.h"

#include <cerrno>
#include <iomanip>
#include <memory>
#include <ostream>
#include <span>

namespace {

const settings::CatalogEntry& Find(const std::vector<settings::CatalogEntry>& settings,
                                   const std::string& key)
{
    const settings::CatalogEntry* const setting = settings::FindSetting(settings, key);
    if (setting == nullptr)
        throw UsageError("no such setting", key, "see orvane config list");
    return *setting;
}

std::string Hex(uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", value);
    return text;
}

/// Small numbers are decimal, masks hexadecimal.
std::string ValueText(const settings::CatalogEntry& setting, uint32_t value)
{
    return setting.rule.kind == settings::ValueRule::Kind::Range || value < 10 ? std::to_string(value)
                                                                               : Hex(value);
}

std::string RuleText(const settings::ValueRule& rule)
{
    switch (rule.kind) {
    case settings::ValueRule::Kind::Range:
        return "use " + std::to_string(rule.low) + " to " + std::to_string(rule.high);
    case settings::ValueRule::Kind::Bits:
        return "use bits of " + Hex(rule.high);
    case settings::ValueRule::Kind::BitsOrAll:
        break;
    }
    return "use bits of " + Hex(rule.high) + ", one at least, or 0xFFFFFFFF for all";
}

/// Decimal, or hexadecimal after 0x.
uint32_t ParseValue(const std::string& text)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::string digits = hex ? text.substr(2) : text;
    const char* const allowed = hex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > (hex ? 8 : 10) ||
        digits.find_first_not_of(allowed) != std::string::npos)
        throw UsageError("not a 32-bit number", text, "write it in decimal, or in hexadecimal after 0x");
    const unsigned long long value = std::stoull(digits, nullptr, hex ? 16 : 10);
    if (value > UINT32_MAX)
        throw UsageError("not a 32-bit number", text, "the largest is 4294967295");
    return static_cast<uint32_t>(value);
}

/// reason  that the system left when the store was written, 0 when it left none
[[noreturn]] void FailToStore(const settings::CatalogEntry& setting, int reason)
{
    errno = reason;
    throw ToolError(
        "the setting could not be stored" + (reason == 0 ? "" : " (" + SystemReason() + ")"), setting.key,
        "check that the settings file and its .lock are yours, and that no other program holds them");
}

} // namespace

ExitCode ListSettings(ToolContext& context)
{
    const auto settings = settings::ListSettings();
    const std::vector<uint32_t> values = settings::LoadSettings(settings);
    for (size_t i = 0; i < settings.size(); ++i)
        context.out << std::left << std::setw(32) << settings[i].key << std::setw(12)
                    << ValueText(settings[i], values[i]) << settings[i].summary << '\n';
    return ExitCode::Done;
}

ExitCode GetSetting(const std::string& key, ToolContext& context)
{
    const auto settings = settings::ListSettings();
    const settings::CatalogEntry& setting = Find(settings, key);
    context.out << ValueText(setting, settings::LoadSetting(setting)) << '\n';
    return ExitCode::Done;
}

ExitCode SetSetting(const std::string& key, const std::string& text, ToolContext& context)
{
    const auto settings = settings::ListSettings();
    const settings::CatalogEntry& setting = Find(settings, key);
    const uint32_t value = ParseValue(text);
    errno = 0;
    const auto stored = settings::StoreSetting(setting, value);
    const int reason = errno;
    if (!stored)
        throw UsageError("the setting does not allow " + text, setting.key, RuleText(setting.rule));
    // The store itself fails without a word: look whether the value is there.
    if (settings::LoadSetting(setting) != *stored)
        FailToStore(setting, reason);
    context.out << setting.key << " = " << ValueText(setting, *stored) << '\n';
    return ExitCode::Done;
}

ExitCode ResetSettings(const std::string& key)
{
    const auto settings = settings::ListSettings();
    const std::span<const settings::CatalogEntry> chosen =
        key.empty() ? std::span(settings) : std::span(&Find(settings, key), 1);
    errno = 0;
    if (const settings::CatalogEntry* const kept = settings::ResetSettings(chosen))
        FailToStore(*kept, errno);
    return ExitCode::Done;
}
