#include "streams/FlvStream.h"

#include "com/ClientReference.h"
#include "com/ComCall.h"
#include "com/InterfaceQuery.h"
#include "flv/TimePosition.h"
#include "streams/QueueShutdown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <mfapi.h>
#include <mferror.h>

#include <mutex>
#include <utility>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"FlvStream"};
constexpr TimePosition latestFirstTag{1'000'000};

ComPtr<IMFMediaEventQueue> createEventQueue() {
    ComPtr<IMFMediaEventQueue> queue;
    throwIfFailed(MFCreateEventQueue(queue.GetAddressOf()), here(), "MFCreateEventQueue");
    return queue;
}

} // namespace

FlvStream::FlvStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
                     boost::shared_ptr<Lock> sourceLock, DWORD streamId)
    : ComUnknownBase(counter), source_(&source), parser_(&parser), lock_(std::move(sourceLock)), streamId_(streamId),
      eventQueue_(createEventQueue()) {}

FlvStream::~FlvStream() {
    purgeSamples();
    // What clients have attached to these goes with them.
    const ClientReference descriptor(std::move(descriptor_));
    const ClientReference eventQueue(std::move(eventQueue_));
}

HRESULT FlvStream::QueryInterface(REFIID riid, void** ppvObject) {
    return comCall({here(), &typeid(*this), "QueryInterface"}, {{"ppvObject", ppvObject}}, [&](const ComCall& call) {
        IMFMediaStream& self = *this;
        return answerQuery(call, here(), self, riid, ppvObject,
                           {{IID_IUnknown, "IUnknown", &self},
                            {IID_IMFMediaEventGenerator, "IMFMediaEventGenerator", &self},
                            {IID_IMFMediaStream, "IMFMediaStream", &self}});
    });
}

// Waits for the event outside the lock, so that the source and its streams go on meanwhile.
HRESULT FlvStream::GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) {
    return comCall({here(), &typeid(*this), "GetEvent"}, {{"ppEvent", ppEvent}}, [&](const ComCall&) {
        *ppEvent = nullptr; // a bad pointer must not fault inside the queue, which would stay locked
        ComPtr<IMFMediaEventQueue> queue;
        {
            const std::lock_guard guard(*lock_);
            checkShutdown();
            queue = eventQueue_;
        }
        throwIfFailed(queue->GetEvent(dwFlags, ppEvent), here(), "GetEvent");
        return S_OK;
    });
}

HRESULT FlvStream::BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) {
    return comCall({here(), &typeid(*this), "BeginGetEvent"}, {{"pCallback", pCallback}}, [&](const ComCall&) {
        // A client's bad pointer must not fault inside the queue, which would stay locked.
        const ClientReference callback(pCallback);
        const ClientReference state(punkState);
        const std::lock_guard guard(*lock_);
        checkShutdown();
        return eventQueue_->BeginGetEvent(callback.get(), state.get());
    });
}

HRESULT FlvStream::EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) {
    return comCall({here(), &typeid(*this), "EndGetEvent"}, {{"pResult", pResult}, {"ppEvent", ppEvent}},
                   [&](const ComCall&) {
                       *ppEvent = nullptr;
                       const ClientReference result(pResult);
                       const std::lock_guard guard(*lock_);
                       checkShutdown();
                       return eventQueue_->EndGetEvent(result.get(), ppEvent);
                   });
}

HRESULT FlvStream::QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                              const PROPVARIANT* pvValue) {
    return comCall({here(), &typeid(*this), "QueueEvent"}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        checkShutdown();
        throwIfFailed(eventQueue_->QueueEventParamVar(met, guidExtendedType, hrStatus, pvValue), here(),
                      "QueueEventParamVar");
        return S_OK;
    });
}

HRESULT FlvStream::GetMediaSource(IMFMediaSource** ppMediaSource) {
    return comCall({here(), &typeid(*this), "GetMediaSource"}, {{"ppMediaSource", ppMediaSource}}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        throwIfFailed(source().mediaSource().QueryInterface(IID_PPV_ARGS(ppMediaSource)), here(), "QueryInterface");
        return S_OK;
    });
}

