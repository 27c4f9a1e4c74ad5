#include "bench/FilmClient.h"

#include "tools/Failure.h"
#include "tools/PropVariant.h"
#include "tools/WrappedTime.h"

#include <mferror.h>

#include <algorithm>
#include <utility>

namespace JY::Bench {

using Microsoft::WRL::ComPtr;
using Tools::check;
using Tools::PropVariant;

namespace {

struct Event {
    MediaEventType type = MEUnknown;
    ComPtr<IUnknown> object;
};

/// Waits in the system, so that nothing is lost between two looks.
Event nextEvent(IMFMediaEventGenerator& generator) {
    ComPtr<IMFMediaEvent> event;
    check(generator.GetEvent(0, event.GetAddressOf()), "GetEvent");
    Event result;
    check(event->GetType(&result.type), "GetType");
    PropVariant value;
    check(event->GetValue(value.put()), "GetValue");
    if (value->vt == VT_UNKNOWN) {
        result.object = value->punkVal;
    }
    return result;
}

template <class Interface>
ComPtr<Interface> as(const Event& event) {
    ComPtr<Interface> object;
    check(event.object.As(&object), "QueryInterface");
    return object;
}

} // namespace

FilmClient::FilmClient(ComPtr<IMFMediaSource> source) : source_(std::move(source)) {}

FilmClient::~FilmClient() {
    source_->Shutdown();
}

void FilmClient::start(LONGLONG position) {
    ComPtr<IMFPresentationDescriptor> presentation;
    check(source_->CreatePresentationDescriptor(presentation.GetAddressOf()), "CreatePresentationDescriptor");
    const PropVariant start(position);
    check(source_->Start(presentation.Get(), nullptr, start.get()), "Start");
    streams_.clear();
    for (;;) {
        const Event event = nextEvent(*source_.Get());
        if (event.type == MENewStream || event.type == MEUpdatedStream) {
            streams_.push_back({as<IMFMediaStream>(event)});
        } else if (event.type == MESourceStarted || event.type == MESourceSeeked) {
            return;
        }
    }
}

ComPtr<IMFSample> FilmClient::firstPicture() {
    return next(streams_.back());
}

void FilmClient::takeAll(const std::function<void(std::uint32_t)>& visit) {
    for (;;) {
        Stream& earliest = *std::ranges::min_element(streams_, {}, &Stream::time);
        const ComPtr<IMFSample> sample = next(earliest);
        if (sample == nullptr) {
            return;
        }
        LONGLONG time = 0;
        check(sample->GetSampleTime(&time), "GetSampleTime");
        earliest.time = Tools::unwrapped(time, earliest.time);
        DWORD size = 0;
        check(sample->GetTotalLength(&size), "GetTotalLength");
        visit(size);
    }
}

/// Null at the end of the film.
ComPtr<IMFSample> FilmClient::next(Stream& stream) {
    const HRESULT result = stream.stream->RequestSample(nullptr);
    if (result == MF_E_END_OF_STREAM) {
        return nullptr;
    }
    check(result, "RequestSample");
    for (;;) {
        const Event event = nextEvent(*stream.stream.Get());
        if (event.type == MEMediaSample) {
            return as<IMFSample>(event);
        }
    }
}

} // namespace JY::Bench
