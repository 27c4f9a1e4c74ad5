#pragma once

#include "util/Stream.h"

#include <cstdint>

namespace JY::Pictaro::Fs {

/// Moves to the next frame sync, 11 set bits that start at a byte, and returns how many bytes lie before it. Throws
/// ErrorException "Parse error." when there is none up to the reader's fence or the end of its data, where the reader
/// then stands, and "Seek error.".
std::uint32_t skipToMp3FrameSync(Stream& reader);

} // namespace JY::Pictaro::Fs
