// Optimal code lengths under a length limit, by package-merge.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace entropy {

/// Working memory of ComputeCodeLengths. Whoever keeps it from call to call allocates nothing after the
/// first.
struct CodeLengthWork {
    struct Coin {
        uint64_t weight;
        uint32_t symbol;
    };
    std::vector<Coin> coins;           ///< one for each symbol, by rising weight
    std::vector<uint64_t> coinWeights; ///< of the sorted coins, with a sentinel at both ends
    std::vector<uint64_t> list;        ///< weights of the current level's nodes
    std::vector<uint64_t> packages;    ///< weights of the pairs made of them, with sentinels too
    std::vector<uint16_t> coinsBefore; ///< for each level: how many of its first n nodes are coins
};

/// Gives every symbol, those with a count of 0 too, a length from 1 to `limit`, such that the sum of
/// 2^-length is exactly 1 and no other choice codes the counted symbols in fewer bits.
/// count        symbols, 2 to 32,768; 2^limit is at least `count`
/// frequencies  `count` counters; their sum times `limit` stays below 2^64
/// limit        longest length allowed
/// lengths      receives `count` lengths
void ComputeCodeLengths(size_t count, const uint64_t* frequencies, int limit, uint32_t* lengths,
                        CodeLengthWork& work);

} // namespace entropy
