#include "tests/fuzz/Corpus.h"

#include "tests/support/Amf0.h"
#include "tests/support/FlvBuilder.h"

#include <string>

namespace JY::Fuzz {

using Test::AacConfig;
using Test::AvcConfig;
using Test::bigEndian;
using Test::FlvBuilder;
using Test::join;
using Test::MetaData;
using Test::Mp3Header;
namespace Amf0 = Test::Amf0;

namespace {

constexpr std::uint32_t step = 400; ///< milliseconds from one tag of a kind to the next
constexpr unsigned pictures = 8;

Bytes slice(unsigned number, std::uint8_t type = 0x65) {
    return {type, 0x88, 0x80, 0x10, 0x00, static_cast<std::uint8_t>(number)};
}

Bytes sound(unsigned number) {
    return {0x21, 0x10, 0x04, static_cast<std::uint8_t>(number)};
}

Bytes mp3Frame(unsigned number, const Mp3Header& header = {}) {
    return join({header.bytes(), {1, 2, 3, static_cast<std::uint8_t>(number)}});
}

/// Every other picture is a key frame; sound between the pictures.
FlvBuilder& film(FlvBuilder& file, unsigned count = pictures, unsigned naluLengthSize = 4, std::uint32_t apart = step) {
    for (unsigned number = 0; number < count; ++number) {
        const bool isKey = number % 2 == 0;
        file.avcNalus(number * apart, isKey ? FlvBuilder::key : FlvBuilder::inter, {slice(number, isKey ? 0x65 : 0x41)},
                      0, naluLengthSize);
        file.aacRaw(number * apart, sound(number));
    }
    return file;
}

Bytes audioAndVideo(const MetaData& metaData = MetaData::typical().indexKeyFrames()) {
    FlvBuilder file;
    file.onMetaData(metaData).avcSequenceHeader(0).aacSequenceHeader(0);
    return film(file).build();
}

Bytes aacOnly(const AacConfig& config = {}) {
    FlvBuilder file(FlvBuilder::audio);
    file.onMetaData(MetaData().duration(3)).aacSequenceHeader(0, config);
    for (unsigned number = 0; number < pictures; ++number) {
        file.aacRaw(number * step, sound(number));
    }
    return file.build();
}

Bytes mp3Only(const Mp3Header& header = {}) {
    FlvBuilder file(FlvBuilder::audio);
    file.onMetaData(MetaData().duration(3));
    for (unsigned number = 0; number < pictures; ++number) {
        file.mp3(number * step, mp3Frame(number, header));
    }
    return file.build();
}

Bytes mp3BehindJunk() {
    FlvBuilder file(FlvBuilder::audio);
    file.onMetaData(MetaData().duration(3));
    for (unsigned number = 0; number < pictures; ++number) {
        file.mp3(number * step, join({{0x00, 0xFF, 0x00, 0xFF}, mp3Frame(number)}));
    }
    return file.build();
}

Bytes avcOnly(unsigned naluLengthSize) {
    AvcConfig config;
    config.naluLengthSize = naluLengthSize;
    FlvBuilder file(FlvBuilder::video);
    file.onMetaData().avcSequenceHeader(0, config);
    return film(file, pictures, naluLengthSize).build();
}

Bytes manyParameterSets() {
    AvcConfig config;
    config.sps.assign(5, config.sps.front());
    config.pps.assign(7, {0x68, 0xCE});
    FlvBuilder file(FlvBuilder::video);
    file.onMetaData().avcSequenceHeader(0, config);
    return film(file).build();
}

Bytes manySlices() {
    FlvBuilder file(FlvBuilder::video);
    file.onMetaData().avcSequenceHeader(0);
    for (unsigned number = 0; number < pictures; ++number) {
        file.avcNalus(number * step, FlvBuilder::key, {{0x09, 0xF0, 0x01, 0x02, 0x03}, slice(0), slice(1), slice(2)},
                      number % 2 == 0 ? 80 : -80);
    }
    return file.avcEndOfSequence(pictures * step).build();
}

Bytes changingCodecs() {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    film(file, 4);
    AvcConfig other;
    other.profile = 100;
    other.naluLengthSize = 2;
    file.avcSequenceHeader(1600, other).avcNalus(1600, FlvBuilder::key, {slice(4)}, 0, 2);
    file.mp3(1600, mp3Frame(1)).mp3(2000, mp3Frame(2)).aacSequenceHeader(2400).aacRaw(2400, sound(3));
    file.audioTag(2800, 0xB2, {1, 2, 3}).videoTag(2800, 1, 2, {1, 2, 3}).videoTag(3200, 5, 7, {0});
    return file.build();
}

Bytes richMetaData() {
    MetaData data = MetaData::typical();
    data.add("title", Amf0::string("A title"))
        .add("stereo", Amf0::boolean(true))
        .add("made", Amf0::date(1000, -60))
        .add("nested", Amf0::object({{"list", Amf0::strictArray({Amf0::number(1), Amf0::string("two"),
                                                                 Amf0::ecmaArray({{"three", Amf0::number(3)}})})}}))
        .add("twice", Amf0::number(1))
        .add("twice", Amf0::number(2))
        .indexKeyFrames();
    return audioAndVideo(data);
}

Bytes farKeyFrames() {
    FlvBuilder file;
    file.onMetaData(MetaData().duration(48).width(16).height(16).framerate(0.25).indexKeyFrames());
    file.avcSequenceHeader(0).aacSequenceHeader(0);
    return film(file, 12, 4, 4000).build();
}

Bytes wrappingTimes() {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    for (const std::uint32_t time : {0U, 4'294'000U, 4'294'967U, 4'295'000U, 16'777'215U, 16'777'216U, 0xFFFFFFFFU}) {
        file.avcNalus(time, FlvBuilder::key, {slice(1)}).aacRaw(time, sound(1));
    }
    return file.build();
}

Bytes deepMetaData() {
    Bytes value = Amf0::number(1);
    for (unsigned level = 0; level < 40; ++level) {
        value = level % 3 == 0   ? Amf0::object({{"o", value}})
                : level % 3 == 1 ? Amf0::ecmaArray({{"e", value}})
                                 : Amf0::strictArray({value});
    }
    return audioAndVideo(MetaData::typical().add("deep", value));
}

Bytes oddScripts() {
    FlvBuilder file;
    file.script(0, "onTextData", Amf0::object({{"text", Amf0::string("x")}}));
    file.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    film(file, 4).script(1600, "onCuePoint", Amf0::null()).script(1600, {});
    return film(file, 4).build();
}

Bytes lateSound() {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0);
    for (unsigned number = 0; number < 4; ++number) {
        file.avcNalus(number * step, FlvBuilder::key, {slice(number)});
    }
    return film(file.aacSequenceHeader(1600), 5).build();
}

Bytes emptyTags() {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    film(file, 3).tag(8, 1200, {}).tag(9, 1200, {}).tag(18, 1200, {}).aacRaw(1200, {});
    return film(file, 5).strayBytes({0, 0, 0, 1, 8}).build();
}

Bytes encrypted() {
    FlvBuilder file;
    file.onMetaData().avcSequenceHeader(0).aacSequenceHeader(0);
    return film(film(file, 4).tag(0x28, 1600, {1, 2, 3}), 5).build();
}

Bytes manyTags() {
    FlvBuilder file;
    file.onMetaData(MetaData::typical().indexKeyFrames()).avcSequenceHeader(0).aacSequenceHeader(0);
    return film(file, 60, 4, 40).build();
}

Bytes withoutMetaData() {
    FlvBuilder file(FlvBuilder::audio);
    file.mp3(0, mp3Frame(0)).mp3(1001, mp3Frame(1)).mp3(2000, mp3Frame(2));
    return file.build();
}

} // namespace

