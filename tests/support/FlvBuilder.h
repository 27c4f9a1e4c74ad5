#pragma once

#include "tests/support/Amf0.h"
#include "tests/support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Test {

/// The fields of an AVCDecoderConfigurationRecord.
struct AvcConfig {
    std::uint8_t version = 1;
    std::uint8_t profile = 66;
    std::uint8_t compatibility = 0xC0;
    std::uint8_t level = 30;
    unsigned naluLengthSize = 4; ///< bytes of each NAL unit's length, 1 to 4
    std::vector<Bytes> sps = {{0x67, 0x42, 0xC0, 0x1E, 0xD9}};
    std::vector<Bytes> pps = {{0x68, 0xCB, 0x83, 0xCB}};

    Bytes bytes() const;
};

/// The first fields of an AudioSpecificConfig.
struct AacConfig {
    unsigned objectType = 2; ///< low complexity
    unsigned frequencyIndex = 4;
    unsigned channelConfiguration = 2;
    Bytes extension = {}; ///< what follows the first two bytes

    Bytes bytes() const;
};

/// The fields of an MPEG audio frame header: MPEG-1, Layer III, 128 kbit/s, 44100 Hz, joint stereo.
struct Mp3Header {
    unsigned version = 3; ///< 3 MPEG-1, 2 MPEG-2, 0 MPEG-2.5
    unsigned layer = 1;   ///< 1 Layer III
    unsigned protection = 1;
    unsigned bitRateIndex = 9;
    unsigned samplingRateIndex = 0;
    unsigned padding = 0;
    unsigned privateBit = 0;
    unsigned channelMode = 1; ///< 0 stereo, 1 joint stereo, 2 two channels, 3 one channel

    Bytes bytes() const;
};

/// The value of an "onMetaData" script tag: an ECMA array unless `asObject` is called.
class MetaData {
public:
    /// 10 seconds of 320 x 240 pixels at 25 frames a second.
    static MetaData typical();

    MetaData& duration(double seconds) { return add("duration", Amf0::number(seconds)); }
    MetaData& width(double pixels) { return add("width", Amf0::number(pixels)); }
    MetaData& height(double pixels) { return add("height", Amf0::number(pixels)); }
    MetaData& framerate(double perSecond) { return add("framerate", Amf0::number(perSecond)); }
    /// The index as players know it: times in seconds, positions of tag headers in bytes.
    MetaData& keyframes(const std::vector<double>& times, const std::vector<double>& filepositions);
    /// The index of the key-frame tags of the file that this is put into, filled in when the file is built.
    MetaData& indexKeyFrames();
    /// Replaces the value when the key is there already.
    MetaData& set(const std::string& key, const Bytes& value);
    /// Appends, also when the key is there already.
    MetaData& add(const std::string& key, const Bytes& value);
    MetaData& remove(const std::string& key);
    MetaData& asObject();

    struct IndexEntry {
        double seconds;
        double position;
    };
    Bytes bytes(const std::vector<IndexEntry>& index = {}) const;

private:
    Amf0::Members members_;
    bool asObject_ = false;
    bool indexed_ = false;
};

/// Builds an FLV file tag by tag. The file is laid out by `build`, so that a tag may refer to later ones.
/// Calls named "with..." change the next tag only.
class FlvBuilder {
public:
    enum Flags : std::uint8_t { none = 0, video = 1, audio = 4, audioAndVideo = 5 };
    enum FrameType : std::uint8_t { key = 1, inter = 2, disposable = 3, generatedKey = 4, info = 5 };

    explicit FlvBuilder(std::uint8_t flags = audioAndVideo, std::uint8_t version = 1, std::uint32_t dataOffset = 9);
    /// A file that starts with these bytes in place of a header.
    explicit FlvBuilder(const Bytes& header) : header_(header) {}

