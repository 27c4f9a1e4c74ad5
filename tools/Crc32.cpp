#include "tools/Crc32.h"

#include <array>

namespace JY::Tools {

namespace {

constexpr std::uint32_t polynomial = 0xEDB88320U;

constexpr std::array<std::uint32_t, 256> makeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1U) ^ ((value & 1U) != 0 ? polynomial : 0U);
        }
        table[byte] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> table = makeTable();

} // namespace

std::uint32_t crc32(std::span<const unsigned char> bytes) {
    std::uint32_t value = 0xFFFFFFFFU;
    for (const unsigned char byte : bytes) {
        value = table[(value ^ byte) & 0xFFU] ^ (value >> 8U);
    }
    return ~value;
}

} // namespace JY::Tools
