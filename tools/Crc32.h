#pragma once

#include <cstdint>
#include <span>

namespace JY::Tools {

/// The CRC-32 of the bytes, as in PNG, ZIP and ffmpeg's "CRC32" data hash.
std::uint32_t crc32(std::span<const unsigned char> bytes);

} // namespace JY::Tools
