#pragma once

#include "tests/fuzz/Corpus.h"
#include "tests/fuzz/Random.h"

#include <vector>

namespace JY::Fuzz {

/// Makes damaged files out of good ones. What it makes follows from the random numbers alone.
class Mutator {
public:
    explicit Mutator(std::vector<CorpusFile> corpus) : corpus_(std::move(corpus)) {}

    /// A file of the corpus with some damage: up to a few times its size, and never more than `largestFile`.
    Bytes makeFile(Random& random) const;

    static constexpr std::size_t largestFile = 64 * 1024; ///< bytes

private:
    void mutate(Bytes& file, Random& random) const;
    void splice(Bytes& file, Random& random) const;

    std::vector<CorpusFile> corpus_;
};

} // namespace JY::Fuzz
