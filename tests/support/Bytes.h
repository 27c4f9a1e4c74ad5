#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace JY::Test {

using Bytes = std::vector<std::uint8_t>;

/// The parts one behind the other.
inline Bytes join(std::initializer_list<Bytes> parts) {
    Bytes result;
    for (const Bytes& part : parts) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

/// The lowest `size` bytes of a number, most significant first.
inline Bytes bigEndian(std::uint64_t value, unsigned size) {
    Bytes result;
    for (unsigned left = size; left != 0; --left) {
        result.push_back(static_cast<std::uint8_t>(value >> (8 * (left - 1))));
    }
    return result;
}

/// The characters of a text, without a terminator.
inline Bytes characters(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

/// The first `size` bytes.
inline Bytes firstBytes(const Bytes& bytes, std::size_t size) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

} // namespace JY::Test
