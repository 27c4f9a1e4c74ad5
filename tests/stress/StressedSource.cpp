#include "tests/stress/StressedSource.h"

#include "tests/stress/WorkItems.h"

#include <mfapi.h>

#include <utility>

namespace JY::Test {

using Findings::expectOneOf;
using Microsoft::WRL::ComPtr;

namespace {

constexpr GUID unknownTimeFormat{0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

/// The value of an event.
class EventValue {
public:
    explicit EventValue(IMFMediaEvent& event) { event.GetValue(&value_); }
    EventValue(const EventValue&) = delete;
    EventValue& operator=(const EventValue&) = delete;
    ~EventValue() { PropVariantClear(&value_); }

    VARTYPE type() const { return value_.vt; }
    IUnknown* object() const { return value_.vt == VT_UNKNOWN ? value_.punkVal : nullptr; }

private:
    PROPVARIANT value_{};
};

std::string textOf(const std::vector<std::size_t>& sizes) {
    std::string text;
    for (const std::size_t size : sizes) {
        (text += ' ') += std::to_string(size);
    }
    return text;
}

MediaEventType typeOf(IMFMediaEvent& event) {
    MediaEventType type = MEUnknown;
    expectOneOf("IMFMediaEvent::GetType", event.GetType(&type), {S_OK});
    return type;
}

} // namespace

StressedSource::StressedSource(const Film& film, ComPtr<IMFMediaSource> source, Use use)
    : film_(film), source_(std::move(source)), use_(use), isOrderKnown_(use != Use::byMany),
      sourceOrder_(film.streams()) {}

ComPtr<IMFMediaStream> StressedSource::stream(DWORD id) const {
    const std::lock_guard guard(mutex_);
    const auto found = streams_.find(id);
    return found != streams_.end() ? found->second : nullptr;
}

void StressedSource::checkResult(const char* method, bool wasShutDown, HRESULT result,
                                 std::initializer_list<HRESULT> expected) {
    if (wasShutDown) {
        expectOneOf((std::string(method) + " after Shutdown").c_str(), result, {MF_E_SHUTDOWN});
    } else if (result != MF_E_SHUTDOWN || use_ == Use::byOne) {
        expectOneOf(method, result, expected);
    }
}

ComPtr<IMFPresentationDescriptor> StressedSource::createDescriptor() {
    ComPtr<IMFPresentationDescriptor> descriptor;
    const HRESULT result = checked("CreatePresentationDescriptor", {S_OK},
                                   [&] { return source_->CreatePresentationDescriptor(descriptor.GetAddressOf()); });
    if (FAILED(result) != (descriptor == nullptr)) {
        find("CreatePresentationDescriptor gave a result and no object, or the other way round");
    }
    return descriptor;
}

void StressedSource::start(IMFPresentationDescriptor& descriptor, const GUID* format, const Position& position,
                           std::initializer_list<HRESULT> expected) {
    ++workItems;
    checked("Start", expected, [&] { return source_->Start(&descriptor, format, position.get()); });
}

void StressedSource::start(const Position& position) {
    if (const auto descriptor = createDescriptor()) {
        start(*descriptor.Get(), &GUID_NULL, position, {S_OK});
    }
}

void StressedSource::startWithUnknownTimeFormat() {
    if (const auto descriptor = createDescriptor()) {
        start(*descriptor.Get(), &unknownTimeFormat, Position(), {E_FAIL});
    }
}

void StressedSource::startOneStream() {
    isOrderKnown_ = false;
    const auto descriptor = createDescriptor();
    if (descriptor == nullptr || film_.streams() == 1) {
        return;
    }
    expectOneOf("DeselectStream", descriptor->DeselectStream(0), {S_OK});
    start(*descriptor.Get(), nullptr, Position(), {MF_E_UNSUPPORTED_REPRESENTATION});
}

void StressedSource::stop() {
    checked("Stop", {S_OK}, [&] { return source_->Stop(); });
}

void StressedSource::pause() {
    checked("Pause", {S_OK, MF_E_INVALID_STATE_TRANSITION}, [&] { return source_->Pause(); });
}

void StressedSource::shutDown() {
    if (SUCCEEDED(checked("Shutdown", {S_OK}, [&] { return source_->Shutdown(); })) && isShutDown_.exchange(true)) {
        find("two Shutdowns have succeeded");
    }
}

void StressedSource::describe() {
    createDescriptor();
    DWORD characteristics = 0;
    expectOneOf("GetCharacteristics", source_->GetCharacteristics(&characteristics), {S_OK});
    if (characteristics != 6) {
        find("GetCharacteristics gave " + std::to_string(characteristics));
    }
}

void StressedSource::queueEvent() {
    checked("QueueEvent", {S_OK}, [&] { return source_->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr); });
}

void StressedSource::askForInterfaces() {
    ComPtr<IMFMediaEventGenerator> generator;
    expectOneOf("QueryInterface", source_->QueryInterface(IID_PPV_ARGS(generator.GetAddressOf())), {S_OK});
    ComPtr<IUnknown> none;
    expectOneOf("QueryInterface of another interface",
                source_->QueryInterface(IID_IMFAttributes, reinterpret_cast<void**>(none.GetAddressOf())),
                {E_NOINTERFACE});
}

void StressedSource::requestSample(DWORD id, IUnknown* token) {
    if (const auto playing = stream(id)) {
        checked("RequestSample", {S_OK, MF_E_END_OF_STREAM}, [&] { return playing->RequestSample(token); });
    }
}

void StressedSource::askStream(DWORD id) {
    const auto playing = stream(id);
    if (playing == nullptr) {
        return;
    }
    ComPtr<IMFMediaSource> owner;
    checked("GetMediaSource", {S_OK}, [&] { return playing->GetMediaSource(owner.GetAddressOf()); });
    if (owner != nullptr && owner.Get() != source_.Get()) {
        find("GetMediaSource gave another source");
    }
    ComPtr<IMFStreamDescriptor> descriptor;
    checked("GetStreamDescriptor", {S_OK}, [&] { return playing->GetStreamDescriptor(descriptor.GetAddressOf()); });
    checked("IMFMediaStream::QueueEvent", {S_OK},
            [&] { return playing->QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr); });
}

