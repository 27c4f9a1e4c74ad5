#pragma once

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <map>

namespace JY::Tools {

/// The streams that a media source has in play, by their identifiers.
using PlayingStreams = std::map<DWORD, Microsoft::WRL::ComPtr<IMFMediaStream>>;

/// Starts and stops a media source and follows its events. One thread.
class Playback {
public:
    /// `source` outlives the playback.
    explicit Playback(IMFMediaSource& source) : source_(source) {}

    /// Starts the streams that `presentation` selects at `position` (100 ns), and waits until they are started. A
    /// playback that runs already is stopped first, so that nothing of the old place is delivered.
    /// @throws Failure
    void start(IMFPresentationDescriptor& presentation, LONGLONG position);

    const PlayingStreams& streams() const { return streams_; }

private:
    void stop();
    void waitFor(MediaEventType awaited);
    void addStream(IUnknown& object);

    IMFMediaSource& source_;
    PlayingStreams streams_;
    bool started_ = false;
};

} // namespace JY::Tools
