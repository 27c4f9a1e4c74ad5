#pragma once

#include "util/Stream.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>

namespace JY::Pictaro::Fs {

/// The number that the bytes, most significant first, make up. There must not be more of them than the type holds.
template <std::unsigned_integral Number>
constexpr Number fromBigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = (value << 8) | byte;
    }
    return static_cast<Number>(value);
}

/// Reads a number of `size` bytes, most significant first; nothing when the stream has fewer. `size` must not be more
/// than the type holds.
template <std::unsigned_integral Number>
std::optional<Number> readBigEndian(Stream& stream, std::uint32_t size = sizeof(Number)) {
    std::array<std::uint8_t, sizeof(Number)> bytes;
    if (stream.read(bytes.data(), size) != size) {
        return std::nullopt;
    }
    return fromBigEndian<Number>(std::span(bytes).first(size));
}

} // namespace JY::Pictaro::Fs
