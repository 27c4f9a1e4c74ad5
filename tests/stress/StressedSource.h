#pragma once

#include "tests/stress/EventOrder.h"
#include "tests/stress/Film.h"
#include "tests/stress/Findings.h"
#include "tests/stress/WorkDone.h"
#include "tests/support/Position.h"

#include <mferror.h>
#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <initializer_list>
#include <map>
#include <mutex>
#include <vector>

namespace JY::Test {

/// A media source in the hands of its clients, and what they know of it. Every call is checked: its result must be one
/// that the method may give, samples must be the film's own, and, where one client takes all events, these must come
/// in a legal order. What is wrong becomes a finding. Any thread.
class StressedSource {
public:
    enum class Use {
        byOne,      ///< one thread makes all calls
        byCallback, ///< one thread and one callback; the callback takes the source's events
        byMany
    };

    StressedSource(const Film& film, Microsoft::WRL::ComPtr<IMFMediaSource> source, Use use);
    StressedSource(const StressedSource&) = delete;
    StressedSource& operator=(const StressedSource&) = delete;
    ~StressedSource() = default;

    IMFMediaSource& source() const { return *source_.Get(); }
    const Film& film() const { return film_; }
    Use use() const { return use_; }
    /// The stream as the source has announced it; null while it has not.
    Microsoft::WRL::ComPtr<IMFMediaStream> stream(DWORD id) const;

    /// Starts all streams.
    void start(const Position& position);
    /// A start that is refused before it selects.
    void startWithUnknownTimeFormat();
    /// A start without one of two streams, which is refused and has changed the selection nevertheless. From then on
    /// the order of events is not looked at.
    void startOneStream();
    void stop();
    void pause();
    void shutDown();
    void describe();
    void queueEvent();
    void askForInterfaces();
    void requestSample(DWORD id, IUnknown* token);
    void askStream(DWORD id);
    /// Takes the events that are there, of the source and its streams.
    void takeEvents();
    /// Waits for events of a stream, or of the source for 0, until the source is shut down by somebody else.
    void waitForEvents(DWORD id);

    /// Takes one event of the source's that a callback has got.
    void takeSourceEvent(IMFMediaEvent& event);
    /// The result of a call of this method, made by somebody else.
    void checkResult(const char* method, bool wasShutDown, HRESULT result, std::initializer_list<HRESULT> expected);
    bool isShutDown() const { return isShutDown_; }

private:
    template <class Call>
    HRESULT checked(const char* method, std::initializer_list<HRESULT> expected, const Call& call) {
        const bool wasShutDown = isShutDown_;
        const HRESULT result = call();
        checkResult(method, wasShutDown, result, expected);
        if (SUCCEEDED(result)) {
            ++successfulCalls;
        }
        return result;
    }
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> createDescriptor();
    void start(IMFPresentationDescriptor& descriptor, const GUID* format, const Position& position,
               std::initializer_list<HRESULT> expected);
    void takeSourceEvents();
    void takeStreamEvents(DWORD id);
    void takeStreamEvent(DWORD id, IMFMediaEvent& event);
    void meetStream(IUnknown& object);
    void checkSample(DWORD id, IUnknown& object);
    void find(const std::string& text);

    const Film& film_;
    const Microsoft::WRL::ComPtr<IMFMediaSource> source_;
    const Use use_;
    std::atomic<bool> isShutDown_{false};
    std::atomic<bool> isOrderKnown_;

    mutable std::mutex mutex_; // guards what follows
    std::map<DWORD, Microsoft::WRL::ComPtr<IMFMediaStream>> streams_;
    SourceEventOrder sourceOrder_;
    std::map<DWORD, StreamEventOrder> streamOrder_;
};

} // namespace JY::Test
