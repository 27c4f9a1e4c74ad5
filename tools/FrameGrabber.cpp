#include "tools/FrameGrabber.h"

#include "tools/Failure.h"
#include "tools/SourceFacts.h"
#include "tools/StreamReader.h"
#include "tools/WrappedTime.h"

#include <mfapi.h>
#include <mferror.h>

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

/// The last of the pictures given that begins at a time or before, else the earliest.
class BestFrame {
public:
    explicit BestFrame(LONGLONG wanted) : wanted_(wanted) {}

    /// Pictures come in the order of their times.
    void consider(const std::vector<DecodedFrame>& frames) {
        for (const DecodedFrame& frame : frames) {
            const LONGLONG time = unwrapped(frame.time, wanted_);
            passed_ = passed_ || time > wanted_;
            if (!best_ || (time <= wanted_ && time >= bestTime_)) {
                best_ = frame;
                bestTime_ = time;
            }
        }
    }

    /// Whether a later picture has been seen, so that nothing better can follow.
    bool passed() const { return passed_; }

    Still still() const {
        if (!best_) {
            throw Failure(MF_E_NOT_FOUND, "decoding a picture");
        }
        return {pictureOf(*best_), bestTime_};
    }

private:
    LONGLONG wanted_;
    std::optional<DecodedFrame> best_;
    LONGLONG bestTime_ = 0;
    bool passed_ = false;
};

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
        if (kind != MFMediaType_Video || decoder_) {
            check(presentation_->DeselectStream(index), "IMFPresentationDescriptor::DeselectStream");
            continue;
        }
        check(presentation_->SelectStream(index), "IMFPresentationDescriptor::SelectStream");
        check(stream->GetStreamIdentifier(&stream_), "IMFStreamDescriptor::GetStreamIdentifier");
        decoder_.emplace(*chooseType(*types.Get()).Get());
    }
    if (!decoder_) {
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
    start(time);
    const auto found = playback_.streams().find(stream_);
    if (found == playback_.streams().end()) {
        throw Failure(MF_E_INVALIDSTREAMNUMBER, "starting the video stream");
    }
    decoder_->flush();
    PlaybackEnd end;
    StreamReader reader(*found->second.Get(), end);
    BestFrame best(time);
    while (!best.passed()) {
        const std::optional<DeliveredSample> delivered = reader.next();
        best.consider(delivered ? decoder_->decode(*delivered->sample.Get()) : decoder_->drain());
        if (!delivered) {
            break;
        }
    }
    return best.still();
}

/// Some sources start all of their streams or none: they are asked for all when they refuse the video alone.
void FrameGrabber::start(LONGLONG time) {
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
