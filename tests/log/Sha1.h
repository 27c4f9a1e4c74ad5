#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace JY::Test {

/// SHA-1 as its definition has it, independent of the system's.
inline std::array<std::uint8_t, 20> sha1(std::string data) {
    const std::uint64_t bitCount = std::uint64_t{8} * data.size();
    data.push_back('\x80');
    data.resize((data.size() + 8 + 63) / 64 * 64 - 8, '\0');
    for (int shift = 56; shift >= 0; shift -= 8) {
        data.push_back(static_cast<char>(bitCount >> shift));
    }
    std::array<std::uint32_t, 5> state{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    for (std::size_t block = 0; block < data.size(); block += 64) {
        std::array<std::uint32_t, 80> words{};
        for (std::size_t byte = 0; byte < 64; ++byte) {
            words[byte / 4] = (words[byte / 4] << 8) | static_cast<std::uint8_t>(data[block + byte]);
        }
        for (std::size_t i = 16; i < 80; ++i) {
            words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
        }
        auto [a, b, c, d, e] = state;
        for (std::size_t i = 0; i < 80; ++i) {
            const std::array<std::uint32_t, 4> mixed{(b & c) | (~b & d), b ^ c ^ d, (b & c) | (b & d) | (c & d),
                                                     b ^ c ^ d};
            constexpr std::array<std::uint32_t, 4> constants{0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
            const std::uint32_t next = std::rotl(a, 5) + mixed[i / 20] + e + constants[i / 20] + words[i];
            e = d;
            d = c;
            c = std::rotl(b, 30);
            b = a;
            a = next;
        }
        const std::array<std::uint32_t, 5> result{a, b, c, d, e};
        for (std::size_t i = 0; i < 5; ++i) {
            state[i] += result[i];
        }
    }
    std::array<std::uint8_t, 20> digest{};
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}

/// What a snapshot's end record tells of the bytes of its kept records: each byte of their SHA-1 rotated left by one
/// bit, as two hexadecimal digits.
inline std::string rotatedDigest(const std::string& data) {
    std::string text;
    for (const std::uint8_t byte : sha1(data)) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(std::rotl(byte, 1)));
        text += digits;
    }
    return text;
}

} // namespace JY::Test
