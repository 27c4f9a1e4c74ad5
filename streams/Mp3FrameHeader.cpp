#include "streams/Mp3FrameHeader.h"

#include "flv/ReadByte.h"
#include "util/ErrorException.h"

#include <array>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"Mp3FrameHeader"};

// Values of the version field.
constexpr std::uint8_t mpeg25 = 0;
constexpr std::uint8_t reserved = 1;
constexpr std::uint8_t mpeg2 = 2;
constexpr std::uint8_t mpeg1 = 3;

constexpr std::uint8_t layer3 = 1;        ///< a layer
constexpr std::uint8_t singleChannel = 3; ///< a channel mode

// 0 is no entry: the bit rate that the header leaves open, and what is forbidden or reserved.
constexpr std::array<std::uint32_t, 16> mpeg1BitRates = {0,   32,  40,  48,  56,  64,  80,  96,
                                                         112, 128, 160, 192, 224, 256, 320, 0};
constexpr std::array<std::uint32_t, 16> otherBitRates = {0,  8,  16, 24,  32,  40,  48,  56,
                                                         64, 80, 96, 112, 128, 144, 160, 0};

using SamplingRates = std::array<std::uint32_t, 4>;
constexpr SamplingRates mpeg1SamplingRates = {44100, 48000, 32000, 0};
constexpr SamplingRates mpeg2SamplingRates = {22050, 24000, 16000, 0};
constexpr SamplingRates mpeg25SamplingRates = {11025, 12000, 8000, 0};

const SamplingRates& samplingRatesOf(std::uint8_t version) {
    switch (version) {
    case mpeg1:
        return mpeg1SamplingRates;
    case mpeg2:
        return mpeg2SamplingRates;
    case mpeg25:
        return mpeg25SamplingRates;
    default:
        throw ErrorException(here(), "Invalid version.=") << version;
    }
}

std::uint8_t nextByte(Stream& reader) {
    return readByte(reader, here(), "Parse error.");
}

/// `count` bits of a byte, the lowest of them at `lowest`.
constexpr std::uint8_t bitsOf(std::uint8_t byte, unsigned lowest, unsigned count) {
    return static_cast<std::uint8_t>((byte >> lowest) & ((1U << count) - 1U));
}

/// The version, from the byte that ends the sync.
std::uint8_t versionIn(std::uint8_t byte, const Log2::Logger& log) {
    const std::uint8_t version = bitsOf(byte, 3, 2);
    if (version == reserved) {
        throw ErrorException(here(), "Invalid version.");
    }
    log.info(here()) << "version=" << version;
    const std::uint8_t layer = bitsOf(byte, 1, 2);
    if (layer != layer3) {
        throw ErrorException(here(), "Unsupported layer.");
    }
    log.info(here()) << "layer=" << layer;
    log.info(here()) << "protection=" << bitsOf(byte, 0, 1);
    return version;
}

std::uint32_t bitRateIn(std::uint8_t byte, std::uint8_t version, const Log2::Logger& log) {
    const std::uint8_t index = bitsOf(byte, 4, 4);
    const std::uint32_t bitRate = mp3BitRate(version, index);
    log.info(here()) << "BitRateIndex=" << index << " BitRate=" << bitRate << "[kbit/s]";
    return bitRate;
}

std::uint32_t samplingRateIn(std::uint8_t byte, std::uint8_t version, const Log2::Logger& log) {
    const std::uint8_t index = bitsOf(byte, 2, 2);
    const std::uint32_t samplingRate = mp3SamplingRate(version, index);
    log.info(here()) << "SamplingRateIndex=" << index << " SamplingRate=" << samplingRate << "[Hz]";
    log.info(here()) << "Padding=" << bitsOf(byte, 1, 1);
    return samplingRate;
}

std::uint32_t channelsIn(std::uint8_t byte, const Log2::Logger& log) {
    const std::uint8_t mode = bitsOf(byte, 6, 2);
    const std::uint32_t channels = mode == singleChannel ? 1 : 2;
    log.info(here()) << "ChannelMode=" << mode << " NumChannel=" << channels;
    return channels;
}

} // namespace

// Byte by byte: no field crosses one, and a field that is wrong is told before the rest is missed.
Mp3FrameHeader Mp3FrameHeader::read(Stream& reader, const Log2::Logger& log) {
    nextByte(reader); // all sync
    const std::uint8_t version = versionIn(nextByte(reader), log);
    Mp3FrameHeader header{};
    const std::uint8_t rates = nextByte(reader);
    header.bitRate = bitRateIn(rates, version, log);
    header.samplingRate = samplingRateIn(rates, version, log);
    header.channels = channelsIn(nextByte(reader), log);
    return header;
}

std::uint32_t mp3BitRate(std::uint8_t version, std::uint8_t index) {
    const std::uint32_t bitRate = (version == mpeg1 ? mpeg1BitRates : otherBitRates)[index];
    if (bitRate == 0) {
        throw ErrorException(here(), "Invalid bitrate lookup. version=") << version << " index=" << index;
    }
    return bitRate;
}

std::uint32_t mp3SamplingRate(std::uint8_t version, std::uint8_t index) {
    const std::uint32_t samplingRate = samplingRatesOf(version)[index];
    if (samplingRate == 0) {
        throw ErrorException(here(), "Invalid sampling freq lookup. version") << version << " index=" << index;
    }
    return samplingRate;
}

} // namespace JY::Pictaro::Fs
