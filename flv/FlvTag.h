#pragma once

#include "flv/TimePosition.h"
#include "util/Stream.h"

#include <array>
#include <cstdint>
#include <span>

namespace JY::Pictaro::Fs {

/// The type byte of a tag, as far as the module knows it.
namespace TagType {
constexpr std::uint8_t audio = 8;
constexpr std::uint8_t video = 9;
constexpr std::uint8_t scriptData = 18;
constexpr std::uint8_t filterBit = 0x20; ///< set on encrypted tags
} // namespace TagType

/// Bytes of a tag record: the size of the tag before and the tag's header.
constexpr std::uint32_t tagRecordSize = 15;

/// Bytes of the body that a record's tag has.
std::uint32_t dataSizeOf(std::span<const std::uint8_t, tagRecordSize> record);

/// One tag record of an FLV file, the 15 bytes of PreviousTagSize and tag header, and the moves from record to record.
/// The accessors throw FatalException "Not read yet." while no record has been read, or after it was moved past.
class FlvTag {
public:
    /// Reads from `stream`, which is not owned and must outlive the tag.
    explicit FlvTag(Stream& stream) : stream_(stream) {}

    /// Reads the record at the stream's position and leaves the stream at the tag's body. Throws ErrorException
    /// "Too short FlvTag.".
    void read();
    /// Moves the stream to the next record. False at the end of the file: the stream then stands at this record, which
    /// stays read. Throws ErrorException "Seek error.".
    bool next();
    /// Moves the stream to the previous record, trusting PreviousTagSize. False at the first tag, where nothing moves.
    /// Throws ErrorException "Seek error.".
    bool previous();

    bool isRead() const { return isRead_; }
    /// Where the record starts in the stream (bytes).
    std::int64_t recordPosition() const { return recordPosition_; }

    /// The whole type byte, filter bit included.
    std::uint8_t getTagType() const;
    /// Bytes of the tag's body.
    std::uint32_t getDataSize() const;
    /// Milliseconds.
    std::uint32_t getTimestamp() const;
    /// Bytes of the tag before this one; 0 for the first tag.
    std::uint32_t getPreviousTagSize() const;
    /// The time stamp as a position.
    TimePosition getTimePosition() const { return TimePosition::fromMilliseconds(getTimestamp()); }

    /// Moves the stream back to the start of this record. Throws ErrorException "Seek error.".
    void seekToRecord();

private:
    void requireRead() const;

    Stream& stream_;
    std::array<std::uint8_t, tagRecordSize> record_{};
    std::int64_t recordPosition_ = 0;
    bool isRead_ = false;
};

} // namespace JY::Pictaro::Fs
