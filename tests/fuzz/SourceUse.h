#pragma once

#include "tests/fuzz/Progress.h"
#include "tests/fuzz/Random.h"
#include "tests/source/ClientObjects.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <map>
#include <vector>

namespace JY::Fuzz {

/// What one client does with one source, and what it may rely on. Holds the only reference of a client to the source.
class SourceUse {
public:
    /// `fileSize` in bytes; no sample of pictures can be much larger.
    SourceUse(Microsoft::WRL::ComPtr<IMFMediaSource> source, std::size_t fileSize, Random random, Progress& progress);

    /// @throws Finding, Hang
    void run();

private:
    using Stream = Microsoft::WRL::ComPtr<IMFMediaStream>;
    struct Event {
        MediaEventType type;
        Microsoft::WRL::ComPtr<IUnknown> object; ///< null when the event carries none
    };

    bool describe();
    void checkStreams();
    void selectStreams();
    void playRound();
    HRESULT start();
    PROPVARIANT somePosition();
    void finishWork();
    std::vector<Event> takeEvents(IMFMediaEventGenerator& generator) const;
    void meetStreams();
    void requestSamples();
    HRESULT requestSample(DWORD id, IMFMediaStream& stream);
    void checkSample(DWORD id, IUnknown& object, bool hasToken);
    void pauseOrStop();
    void shutdown();
    void count(Call call, HRESULT result);

    Microsoft::WRL::ComPtr<IMFMediaSource> source_;
    std::size_t fileSize_;
    Random random_;
    Progress& progress_;
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> descriptor_;
    std::map<DWORD, Stream> streams_;
    Test::ClientState token_;
    bool isPaused_ = false;
    bool hasSamples_ = false;
};

} // namespace JY::Fuzz
