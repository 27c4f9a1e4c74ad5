#pragma once

#include "tools/BestFrame.h"
#include "tools/Picture.h"
#include "tools/Playback.h"
#include "tools/VideoDecoder.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <optional>

namespace JY::Tools {

/// A picture of a film.
struct Still {
    Picture picture;
    /// 100 ns.
    LONGLONG time;
};

/// Takes single pictures from the first video stream of a media source. One thread.
class FrameGrabber {
public:
    /// `source` outlives the grabber.
    /// @throws Failure when there is no video or no decoder for it.
    explicit FrameGrabber(IMFMediaSource& source);

    /// 100 ns. Nothing when the source does not know it.
    std::optional<LONGLONG> duration() const;

    /// The picture that is to be seen at `time` (100 ns): the last one that begins then or before; the first of all
    /// when none does.
    /// @throws Failure when nothing can be decoded.
    Still stillAt(LONGLONG time);

private:
    void selectVideo();
    void startVideo(LONGLONG time);
    void look(LONGLONG start, BestFrame& best);
    void pushOut(LONGLONG start, VideoDecoder& decoder, BestFrame& best);
    IMFMediaStream& videoStream() const;

    Playback playback_;
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> presentation_;
    DWORD stream_ = 0;
    Microsoft::WRL::ComPtr<IMFMediaType> type_;
};

} // namespace JY::Tools
