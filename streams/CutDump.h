#pragma once

#include "util/TextBuffer.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace JY::Pictaro::Fs {

/// The first bytes for a record, `maximum` at most.
inline HexDump cutDump(std::span<const std::uint8_t> bytes, std::uint32_t maximum) {
    return {bytes.data(), std::min<std::size_t>(bytes.size(), maximum)};
}

} // namespace JY::Pictaro::Fs
