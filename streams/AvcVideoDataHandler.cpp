#include "streams/AvcVideoDataHandler.h"

#include "flv/BigEndian.h"
#include "flv/NumberConversion.h"
#include "log/Core.h"
#include "streams/CutDump.h"
#include "streams/FlvStream.h"
#include "streams/MediaTypeBuilder.h"
#include "streams/SampleBuffer.h"
#include "streams/StreamDescription.h"
#include "streams/StreamSource.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <windows.h>

#include <boost/variant/get.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"AvcVideoDataHandler"};

constexpr std::uint8_t sequenceHeader = 0; ///< an AVCPacketType
constexpr std::uint8_t nalus = 1;          ///< an AVCPacketType
constexpr std::uint8_t endOfSequence = 2;  ///< an AVCPacketType
/// Bytes: the video header byte, the packet type and the composition time.
constexpr std::uint32_t mediaHeaderSize = 5;

constexpr std::array<std::uint8_t, 3> startCode = {0, 0, 1};
constexpr std::size_t maximalNaluSizeUnit = 4;
constexpr UINT32 frameRateDenominator = 1000;

/// Throws when a value read is not what it must be, or not there.
void requireParsed(bool parsed, SourcePosition position) {
    if (!parsed) {
        throw ErrorException(position, "Parse error.");
    }
}

/// A number of `size` bytes, most significant first; nothing when the payload ends before.
std::optional<std::uint32_t> tryReadNumber(TagPayload& payload, std::uint32_t size) {
    std::array<std::uint8_t, maximalNaluSizeUnit> bytes{};
    if (payload.read(bytes.data(), size) != size) {
        return std::nullopt;
    }
    return fromBigEndian<std::uint32_t>(std::span(bytes).first(size));
}

std::uint32_t readNumber(TagPayload& payload, std::uint32_t size, SourcePosition position) {
    const std::optional<std::uint32_t> number = tryReadNumber(payload, size);
    requireParsed(number.has_value(), position);
    return *number;
}

std::uint8_t readByte(TagPayload& payload, SourcePosition position) {
    return static_cast<std::uint8_t>(readNumber(payload, 1, position));
}

std::uint8_t readRecorded(TagPayload& payload, const Log2::Logger& log, const char* text) {
    const std::uint8_t value = readByte(payload, here());
    log.info(here()) << text << value;
    return value;
}

/// The composition time in milliseconds. A negative one counts by its magnitude: it moves the sample later.
std::uint32_t compositionOffset(const FlvVideoTag& header) {
    constexpr std::uint32_t signBit = 0x800000;
    const std::uint32_t value = header.getCompositionTimeBits();
    return (value & signBit) != 0 ? signBit - (value & ~signBit) : value;
}

TimePosition presentationTime(const FlvTag& tag, const FlvVideoTag& header) {
    return TimePosition::fromMilliseconds(tag.getTimestamp() + compositionOffset(header));
}

double metaNumber(const StreamSource& source, const char* name) {
    const MetaDatum datum = source.getMetaDatum(name);
    const auto* number = boost::get<long double>(&datum);
    if (number == nullptr) {
        throw ErrorException(here(), "MetaData ") << name << " is not a number.=" << datum.which();
    }
    return static_cast<double>(*number);
}

void setFrameRate(IMFMediaType* type, const StreamSource& source, const Log2::Logger& log) {
    const auto numerator = truncateTo<UINT32>(metaNumber(source, "framerate") * double{frameRateDenominator});
    throwIfFailed(MFSetAttributeRatio(type, MF_MT_FRAME_RATE, numerator, frameRateDenominator), here(),
                  "MFSetAttributeRatio");
    log.info(here()) << "framerate numerator=" << numerator << " denominator=" << frameRateDenominator;
}

void setFrameSize(IMFMediaType* type, const StreamSource& source, const Log2::Logger& log) {
    const auto width = truncateTo<UINT32>(metaNumber(source, "width"));
    const auto height = truncateTo<UINT32>(metaNumber(source, "height"));
    throwIfFailed(MFSetAttributeSize(type, MF_MT_FRAME_SIZE, width, height), here(), "MF_MT_FRAME_SIZE");
    log.info(here()) << "framesize width=" << width << " height=" << height;
}

} // namespace

void AvcVideoDataHandler::handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                                 const FlvVideoTag& header) {
    TagPayload payload(reader, tag, mediaHeaderSize);
    switch (header.getAvcPacketType()) {
    case sequenceHeader:
        return readSequenceHeader(payload, source, stream);
    case nalus:
        return readNalus(payload, source, stream, tag, header);
    case endOfSequence:
        return;
    default:
        throw ErrorException(here(), "Unknown packet type.=") << header.getAvcPacketType();
    }
}

void AvcVideoDataHandler::readSequenceHeader(TagPayload& payload, StreamSource& source, FlvStream& stream) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "readSequenceHeader");
    readConfiguration(payload, log);
    readAllParameterSets(payload, log);
    log.info(here()) << "ParameterByteStream=" << cutDump(parameterByteStream_, source.getNumDumpBin());
    describeStream(stream, createAvcMediaType(source));
}

