#include "streams/Mp3AudioDataHandler.h"

#include "log/Core.h"
#include "streams/FlvStream.h"
#include "streams/MediaTypeBuilder.h"
#include "streams/Mp3FrameHeader.h"
#include "streams/Mp3FrameSync.h"
#include "streams/StreamDescription.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <windows.h>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"Mp3AudioDataHandler"};

/// Bytes: the audio header byte.
constexpr std::uint32_t mediaHeaderSize = 1;

} // namespace

void Mp3AudioDataHandler::handle(Stream& reader, StreamSource& source, FlvStream& stream, const FlvTag& tag,
                                 const FlvAudioTag&) {
    const Log2::Logger log = Log2::untraced();
    const std::uint32_t junk = skipToMp3FrameSync(reader);
    log.info(here()) << "streamHeadPosition - tagHeadPosition=" << junk;
    if (!stream.hasStreamDescriptor()) {
        describeStream(stream, createMediaType(reader, log));
    }
    TagPayload payload = payloadBehind(mediaHeaderSize + junk, reader, tag);
    queueSample(payload, source, stream, tag, log);
}

/// Of the frame at which the reader stands and stays.
ComPtr<IMFMediaType> Mp3AudioDataHandler::createMediaType(Stream& reader, const Log2::Logger& log) {
    const std::int64_t start = reader.tell();
    const Mp3FrameHeader header = Mp3FrameHeader::read(reader, log);
    MediaTypeBuilder builder(log, here);
    builder.setGuid(MF_MT_MAJOR_TYPE, MFMediaType_Audio, "SetGUID(MF_MT_MAJORT_TYPE)",
                    "MF_MT_MAJOR_TYPE=MFMediaType_Audio");
    builder.setGuid(MF_MT_SUBTYPE, MFAudioFormat_MP3, "SetGUID(MF_MT_SUBTYPE)", "MF_MT_SUBTYPE=MFAudioFormat_MP3");
    builder.setUInt32(MF_MT_AUDIO_PREFER_WAVEFORMATEX, TRUE, "SetUINT32(MF_MT_AUDIO_PREFER_WAVEFORMATEX)");
    log.info(here()) << "MF_MT_AUDIO_PREFER_WAVEFORMATEX=TRUE";
    // In kilobits, as it stands in the frame, on purpose.
    builder.setUInt32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND, header.bitRate, "SetUINT32(MF_MT_AUDIO_AVG_BYTES_PER_SECOND)",
                      "MF_MT_AUDIO_AVG_BYTES_PER_SECOND=");
    builder.setUInt32(MF_MT_AUDIO_SAMPLES_PER_SECOND, header.samplingRate, "SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND)",
                      "MF_MT_AUDIO_SAMPLES_PER_SECOND=");
    builder.setUInt32(MF_MT_AUDIO_NUM_CHANNELS, header.channels, "SetUINT32(MF_MT_AUDIO_NUM_CHANNELS)",
                      "MF_MT_AUDIO_NUM_CHANNELS=");
    if (!reader.seek(start)) {
        throw ErrorException(here(), "Seek error.");
    }
    return builder.type();
}

} // namespace JY::Pictaro::Fs
