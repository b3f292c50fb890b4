#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>

/// The seed of a random test: ORVANE_TEST_SEED, else a fixed one. Printed, so that a failure can be run
/// again.
inline uint32_t TestSeed()
{
    const char* text = std::getenv("ORVANE_TEST_SEED");
    const uint32_t seed = text ? static_cast<uint32_t>(std::strtoul(text, nullptr, 0)) : 20241103;
    std::cout << "seed " << seed << '\n';
    return seed;
}
