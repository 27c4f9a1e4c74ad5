#pragma once

#include "util/ErrorException.h"
#include "util/Stream.h"

#include <cstdint>
#include <string_view>

namespace JY::Pictaro::Fs {

/// The next byte. Throws ErrorException with this position and text when there is none.
inline std::uint8_t readByte(Stream& reader, SourcePosition position, std::string_view text) {
    std::uint8_t byte = 0;
    if (reader.read(&byte, 1) != 1) {
        throw ErrorException(position, text);
    }
    return byte;
}

} // namespace JY::Pictaro::Fs