    // Tags of any kind. The time stamp is 32 bits wide: the upper 8 go to its extension.
    FlvBuilder& tag(std::uint8_t type, std::uint32_t milliseconds, const Bytes& body);
    /// Bytes between the tags.
    FlvBuilder& raw(const Bytes& bytes);
    FlvBuilder& withPreviousTagSize(std::uint32_t size);
    FlvBuilder& withDataSize(std::uint32_t size);
    FlvBuilder& withStreamId(std::uint32_t id);

    // Script data.
    FlvBuilder& script(std::uint32_t milliseconds, const Bytes& body) { return tag(18, milliseconds, body); }
    FlvBuilder& script(std::uint32_t milliseconds, std::string_view name, const Bytes& value);
    FlvBuilder& onMetaData(const MetaData& metaData = MetaData::typical(), std::uint32_t milliseconds = 0);

    // Video.
    FlvBuilder& videoTag(std::uint32_t milliseconds, std::uint8_t frameType, std::uint8_t codec, const Bytes& payload);
    FlvBuilder& avcPacket(std::uint32_t milliseconds, std::uint8_t frameType, std::uint8_t packetType,
                          std::int32_t compositionTime, const Bytes& payload);
    FlvBuilder& avcSequenceHeader(std::uint32_t milliseconds, const AvcConfig& config = {});
    FlvBuilder& avcNalus(std::uint32_t milliseconds, std::uint8_t frameType, const std::vector<Bytes>& nalus,
                         std::int32_t compositionTime = 0, unsigned naluLengthSize = 4);
    FlvBuilder& avcEndOfSequence(std::uint32_t milliseconds);

    // Audio.
    /// `header` holds format, rate, size and type.
    FlvBuilder& audioTag(std::uint32_t milliseconds, std::uint8_t header, const Bytes& payload);
    FlvBuilder& aacPacket(std::uint32_t milliseconds, std::uint8_t packetType, const Bytes& payload);
    FlvBuilder& aacSequenceHeader(std::uint32_t milliseconds, const AacConfig& config = {});
    FlvBuilder& aacRaw(std::uint32_t milliseconds, const Bytes& frame) { return aacPacket(milliseconds, 1, frame); }
    FlvBuilder& mp3(std::uint32_t milliseconds, const Bytes& frame) { return audioTag(milliseconds, 0x2F, frame); }

    /// What the file ends with in place of the last tag's size; nothing when empty.
    FlvBuilder& trailer(const Bytes& bytes);
    FlvBuilder& withoutTrailer() { return trailer({}); }
    /// Bytes behind the last tag's size.
    FlvBuilder& strayBytes(const Bytes& bytes);

    Bytes build() const;

    std::size_t tagCount() const { return tags_.size(); }
    /// Where a tag's record starts, the size of the tag before it. For `index` == tagCount(): where the last tag ends.
    std::int64_t recordPosition(std::size_t index) const;
    /// Where a tag's header starts, as key-frame indexes give it.
    std::int64_t tagPosition(std::size_t index) const { return recordPosition(index) + 4; }

private:
    struct Tag {
        std::uint8_t type = 0;
        std::uint32_t milliseconds = 0;
        Bytes body;
        std::optional<MetaData> metaData; ///< encoded when the file is built
        Bytes rawBefore;                  ///< bytes in front of the record
        std::optional<std::uint32_t> previousTagSize;
        std::optional<std::uint32_t> dataSize;
        std::uint32_t streamId = 0;
    };

    std::vector<Tag> laidOut() const;
    std::vector<MetaData::IndexEntry> keyFrames(const std::vector<Tag>& tags) const;
    std::uint32_t nextPreviousTagSize(const std::vector<Tag>& tags, std::size_t index) const;
    static void append(Bytes& file, const Tag& tag, std::uint32_t previousTagSize);

    Bytes header_;
    std::vector<Tag> tags_;
    Tag next_;
    std::optional<Bytes> trailer_;
    Bytes strayBytes_;
};

} // namespace JY::Test
