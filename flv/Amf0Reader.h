#pragma once

#include "flv/MetaDatum.h"
#include "log/Logger.h"
#include "util/Stream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace JY::Pictaro::Fs {

/// Decodes AMF0, the encoding of script data, and records every value it meets. A value that runs past the stream's
/// limit, that is nested deeper than any real one, or that would take more memory than any real one ends as
/// ErrorException "Script parse error.".
class Amf0Reader {
public:
    /// Values nested deeper than this are refused: reading one level takes a piece of the thread's stack.
    static constexpr unsigned maxDepth = 128;
    /// A reader's values may take this many bytes, what is in their strings excepted. An array of as many numbers as
    /// fit into a tag takes less; a tag of millions of values without content would take fifty times its size.
    static constexpr std::size_t maxMemory = std::size_t{96} * 1024 * 1024;

    /// Reads from the stream's position on. The stream, which must be fenced to what may be read, and the logger are
    /// not owned and must outlive the reader.
    Amf0Reader(Stream& stream, const Log2::Logger& log) : stream_(stream), log_(log) {}

    /// A string without a marker.
    std::string readString();
    /// A marked value. Throws FlvMetaData::MetaDataNotFoundException for a marker of a kind that is not decoded.
    MetaDatum readValue();

private:
    class Level;

    MetaDatum readBody(std::uint8_t marker);
    MetaDatum readNumber();
    MetaDatum readBoolean();
    MetaDatum readMarkedString();
    MetaDatum readObject();
    MetaDatum readEcmaArray();
    MetaDatum readStrictArray();
    MetaDatum readDate();
    template <class Members>
    void readMembers(Members& members, const char* kind);
    void logMember(const char* kind, std::string_view key) const;
    void takeMemory(std::size_t bytes);

    Stream& stream_;
    const Log2::Logger& log_;
    unsigned depth_ = 0;
    std::size_t memoryLeft_ = maxMemory;
};

} // namespace JY::Pictaro::Fs
