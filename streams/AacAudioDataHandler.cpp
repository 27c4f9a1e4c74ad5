#include "streams/AacAudioDataHandler.h"

#include "flv/BitReader.h"
#include "flv/ReadByte.h"
#include "log/Core.h"
#include "streams/CutDump.h"
#include "streams/FlvStream.h"
#include "streams/MediaTypeBuilder.h"
#include "streams/StreamDescription.h"
#include "streams/StreamSource.h"
#include "streams/TagPayload.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <windows.h>

#include <wmcodecdsp.h>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"AacAudioDataHandler"};
/// An unknown packet type is reported as a fault of the tag's header.
constexpr SourceFile audioTagFile{"FlvAudioTag"};

constexpr std::uint8_t sequenceHeader = 0; ///< an AACPacketType
constexpr std::uint8_t rawData = 1;        ///< an AACPacketType
/// Bytes: the audio header byte and the packet type.
constexpr std::uint32_t mediaHeaderSize = 2;

/// Bytes of an AudioSpecificConfig that hold what is read of it: object type, frequency index, explicit frequency and
/// channel configuration.
constexpr std::uint32_t longestConfig = 5;
constexpr std::uint8_t explicitFrequency = 15; ///< the frequency index that announces a frequency of its own
constexpr unsigned explicitFrequencyBits = 24;

constexpr UINT32 rawPayload = 0; ///< a payload type: without ADTS headers

constexpr std::array<UINT32, 14> samplesPerSecond = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                     22050, 16000, 12000, 11025, 8000,  7350,  0};

struct ChannelLayout {
    UINT32 channels;
    UINT32 mask; ///< speaker positions as wave formats number them
};
constexpr std::array<ChannelLayout, 8> channelLayouts = {
    {{0, 0}, {1, 0x4}, {2, 0x3}, {3, 0x7}, {4, 0x107}, {5, 0x37}, {6, 0x3F}, {8, 0x63F}}};

template <class Table>
const typename Table::value_type& lookUp(const Table& table, std::size_t index, SourcePosition position) {
    if (index >= table.size()) {
        throw ErrorException(position, "Out of range.");
    }
    return table[index];
}

/// The other way round than the file means it, on purpose: the bit for 16-bit samples gives 8.
UINT32 bitsPerSample(const FlvAudioTag& header) {
    return header.getSoundSize() != 0 ? 8 : 16;
}

/// Up to 8 bits.
std::uint8_t nextBits(BitReader& bits, unsigned count) {
    const auto value = static_cast<std::uint8_t>(bits.read(count));
    if (bits.isOverrun()) {
        throw ErrorException(here(), "Parse error.");
    }
    return value;
}

} // namespace

void AacAudioDataHandler::handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                                 const FlvAudioTag& header) {
    switch (header.getAacPacketType()) {
    case sequenceHeader:
        return readAacSequenceHeader(reader, source, stream, tag, header);
    case rawData:
        return readAacRawData(reader, source, stream, tag);
    default:
        throw ErrorException(audioTagFile(), "Unknown AACPacketType=") << header.getAacPacketType();
    }
}

void AacAudioDataHandler::readAacSequenceHeader(Stream& reader, StreamSource& source, FlvStream& stream,
                                                const FlvTag& tag, const FlvAudioTag& header) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "readAacSequenceHeader");
    const std::int64_t start = reader.tell();
    parseAudioSpecificConfig(reader, tag);
    if (!reader.seek(start)) {
        throw ErrorException(here(), "Seek error.");
    }
    aacHeader_[0] = readByte(reader, here(), "AacHeader[0]");
    aacHeader_[1] = readByte(reader, here(), "AacHeader[1]");
    describeStream(stream, createAacMediaType(source, header));
}

void AacAudioDataHandler::parseAudioSpecificConfig(Stream& reader, const FlvTag& tag) {
    std::array<std::uint8_t, longestConfig> bytes{};
    TagPayload payload(reader, tag, mediaHeaderSize);
    const std::uint32_t taken = payload.read(bytes.data(), longestConfig);
    BitReader bits({bytes.data(), taken});
    nextBits(bits, 5); // the audio object type
    samplingFrequencyIndex_ = nextBits(bits, 4);
    if (samplingFrequencyIndex_ == explicitFrequency) {
        bits.skip(explicitFrequencyBits);
    }
    channelConfiguration_ = nextBits(bits, 4);
}

ComPtr<IMFMediaType> AacAudioDataHandler::createAacMediaType(StreamSource& source, const FlvAudioTag& header) const {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "createAacMediaType");
    MediaTypeBuilder builder(log, here);
    builder.setGuid(MF_MT_MAJOR_TYPE, MFMediaType_Audio, "SetGUID(MF_MT_MAJORT_TYPE)",
                    "MF_MT_MAJOR_TYPE=MFMediaType_Audio");
    builder.setGuid(MF_MT_SUBTYPE, MEDIASUBTYPE_RAW_AAC1, "SetGUID(MF_MT_SUBTYPE)",
                    "MF_MT_SUBTYPE=MEDIASUBTYPE_RAW_AAC1");
    builder.setUInt32(MF_MT_AAC_AUDIO_PROFILE_LEVEL_INDICATION, 0,
                      "SetUINT32(MF_MF_AAC_AUDIO_PROFILE_LEVEL_INDICATION)",
                      "MF_MT_AAC_AUDIO_PROFILE_LEVEL_INDICATION=");
    builder.setUInt32(MF_MT_AAC_PAYLOAD_TYPE, rawPayload, "SetUINT32(MF_MT_AAC_PAYLOAD_TYPE)",
                      "MF_MT_AAC_PAYLOAD_TYPE=");
    builder.setUInt32(MF_MT_AUDIO_BITS_PER_SAMPLE, bitsPerSample(header), "SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE)",
                      "MF_MT_AUDIO_BITS_PER_SAMPLE");
    const ChannelLayout& layout = lookUp(channelLayouts, channelConfiguration_, here());
    builder.setUInt32(MF_MT_AUDIO_CHANNEL_MASK, layout.mask, "SetUINT32(MF_MT_AUDIO_CHANNEL_MASK)",
                      "MF_MT_AUDIO_CHANNEL_MASK");
    builder.setUInt32(MF_MT_AUDIO_NUM_CHANNELS, layout.channels, "SetUINT32(MF_MT_AUDIO_NUM_CHANNELS)",
                      "MF_MT_AUDIO_NUM_CHANNELS=");
    builder.setUInt32(MF_MT_AUDIO_SAMPLES_PER_SECOND, lookUp(samplesPerSecond, samplingFrequencyIndex_, here()),
                      "SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND)", "MF_MT_AUDIO_SAMPLES_PER_SECOND=");
    throwIfFailed(builder.type()->SetBlob(MF_MT_USER_DATA, aacHeader_.data(), static_cast<UINT32>(aacHeader_.size())),
                  here(), "SetBlob(MF_MT_USER_DATA)");
    log.info(here()) << "MF_MT_USER_DATA=" << cutDump(aacHeader_, source.getNumDumpBin());
    return builder.type();
}

void AacAudioDataHandler::readAacRawData(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "readAacRawData");
    TagPayload payload = payloadBehind(mediaHeaderSize, reader, tag);
    log.info(here()) << "AacRawSize=" << payload.left();
    queueSample(payload, source, stream, tag, log);
}

} // namespace JY::Pictaro::Fs
