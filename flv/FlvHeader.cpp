#include "flv/FlvHeader.h"

#include "flv/BigEndian.h"
#include "util/ErrorException.h"
#include "util/File.h"

#include <algorithm>
#include <span>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvHeader"};

constexpr std::array<std::uint8_t, 3> signature = {'F', 'L', 'V'};
constexpr std::uint8_t supportedVersion = 1;

} // namespace

bool FlvHeader::isValid() const {
    const std::span all(bytes_);
    return std::ranges::equal(all.first<3>(), signature) && bytes_[3] == supportedVersion &&
           (flags() & ~(audioFlag | videoFlag)) == 0 && fromBigEndian<std::uint32_t>(all.subspan<5, 4>()) == size;
}

FlvHeader readFlvHeader(File& file) {
    FlvHeader::Bytes bytes{};
    if (file.read(bytes.data(), FlvHeader::size) < FlvHeader::size) {
        throw ErrorException(here.at(16), "Too short FlvHeader") << " File=" << file.path();
    }
    const FlvHeader header(bytes);
    if (!header.isValid()) {
        throw ErrorException(here.at(17), "Invalid FlvHeader");
    }
    return header;
}

void skipFlvHeader(Stream& stream) {
    FlvHeader::Bytes bytes;
    if (stream.read(bytes.data(), FlvHeader::size) < FlvHeader::size) {
        throw ErrorException(here.at(23), "Too short FlvHeader");
    }
}

} // namespace JY::Pictaro::Fs
