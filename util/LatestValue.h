#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

namespace JY {

/// The latest of the small values that threads tell each other, without a lock: who finds it being changed does
/// without. For what can be had in another way, at a higher price. Any thread. Constant-initialised, with zeros.
///
/// A thread that is ended in the middle of `set` leaves nothing to be got any more; nobody waits for it.
template <class T>
requires std::is_trivially_copyable_v<T>
class LatestValue {
public:
    /// Nothing while it is being changed.
    std::optional<T> get() const {
        const unsigned version = version_.load(std::memory_order_acquire);
        const auto words = [this]<std::size_t... index>(std::index_sequence<index...>) {
            return std::array{words_[index].load(std::memory_order_relaxed)...};
        }
        (std::make_index_sequence<size>());
        std::atomic_thread_fence(std::memory_order_acquire); // the version comes after the words
        if (isBeingChanged(version) || version_.load(std::memory_order_relaxed) != version) {
            return std::nullopt;
        }
        return std::bit_cast<T>(words);
    }

    /// Does nothing when another thread is doing it.
    void set(const T& value) {
        unsigned version = version_.load(std::memory_order_relaxed);
        if (isBeingChanged(version) || !version_.compare_exchange_strong(version, version + 1)) {
            return;
        }
        const auto words = std::bit_cast<std::array<std::uint64_t, size>>(value);
        std::atomic_thread_fence(std::memory_order_release); // the words come after the version
        for (std::size_t index = 0; index < size; ++index) {
            words_[index].store(words[index], std::memory_order_relaxed);
        }
        version_.store(version + 2, std::memory_order_release);
    }

private:
    static constexpr std::size_t size = sizeof(T) / sizeof(std::uint64_t);
    static_assert(size * sizeof(std::uint64_t) == sizeof(T), "only whole words are copied");
    static constexpr std::size_t cacheLine = 64;

    static bool isBeingChanged(unsigned version) { return version % 2 != 0; }

    alignas(cacheLine) std::atomic<unsigned> version_{0};
    std::array<std::atomic<std::uint64_t>, size> words_{};
};

} // namespace JY
