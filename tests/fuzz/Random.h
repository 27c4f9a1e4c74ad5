#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace JY::Fuzz {

/// Numbers that follow from a seed alone, the same on every system (the standard library's distributions are not).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    /// The numbers of one case, which have nothing to do with those of the case before.
    static Random ofCase(std::uint64_t seed, std::uint64_t number) {
        return Random(Random(seed).next() ^ Random(number * 0x632BE59BD9B4E019).next());
    }

    std::uint64_t next() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }
    /// From 0 to `bound` - 1; `bound` is not 0.
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(next() % bound); }
    /// True once in `count` times on average.
    bool oneIn(std::size_t count) { return below(count) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(next()); }
    template <class T, std::size_t size>
    const T& pick(const std::array<T, size>& choices) {
        return choices[below(size)];
    }
    template <class T>
    const T& pick(std::span<const T> choices) {
        return choices[below(choices.size())];
    }

private:
    std::uint64_t state_;
};

} // namespace JY::Fuzz
