#include "tests/stress/EventPump.h"

#include "tests/stress/WorkItems.h"

#include <mferror.h>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

void EventPump::run() {
    askForNext(*held());
}

std::shared_ptr<StressedSource> EventPump::held() const {
    const std::lock_guard guard(mutex_);
    return source_;
}

void EventPump::askForNext(StressedSource& source) {
    const bool wasShutDown = source.isShutDown();
    const HRESULT result = source.source().BeginGetEvent(this, nullptr);
    source.checkResult("BeginGetEvent", wasShutDown, result, {S_OK});
    if (FAILED(result)) {
        const std::lock_guard guard(mutex_);
        source_.reset(); // the caller holds another reference
    }
}

HRESULT EventPump::Invoke(IMFAsyncResult* result) {
    ++workItems;
    const std::shared_ptr<StressedSource> source = held();
    const bool wasShutDown = source->isShutDown();
    ComPtr<IMFMediaEvent> event;
    const HRESULT ended = source->source().EndGetEvent(result, event.GetAddressOf());
    source->checkResult("EndGetEvent", wasShutDown, ended, {S_OK});
    if (SUCCEEDED(ended)) {
        source->takeSourceEvent(*event.Get());
        callSomething(*source);
    }
    if (SUCCEEDED(ended) && !isToLetGo_) {
        askForNext(*source);
    } else {
        const std::lock_guard guard(mutex_);
        source_.reset();
    }
    return S_OK;
}

void EventPump::callSomething(StressedSource& source) {
    switch (random_() % 64) {
    case 0:
        return source.pause();
    case 1:
        return source.stop();
    case 2:
        return source.start(Position());
    case 3:
        return source.requestSample(FilmSamples::videoStream, nullptr);
    case 4:
        return source.describe();
    case 5:
        return source.askStream(FilmSamples::audioStream);
    case 6:
        return source.askForInterfaces();
    case 7:
        return random_() % 8 == 0 ? source.shutDown() : source.start(Position(0));
    default:
        return;
    }
}

} // namespace JY::Test
