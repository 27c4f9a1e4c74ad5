#pragma once

#include "flv/FlvTag.h"
#include "util/Stream.h"

#include <cstdint>

namespace JY::Pictaro::Fs {

/// What a tag holds behind its media header. Tells what is left, so that a length found in it can be checked before
/// memory is taken for it, and never reads beyond the tag.
class TagPayload {
public:
    /// `reader` stands behind the media header of `headerSize` bytes; it is not owned and must outlive the payload. A
    /// tag that claims to be smaller than its header has an empty payload.
    TagPayload(Stream& reader, const FlvTag& tag, std::uint32_t headerSize);

    /// Bytes up to the end that the tag claims; the file may end before.
    std::uint32_t left() const { return left_; }
    /// Reads up to `count` bytes and returns how many came: fewer at the end of the tag or of the file.
    std::uint32_t read(void* buffer, std::uint32_t count);

private:
    Stream& reader_;
    std::uint32_t left_;
};

} // namespace JY::Pictaro::Fs
