#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// A frame rate, frames per second; both parts above 0.
struct Rational {
    uint32_t numerator = 25;
    uint32_t denominator = 1;

    double Value() const { return static_cast<double>(numerator) / denominator; }
    bool operator==(const Rational&) const = default;
};

/// "30000/1001" with `separator` '/'; a number without separator is N/1. Nothing when it is not such a text
/// or a part is 0.
std::optional<Rational> ParseRational(const std::string& text, char separator);
std::string TextOf(const Rational& rate, char separator);

/// A whole number from decimal digits only, at most `limit`.
std::optional<uint64_t> ParseNumber(const std::string& text, uint64_t limit);
