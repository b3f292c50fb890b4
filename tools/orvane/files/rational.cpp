#include "files/rational.h"

std::optional<uint64_t> ParseNumber(const std::string& text, uint64_t limit)
{
    if (text.empty())
        return std::nullopt;
    uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        const auto digit = static_cast<uint64_t>(c - '0');
        if (digit > limit || value > (limit - digit) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

std::optional<Rational> ParseRational(const std::string& text, char separator)
{
    const size_t cut = text.find(separator);
    const auto numerator = ParseNumber(text.substr(0, cut), UINT32_MAX);
    const auto denominator =
        cut == std::string::npos ? std::optional<uint64_t>(1) : ParseNumber(text.substr(cut + 1), UINT32_MAX);
    if (!numerator || !denominator || *numerator == 0 || *denominator == 0)
        return std::nullopt;
    return Rational{static_cast<uint32_t>(*numerator), static_cast<uint32_t>(*denominator)};
}

std::string TextOf(const Rational& rate, char separator)
{
    return std::to_string(rate.numerator) + separator + std::to_string(rate.denominator);
}
