#include "tools/FrameGrabber.h"

#include "tools/BestFrame.h"
#include "tools/Failure.h"
#include "tools/SourceFacts.h"
#include "tools/StreamReader.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

/// How far before the wanted time (100 ns) reading begins anew when no picture of that time is found, and how that
/// grows: a source may start at a key frame whose picture is seen later than the time asked for.
constexpr LONGLONG firstStepBack = 10'000'000;
constexpr LONGLONG stepGrowth = 4;

/// The stream's type; pictures in NV12 are chosen when the stream offers them.
ComPtr<IMFMediaType> chooseType(IMFMediaTypeHandler& types) {
    DWORD count = 0;
    check(types.GetMediaTypeCount(&count), "IMFMediaTypeHandler::GetMediaTypeCount");
    ComPtr<IMFMediaType> type;
    for (DWORD index = 0; index < count; ++index) {
        check(types.GetMediaTypeByIndex(index, type.ReleaseAndGetAddressOf()),
              "IMFMediaTypeHandler::GetMediaTypeByIndex");
        if (isNv12(*type.Get())) {
            check(types.SetCurrentMediaType(type.Get()), "IMFMediaTypeHandler::SetCurrentMediaType");
            return type;
        }
    }
    check(types.GetCurrentMediaType(type.ReleaseAndGetAddressOf()), "IMFMediaTypeHandler::GetCurrentMediaType");
    return type;
}

} // namespace

FrameGrabber::FrameGrabber(IMFMediaSource& source) : playback_(source), presentation_(createPresentation(source)) {
    selectVideo();
}

/// Chooses the first video stream alone.
void FrameGrabber::selectVideo() {
    const DWORD count = streamCount(*presentation_.Get());
    for (DWORD index = 0; index < count; ++index) {
        const ComPtr<IMFStreamDescriptor> stream = streamAt(*presentation_.Get(), index);
        const ComPtr<IMFMediaTypeHandler> types = typeHandlerOf(*stream.Get());
        GUID kind{};
        check(types->GetMajorType(&kind), "IMFMediaTypeHandler::GetMajorType");
        if (kind != MFMediaType_Video || type_) {
            check(presentation_->DeselectStream(index), "IMFPresentationDescriptor::DeselectStream");
            continue;
        }
        check(presentation_->SelectStream(index), "IMFPresentationDescriptor::SelectStream");
        check(stream->GetStreamIdentifier(&stream_), "IMFStreamDescriptor::GetStreamIdentifier");
        type_ = chooseType(*types.Get());
    }
    if (!type_) {
        throw Failure(MF_E_NOT_FOUND, "looking for a video stream");
    }
}

std::optional<LONGLONG> FrameGrabber::duration() const {
    UINT64 duration = 0;
    if (FAILED(presentation_->GetUINT64(MF_PD_DURATION, &duration))) {
        return std::nullopt;
    }
    return static_cast<LONGLONG>(duration);
}

Still FrameGrabber::stillAt(LONGLONG time) {
    BestFrame best(time);
    look(time, best);
    LONGLONG start = time;
    for (LONGLONG back = firstStepBack; !best.fits() && start > 0; back *= stepGrowth) {
        start = std::max(time - back, 0LL);
        look(start, best);
    }
    if (!best.frame()) {
        throw Failure(MF_E_NOT_FOUND, "decoding a picture");
    }
    return {pictureOf(*best.frame()), best.time()};
}

/// Reads from `start` on until the best picture is known.
void FrameGrabber::look(LONGLONG start, BestFrame& best) {
    startVideo(start);
    PlaybackEnd end;
    StreamReader reader(videoStream(), end);
    VideoDecoder decoder(*type_.Get());
    while (const std::optional<DeliveredSample> delivered = reader.next()) {
        if (best.consider(decoder.decode(*delivered->sample.Get()))) {
            return;
        }
    }
    const std::vector<DecodedFrame> last = decoder.drain();
    best.consider(last);
    if (last.empty()) {
        pushOut(start, decoder, best);
    }
}

/// Gets the last pictures out of a decoder that gives them only when more follow: it is given the samples from `start`
/// on again, until a picture of those comes, which is one before the last or one that had no place in the stream.
void FrameGrabber::pushOut(LONGLONG start, VideoDecoder& decoder, BestFrame& best) {
    const LONGLONG latestPicture = decoder.latestPicture();
    const LONGLONG latestSample = decoder.latestSample();
    startVideo(start);
    PlaybackEnd end;
    StreamReader reader(videoStream(), end);
    while (const std::optional<DeliveredSample> delivered = reader.next()) {
        for (const DecodedFrame& frame : decoder.decode(*delivered->sample.Get())) {
            if (frame.time <= latestPicture || frame.time > latestSample) {
                return;
            }
            best.consider({frame});
        }
    }
}

IMFMediaStream& FrameGrabber::videoStream() const {
    const auto found = playback_.streams().find(stream_);
    if (found == playback_.streams().end()) {
        throw Failure(MF_E_INVALIDSTREAMNUMBER, "starting the video stream");
    }
    return *found->second.Get();
}

/// Some sources start all of their streams or none: they are asked for all when they refuse the video alone.
void FrameGrabber::startVideo(LONGLONG time) {
    try {
        playback_.start(*presentation_.Get(), time);
    } catch (const Failure& failure) {
        if (failure.code() != MF_E_UNSUPPORTED_REPRESENTATION) {
            throw;
        }
        const DWORD count = streamCount(*presentation_.Get());
        for (DWORD index = 0; index < count; ++index) {
            check(presentation_->SelectStream(index), "IMFPresentationDescriptor::SelectStream");
        }
        playback_.start(*presentation_.Get(), time);
    }
}

} // namespace JY::Tools