void AvcVideoDataHandler::readConfiguration(TagPayload& payload, const Log2::Logger& log) {
    readRecorded(payload, log, "ConfigurationVersion=");
    avcProfileIndication_ = readRecorded(payload, log, "AvcProfileIndication=");
    readRecorded(payload, log, "ProfileCompatibility=");
    avcLevelIndication_ = readRecorded(payload, log, "AvcLevelIndication=");
    naluSizeUnit_ = static_cast<std::uint8_t>((readByte(payload, here()) & 0x03) + 1);
    log.info(here()) << "NALU size unit=" << naluSizeUnit_;
}

void AvcVideoDataHandler::readAllParameterSets(TagPayload& payload, const Log2::Logger& log) {
    parameterByteStream_.clear();
    const unsigned sequenceSets = readByte(payload, here()) & 0x1FU;
    log.info(here()) << "NumOfSequenceParameterSets=" << sequenceSets;
    readParameterSets(payload, sequenceSets);
    const unsigned pictureSets = readByte(payload, here());
    log.info(here()) << "NumOfPictureParameterSets=" << pictureSets;
    readParameterSets(payload, pictureSets);
}

void AvcVideoDataHandler::readParameterSets(TagPayload& payload, unsigned count) {
    for (; count != 0; --count) {
        readParameterSet(payload);
    }
}

// Takes no more memory than the tag can fill. Of a set that is cut short, what is there stays.
void AvcVideoDataHandler::readParameterSet(TagPayload& payload) {
    const std::uint32_t length = readNumber(payload, 2, here());
    parameterByteStream_.insert(parameterByteStream_.end(), startCode.begin(), startCode.end());
    const std::size_t start = parameterByteStream_.size();
    parameterByteStream_.resize(start + std::min(length, payload.left()));
    const std::uint32_t taken = payload.read(parameterByteStream_.data() + start, length);
    parameterByteStream_.resize(start + taken);
    requireParsed(taken == length, here());
}

ComPtr<IMFMediaType> AvcVideoDataHandler::createAvcMediaType(const StreamSource& source) const {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "createAvcMediaType");
    MediaTypeBuilder builder(log, here);
    builder.setGuid(MF_MT_MAJOR_TYPE, MFMediaType_Video, "SetGUID(MF_MT_MAJOR_TYPE)");
    builder.setGuid(MF_MT_SUBTYPE, MFVideoFormat_H264, "SetGUID(MF_MT_SUBTYPE)");
    setFrameRate(builder.type().Get(), source, log);
    setFrameSize(builder.type().Get(), source, log);
    builder.setUInt32(MF_MT_INTERLACE_MODE, MFVideoInterlace_MixedInterlaceOrProgressive,
                      "SetGUID(MF_MT_INTERLACE_MODE)");
    builder.setUInt32(MF_MT_MPEG2_LEVEL, avcLevelIndication_, "SetGUID(MF_MT_MPEG2_LEVEL)", "MF_MT_MPEG2_LEVEL=");
    builder.setUInt32(MF_MT_MPEG2_PROFILE, avcProfileIndication_, "SetGUID(MF_MT_MPEG2_PROFILE)",
                      "MF_MT_MPEG2_PROFILE=");
    builder.setUInt32(MF_MT_PIXEL_ASPECT_RATIO, 1, "SetGUID(MF_MT_PIXEL_ASPECT_RATIO)");
    return builder.type();
}

void AvcVideoDataHandler::readNalus(TagPayload& payload, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                                    const FlvVideoTag& header) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "readNalus");
    const bool isKeyFrame = header.isKeyFrame();
    const std::span<const std::uint8_t> parameterSets =
        isKeyFrame ? parameterByteStream_ : std::span<const std::uint8_t>{};
    const TimePosition time = presentationTime(tag, header);
    while (const std::optional<std::uint32_t> length = tryReadNumber(payload, naluSizeUnit_)) {
        const auto surplus = static_cast<std::int64_t>(parameterSets.size()) - std::int64_t{*length};
        stream.requireRoom(surplus);
        ComPtr<IMFSample> sample = readNalu(payload, *length, parameterSets, source, log);
        clock_.stamp(*sample.Get(), time);
        if (isKeyFrame) {
            throwIfFailed(sample->SetUINT32(MFSampleExtension_CleanPoint, TRUE), here(), "SetUINT32");
        }
        stream.queueSample(std::move(sample), surplus);
    }
}

// The length is checked against the tag before memory is taken for it.
ComPtr<IMFSample> AvcVideoDataHandler::readNalu(TagPayload& payload, std::uint32_t length,
                                                std::span<const std::uint8_t> parameterSets, StreamSource& source,
                                                const Log2::Logger& log) const {
    requireParsed(length > naluSizeUnit_, here());
    const std::uint64_t wholeSize = parameterSets.size() + startCode.size() + std::uint64_t{length};
    log.info(here()) << "NaluSize=" << length << " BufferSize=" << wholeSize;
    requireParsed(length <= payload.left(), here()); // before memory is taken for it
    const auto size = static_cast<std::uint32_t>(wholeSize);
    SampleBuffer buffer(size);
    auto rest = std::ranges::copy(parameterSets, buffer.bytes().begin()).out;
    rest = std::ranges::copy(startCode, rest).out;
    requireParsed(payload.read(&*rest, length) == length, here());
    log.info(here()) << "VideoData(" << size << ")=" << cutDump(buffer.bytes(), source.getNumDumpBin());
    return buffer.toSample();
}

} // namespace JY::Pictaro::Fs