HRESULT FlvStream::GetStreamDescriptor(IMFStreamDescriptor** ppStreamDescriptor) {
    return comCall({here(), &typeid(*this), "GetStreamDescriptor"}, {{"ppStreamDescriptor", ppStreamDescriptor}},
                   [&](const ComCall&) {
                       const std::lock_guard guard(*lock_);
                       checkShutdown();
                       if (!hasStreamDescriptor()) {
                           throwIfFailed(MF_E_NOT_INITIALIZED, here(), "GetStreamDescriptor");
                       }
                       ComPtr<IMFStreamDescriptor> descriptor = descriptor_;
                       *ppStreamDescriptor = descriptor.Get();
                       descriptor.Detach();
                       return S_OK;
                   });
}

HRESULT FlvStream::RequestSample(IUnknown* pToken) {
    return comCall({here(), &typeid(*this), "RequestSample"}, [&](const ComCall& call) {
        call.log().info(here()) << "pToken=" << (pToken != nullptr ? "NotNull" : "null");
        const ClientReference token(pToken); // a bad one must not fault inside the sample
        const std::lock_guard guard(*lock_);
        if (source().getStateId() == SourceStateId::paused) {
            return S_OK;
        }
        if (!readTagsUntilSampleQueued()) {
            announceEndOfFile();
            return MF_E_END_OF_STREAM;
        }
        sendNextSample(token.get());
        return S_OK;
    });
}

bool FlvStream::readTagsUntilSampleQueued() {
    while (samples_.empty()) {
        if (!parser().readOneTag()) {
            return false;
        }
    }
    return true;
}

void FlvStream::announceEndOfFile() {
    throwIfFailed(queueEvent(MEEndOfStream), here(), "QueueEvent");
    throwIfFailed(source().mediaSource().QueueEvent(MEEndOfPresentation, GUID_NULL, S_OK, nullptr), here(),
                  "QueueEvent");
}

void FlvStream::sendNextSample(IUnknown* token) {
    const ComPtr<IMFSample> sample = std::move(samples_.front().sample);
    surplus_ -= samples_.front().surplus;
    samples_.pop_front();
    if (token != nullptr) {
        throwIfFailed(sample->SetUnknown(MFSampleExtension_Token, token), here(), "SetUnknown");
    }
    throwIfFailed(eventQueue_->QueueEventParamUnk(MEMediaSample, GUID_NULL, S_OK, sample.Get()), here(),
                  "QueueEventParamUnk");
}

bool FlvStream::readTagsUntilDescribed() {
    while (!hasStreamDescriptor()) {
        if (parser().getPosition() > latestFirstTag) {
            return false;
        }
        parser().readOneTag();
    }
    return true;
}

void FlvStream::purgeSamples() {
    samples_.clear();
    surplus_ = 0;
}

void FlvStream::shutdown() {
    const std::lock_guard guard(*lock_);
    isShutdown_ = true;
}

void FlvStream::checkShutdown() const {
    if (isShutdown_) {
        throwIfFailed(MF_E_SHUTDOWN, here(), "checkShutdown");
    }
}

void FlvStream::setStreamDescriptor(ComPtr<IMFStreamDescriptor> descriptor) {
    descriptor_ = std::move(descriptor);
}

void FlvStream::queueSample(ComPtr<IMFSample> sample, std::int64_t surplus) {
    samples_.push_back({std::move(sample), surplus});
    surplus_ += surplus;
}

void FlvStream::requireRoom(std::int64_t surplus) const {
    if (surplus_ + surplus > maxSurplus) {
        throw ErrorException(here(), "Parse error. The queued samples repeat too much of earlier tags.");
    }
}

void FlvStream::detachFromSource() noexcept {
    cutLoose();
    shutDownEvents();
}

void FlvStream::cutLoose() noexcept {
    const std::lock_guard guard(*lock_);
    shutdown();
    source_ = nullptr;
    parser_ = nullptr;
    purgeSamples();
}

void FlvStream::shutDownEvents() noexcept {
    shutDownQueue(*eventQueue_.Get());
}

HRESULT FlvStream::queueEvent(MediaEventType type) {
    return QueueEvent(type, GUID_NULL, S_OK, nullptr);
}

HRESULT FlvStream::queueEvent(MediaEventType type, LONGLONG time) {
    PROPVARIANT value{};
    value.vt = VT_I8;
    value.hVal.QuadPart = time;
    return QueueEvent(type, GUID_NULL, S_OK, &value);
}

StreamSource& FlvStream::source() const {
    checkShutdown();
    return *source_;
}

FlvFileParser& FlvStream::parser() const {
    checkShutdown();
    return *parser_;
}

} // namespace JY::Pictaro::Fs
