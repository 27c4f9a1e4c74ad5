#include "streams/TagPayload.h"

#include <algorithm>

namespace JY::Pictaro::Fs {

TagPayload::TagPayload(Stream& reader, const FlvTag& tag, std::uint32_t headerSize)
    : reader_(reader), left_(std::max(tag.getDataSize(), headerSize) - headerSize) {}

std::uint32_t TagPayload::read(void* buffer, std::uint32_t count) {
    const std::uint32_t taken = reader_.read(buffer, std::min(count, left_));
    left_ -= taken;
    return taken;
}

} // namespace JY::Pictaro::Fs