std::vector<CorpusFile> buildCorpus() {
    return {
        {"audio and video", audioAndVideo()},
        {"AAC", aacOnly()},
        {"AAC of an explicit frequency", aacOnly({2, 15, 7, {1, 2, 3, 4}})},
        {"MP3", mp3Only()},
        {"MP3 of MPEG-2", mp3Only({.version = 2, .bitRateIndex = 8, .channelMode = 3})},
        {"MP3 behind junk", mp3BehindJunk()},
        {"AVC with lengths of 1 byte", avcOnly(1)},
        {"AVC with lengths of 2 bytes", avcOnly(2)},
        {"AVC with lengths of 3 bytes", avcOnly(3)},
        {"many parameter sets", manyParameterSets()},
        {"many slices", manySlices()},
        {"changing codecs", changingCodecs()},
        {"rich metadata", richMetaData()},
        {"metadata as an object", audioAndVideo(MetaData::typical().asObject())},
        {"metadata without a duration", audioAndVideo(MetaData::typical().remove("duration"))},
        {"an index of three members", audioAndVideo(MetaData::typical().add(
                                          "keyframes", Amf0::object({{"filepositions", Amf0::numbers({9, 100, 200})},
                                                                     {"times", Amf0::numbers({0, 1, 2})},
                                                                     {"more", Amf0::null()}})))},
        {"an index that points anywhere", audioAndVideo(MetaData::typical().keyframes({0, 1, 2, 3}, {0, 3, 1e18, -5}))},
        {"far key frames", farKeyFrames()},
        {"wrapping times", wrappingTimes()},
        {"deep metadata", deepMetaData()},
        {"odd scripts", oddScripts()},
        {"late sound", lateSound()},
        {"empty tags", emptyTags()},
        {"an encrypted tag", encrypted()},
        {"many tags", manyTags()},
        {"no metadata", withoutMetaData()},
    };
}

} // namespace JY::Fuzz
