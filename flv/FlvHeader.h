#pragma once

#include "util/Stream.h"

#include <array>
#include <cstdint>

namespace JY {
class File;
}

namespace JY::Pictaro::Fs {

/// The 9 bytes that an FLV file starts with.
class FlvHeader {
public:
    static constexpr std::uint32_t size = 9;
    using Bytes = std::array<std::uint8_t, size>;

    explicit FlvHeader(const Bytes& bytes) : bytes_(bytes) {}

    /// Signature, version 1, no unknown flags and no further header bytes: what the module can read.
    bool isValid() const;
    bool hasAudio() const { return (flags() & audioFlag) != 0; }
    bool hasVideo() const { return (flags() & videoFlag) != 0; }
    const Bytes& bytes() const { return bytes_; }

private:
    static constexpr std::uint8_t audioFlag = 0x04;
    static constexpr std::uint8_t videoFlag = 0x01;

    std::uint8_t flags() const { return bytes_[4]; }

    Bytes bytes_;
};

/// Reads the header at the file's position and checks it. Throws ErrorException "Too short FlvHeader" or
/// "Invalid FlvHeader", and what reading throws.
FlvHeader readFlvHeader(File& file);

/// Moves past the header without looking at it. Throws ErrorException "Too short FlvHeader".
void skipFlvHeader(Stream& stream);

} // namespace JY::Pictaro::Fs