void StressedSource::takeEvents() {
    takeSourceEvents();
    takeStreamEvents(FilmSamples::audioStream);
    takeStreamEvents(FilmSamples::videoStream);
}

void StressedSource::takeSourceEvents() {
    ComPtr<IMFMediaEvent> event;
    const auto get = [&] { return source_->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()); };
    if (use_ == Use::byCallback) {
        if (!isOrderKnown_) { // an event taken here is missed by the callback
            checked("GetEvent beside a callback", {MF_E_MULTIPLE_SUBSCRIBERS, MF_E_NO_EVENTS_AVAILABLE, S_OK}, get);
        }
        return;
    }
    while (SUCCEEDED(checked("GetEvent", {S_OK, MF_E_NO_EVENTS_AVAILABLE}, get))) {
        takeSourceEvent(*event.Get());
    }
}

void StressedSource::takeStreamEvents(DWORD id) {
    const auto playing = stream(id);
    if (playing == nullptr) {
        return;
    }
    ComPtr<IMFMediaEvent> event;
    while (SUCCEEDED(checked("IMFMediaStream::GetEvent", {S_OK, MF_E_NO_EVENTS_AVAILABLE}, [&] {
        return playing->GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf());
    }))) {
        takeStreamEvent(id, *event.Get());
    }
}

void StressedSource::waitForEvents(DWORD id) {
    const auto playing = stream(id);
    ComPtr<IMFMediaEvent> event;
    const auto waitFor = [&](IMFMediaEventGenerator& generator) {
        return checked("GetEvent that waits", {S_OK},
                       [&] { return generator.GetEvent(0, event.ReleaseAndGetAddressOf()); });
    };
    if (id != 0 && playing == nullptr) {
        return;
    }
    IMFMediaEventGenerator& generator = id != 0 ? static_cast<IMFMediaEventGenerator&>(*playing.Get()) : *source_.Get();
    while (SUCCEEDED(waitFor(generator))) {
        if (id != 0) {
            takeStreamEvent(id, *event.Get());
        } else {
            takeSourceEvent(*event.Get());
        }
    }
}

void StressedSource::takeSourceEvent(IMFMediaEvent& event) {
    const MediaEventType type = typeOf(event);
    const EventValue value(event);
    if (isOrderKnown_) {
        const std::lock_guard guard(mutex_);
        if (const std::string wrong = sourceOrder_.take(type, value.type() == VT_I8); !wrong.empty()) {
            find(wrong);
        }
    }
    if (value.object() != nullptr) {
        meetStream(*value.object());
    }
}

void StressedSource::meetStream(IUnknown& object) {
    ComPtr<IMFMediaStream> stream;
    expectOneOf("QueryInterface of a stream", object.QueryInterface(IID_PPV_ARGS(stream.GetAddressOf())), {S_OK});
    ComPtr<IMFStreamDescriptor> descriptor;
    DWORD id = 0;
    const HRESULT result = checked("GetStreamDescriptor of a stream that is announced", {S_OK},
                                   [&] { return stream->GetStreamDescriptor(descriptor.GetAddressOf()); });
    if (FAILED(result)) {
        return;
    }
    descriptor->GetStreamIdentifier(&id);
    const std::lock_guard guard(mutex_);
    const auto [known, isNew] = streams_.emplace(id, stream);
    if (!isNew && known->second.Get() != stream.Get()) {
        find("two streams have one identifier");
    }
}

void StressedSource::takeStreamEvent(DWORD id, IMFMediaEvent& event) {
    const MediaEventType type = typeOf(event);
    if (isOrderKnown_) {
        const std::lock_guard guard(mutex_);
        if (const std::string wrong = streamOrder_[id].take(type); !wrong.empty()) {
            find(wrong);
        }
    }
    const EventValue value(event);
    if (type == MEMediaSample && value.object() != nullptr) {
        checkSample(id, *value.object());
    } else if (type == MEMediaSample) {
        find("an event has no sample");
    }
}

void StressedSource::checkSample(DWORD id, IUnknown& object) {
    ComPtr<IMFSample> sample;
    expectOneOf("QueryInterface of a sample", object.QueryInterface(IID_PPV_ARGS(sample.GetAddressOf())), {S_OK});
    LONGLONG time = -1;
    expectOneOf("GetSampleTime", sample->GetSampleTime(&time), {S_OK});
    ComPtr<IMFMediaBuffer> buffer;
    expectOneOf("GetBufferByIndex", sample->GetBufferByIndex(0, buffer.GetAddressOf()), {S_OK});
    BYTE* bytes = nullptr;
    DWORD size = 0;
    expectOneOf("Lock", buffer->Lock(&bytes, nullptr, &size), {S_OK});
    if (!film_.samples.contains(id, time, {bytes, size})) {
        find("a sample of stream " + std::to_string(id) + " at " + std::to_string(time) + " with " +
             std::to_string(size) + " bytes is not the film's, which has there" +
             textOf(film_.samples.sizesAt(id, time)));
    }
    buffer->Unlock();
    ++comparedSamples;
}

void StressedSource::find(const std::string& text) {
    Findings::add(text + ", file " + std::to_string(film_.samples.lastTime()));
}

} // namespace JY::Test
