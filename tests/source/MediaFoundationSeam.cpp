#include "tests/source/MediaFoundationSeam.h"

#include "streams/FlvStream.h"
#include "tests/support/Faults.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/VirtualTable.h"

#include <mfapi.h>
#include <mfidl.h>
#include <wrl/client.h>

#include <array>
#include <map>
#include <mutex>
#include <utility>

namespace JY::Test {

namespace {

using Microsoft::WRL::ComPtr;

struct Fault {
    HRESULT result = S_OK;
    unsigned after = 0;
};

std::mutex seamMutex;
std::array<Fault, static_cast<std::size_t>(MediaFoundationCall::count)> faults;

Fault& faultOf(MediaFoundationCall call) {
    return faults[static_cast<std::size_t>(call)];
}

/// S_OK, or the failure that the call is to have this time.
HRESULT faultNow(MediaFoundationCall call) {
    HRESULT result = S_OK;
    {
        const std::lock_guard guard(seamMutex);
        Fault& fault = faultOf(call);
        if (fault.after > 0) {
            --fault.after;
        } else {
            result = fault.result;
        }
    }
    return result == MediaFoundationFault::accessViolation ? readFrom(nullptr) : result;
}

/// Lets a method of one object fail.
template <MediaFoundationCall call, class Interface>
void failMethod(Interface& object, std::size_t slot) {
    static VirtualTable<Interface> table;
    if (FAILED(faultNow(call))) {
        table.replace(
            object, slot, +[](IUnknown*) { return faultNow(call); });
    }
}

class EventRecord {
public:
    void start(std::vector<std::string> queueNames) {
        const std::lock_guard guard(mutex_);
        queueNames_ = std::move(queueNames);
        nextQueue_ = 0;
        events_.clear();
        refusals_.clear();
        isOn_ = true;
    }
    void stop() {
        const std::lock_guard guard(mutex_);
        isOn_ = false;
    }
    std::vector<std::string> take() {
        const std::lock_guard guard(mutex_);
        return std::exchange(events_, {});
    }
    std::string nextQueueName() {
        const std::lock_guard guard(mutex_);
        return nextQueue_ < queueNames_.size() ? queueNames_[nextQueue_++] : "queue";
    }
    void refuse(const std::string& queue, MediaEventType type, HRESULT result) {
        const std::lock_guard guard(mutex_);
        refusals_[{queue, type}] = result;
    }
    /// S_OK, or what the event is refused with.
    HRESULT add(const std::string& queue, MediaEventType type, const std::string& value) {
        const std::lock_guard guard(mutex_);
        const auto refusal = refusals_.find({queue, type});
        if (refusal != refusals_.end()) {
            return refusals_.extract(refusal).mapped();
        }
        if (isOn_) {
            events_.push_back(queue + ' ' + eventName(type) + value);
        }
        return S_OK;
    }

private:
    static std::string eventName(MediaEventType type) {
        static const std::map<MediaEventType, const char*> names{
            {MESourceStarted, "MESourceStarted"},
            {MEStreamStarted, "MEStreamStarted"},
            {MESourceSeeked, "MESourceSeeked"},
            {MEStreamSeeked, "MEStreamSeeked"},
            {MENewStream, "MENewStream"},
            {MEUpdatedStream, "MEUpdatedStream"},
            {MESourceStopped, "MESourceStopped"},
            {MEStreamStopped, "MEStreamStopped"},
            {MESourcePaused, "MESourcePaused"},
            {MEStreamPaused, "MEStreamPaused"},
            {MEEndOfPresentation, "MEEndOfPresentation"},
            {MEEndOfStream, "MEEndOfStream"},
            {MEMediaSample, "MEMediaSample"},
        };
        const auto found = names.find(type);
        return found != names.end() ? found->second : std::to_string(type);
    }

    std::mutex mutex_;
    bool isOn_ = false;
    std::vector<std::string> queueNames_;
    std::size_t nextQueue_ = 0;
    std::vector<std::string> events_;
    std::map<std::pair<std::string, MediaEventType>, HRESULT> refusals_;
};

EventRecord eventRecord;

std::string describe(const PROPVARIANT* value) {
    if (value == nullptr || value->vt == VT_EMPTY) {
        return {};
    }
    if (value->vt == VT_I8) {
        return ' ' + std::to_string(value->hVal.QuadPart);
    }
    if (value->vt == VT_UNKNOWN) {
        const auto* const stream = dynamic_cast<Pictaro::Fs::FlvStream*>(value->punkVal);
        return stream != nullptr ? ' ' + std::to_string(stream->getStreamId()) : " object";
    }
    return " vt=" + std::to_string(value->vt);
}

/// What is sent with another extended type or status than usual shows it.
std::string describeHead(REFGUID extendedType, HRESULT status) {
    std::string text;
    if (extendedType != GUID_NULL) {
        text += " extended";
    }
    if (status != S_OK) {
        text += " status=" + std::to_string(status);
    }
    return text;
}

std::string describe(IMFMediaEvent& event) {
    GUID extendedType = GUID_NULL;
    HRESULT status = S_OK;
    PROPVARIANT value{};
    event.GetExtendedType(&extendedType);
    event.GetStatus(&status);
    event.GetValue(&value);
    std::string text = describeHead(extendedType, status) + describe(&value);
    PropVariantClear(&value);
    UINT64 start = 0;
    if (event.GetUINT64(MF_EVENT_SOURCE_ACTUAL_START, &start) == S_OK) {
        text += " actual=" + std::to_string(start);
    }
    return text;
}

class RecordingEventQueue final : public IMFMediaEventQueue {
public:
    explicit RecordingEventQueue(ComPtr<IMFMediaEventQueue> queue)
        : queue_(std::move(queue)), name_(eventRecord.nextQueueName()) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** result) override {
        if (riid != IID_IUnknown && riid != IID_IMFMediaEventQueue) {
            *result = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *result = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG left = InterlockedDecrement(&references_);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD flags, IMFMediaEvent** event) override {
        return queue_->GetEvent(flags, event);
    }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* callback, IUnknown* state) override {
        return queue_->BeginGetEvent(callback, state);
    }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* result, IMFMediaEvent** event) override {
        return queue_->EndGetEvent(result, event);
    }
    HRESULT STDMETHODCALLTYPE QueueEvent(IMFMediaEvent* event) override {
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        const HRESULT result = eventRecord.add(name_, type, describe(*event));
        return FAILED(result) ? result : queue_->QueueEvent(event);
    }
    HRESULT STDMETHODCALLTYPE QueueEventParamVar(MediaEventType type, REFGUID extendedType, HRESULT status,
                                                 const PROPVARIANT* value) override {
        const HRESULT result = eventRecord.add(name_, type, describeHead(extendedType, status) + describe(value));
        return FAILED(result) ? result : queue_->QueueEventParamVar(type, extendedType, status, value);
    }
    HRESULT STDMETHODCALLTYPE QueueEventParamUnk(MediaEventType type, REFGUID extendedType, HRESULT status,
                                                 IUnknown* value) override {
        const HRESULT result = eventRecord.add(name_, type, describeHead(extendedType, status));
        return FAILED(result) ? result : queue_->QueueEventParamUnk(type, extendedType, status, value);
    }
    HRESULT STDMETHODCALLTYPE Shutdown() override { return queue_->Shutdown(); }

private:
    ~RecordingEventQueue() = default;

    LONG references_ = 1;
    ComPtr<IMFMediaEventQueue> queue_;
    std::string name_;
};

/// The calls of the code under test end here.
class Seam {
public:
    static HRESULT STDAPICALLTYPE putWorkItem(DWORD queue, IMFAsyncCallback* callback, IUnknown* state);
    static HRESULT STDAPICALLTYPE createAsyncResult(IUnknown* object, IMFAsyncCallback* callback, IUnknown* state,
                                                    IMFAsyncResult** result);
    static HRESULT STDAPICALLTYPE invokeCallback(IMFAsyncResult* result);
    static HRESULT STDAPICALLTYPE createEventQueue(IMFMediaEventQueue** queue);
    static HRESULT STDAPICALLTYPE createMediaEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                                   const PROPVARIANT* value, IMFMediaEvent** event);
    static HRESULT STDAPICALLTYPE createPresentationDescriptor(DWORD count, IMFStreamDescriptor** descriptors,
                                                               IMFPresentationDescriptor** result);

    void hold() {
        const std::lock_guard guard(seamMutex);
        isHolding_ = true;
    }
    void release() {
        std::vector<HeldItem> items;
        {
            const std::lock_guard guard(seamMutex);
            isHolding_ = false;
            items.swap(held_);
        }
        for (const HeldItem& item : items) {
            MFPutWorkItemEx(item.queue, item.result.Get());
        }
    }

    std::vector<DWORD> takeWorkQueues() {
        const std::lock_guard guard(seamMutex);
        return std::exchange(workQueues_, {});
    }

private:
    /// A work item as Media Foundation itself keeps it, so that its state is counted there alone.
    struct HeldItem {
        DWORD queue;
        ComPtr<IMFAsyncResult> result;
    };

    ImportPatch<decltype(&MFPutWorkItem)> putWorkItem_{"MFPutWorkItem", putWorkItem};
    ImportPatch<decltype(&MFCreateAsyncResult)> createAsyncResult_{"MFCreateAsyncResult", createAsyncResult};
    ImportPatch<decltype(&MFInvokeCallback)> invokeCallback_{"MFInvokeCallback", invokeCallback};
    ImportPatch<decltype(&MFCreateEventQueue)> createEventQueue_{"MFCreateEventQueue", createEventQueue};
    ImportPatch<decltype(&MFCreateMediaEvent)> createMediaEvent_{"MFCreateMediaEvent", createMediaEvent};
    ImportPatch<decltype(&MFCreatePresentationDescriptor)> createPresentationDescriptor_{
        "MFCreatePresentationDescriptor", createPresentationDescriptor};
    bool isHolding_ = false;
    std::vector<HeldItem> held_;
    std::vector<DWORD> workQueues_;
};

Seam seam;

HRESULT STDAPICALLTYPE Seam::putWorkItem(DWORD queue, IMFAsyncCallback* callback, IUnknown* state) {
    const HRESULT fault = faultNow(MediaFoundationCall::putWorkItem);
    const std::lock_guard guard(seamMutex);
    seam.workQueues_.push_back(queue);
    if (FAILED(fault)) {
        return fault;
    }
    if (!seam.isHolding_) {
        return seam.putWorkItem_.callOriginal(queue, callback, state);
    }
    HeldItem& item = seam.held_.emplace_back(HeldItem{queue, {}});
    return seam.createAsyncResult_.callOriginal(nullptr, callback, state, item.result.GetAddressOf());
}

HRESULT STDAPICALLTYPE Seam::createAsyncResult(IUnknown* object, IMFAsyncCallback* callback, IUnknown* state,
                                               IMFAsyncResult** result) {
    const HRESULT fault = faultNow(MediaFoundationCall::createAsyncResult);
    return FAILED(fault) ? fault : seam.createAsyncResult_.callOriginal(object, callback, state, result);
}

HRESULT STDAPICALLTYPE Seam::invokeCallback(IMFAsyncResult* result) {
    const HRESULT fault = faultNow(MediaFoundationCall::invokeCallback);
    return FAILED(fault) ? fault : seam.invokeCallback_.callOriginal(result);
}

HRESULT STDAPICALLTYPE Seam::createEventQueue(IMFMediaEventQueue** queue) {
    const HRESULT fault = faultNow(MediaFoundationCall::createEventQueue);
    if (FAILED(fault)) {
        return fault;
    }
    ComPtr<IMFMediaEventQueue> inner;
    const HRESULT result = seam.createEventQueue_.callOriginal(inner.GetAddressOf());
    if (SUCCEEDED(result)) {
        *queue = new RecordingEventQueue(inner);
    }
    return result;
}

HRESULT STDAPICALLTYPE Seam::createMediaEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                              const PROPVARIANT* value, IMFMediaEvent** event) {
    const HRESULT fault = faultNow(MediaFoundationCall::createMediaEvent);
    if (FAILED(fault)) {
        return fault;
    }
    const HRESULT result = seam.createMediaEvent_.callOriginal(type, extendedType, status, value, event);
    failMethod<MediaFoundationCall::setEventAttribute>(**event, slotOf(&IMFMediaEvent::SetUINT64));
    return result;
}

HRESULT STDAPICALLTYPE Seam::createPresentationDescriptor(DWORD count, IMFStreamDescriptor** descriptors,
                                                          IMFPresentationDescriptor** result) {
    const HRESULT fault = faultNow(MediaFoundationCall::createPresentationDescriptor);
    if (FAILED(fault)) {
        return fault;
    }
    const HRESULT outcome = seam.createPresentationDescriptor_.callOriginal(count, descriptors, result);
    failMethod<MediaFoundationCall::setDescriptorAttribute>(**result, slotOf(&IMFPresentationDescriptor::SetUINT64));
    failMethod<MediaFoundationCall::selectStream>(**result, slotOf(&IMFPresentationDescriptor::SelectStream));
    failMethod<MediaFoundationCall::cloneDescriptor>(**result, slotOf(&IMFPresentationDescriptor::Clone));
    return outcome;
}

} // namespace

MediaFoundationFault::MediaFoundationFault(MediaFoundationCall call, HRESULT result, unsigned after) : call_(call) {
    const std::lock_guard guard(seamMutex);
    faultOf(call) = {result, after};
}

MediaFoundationFault::~MediaFoundationFault() {
    const std::lock_guard guard(seamMutex);
    faultOf(call_) = {};
}

WorkItemHold::WorkItemHold() {
    seam.hold();
}

WorkItemHold::~WorkItemHold() {
    seam.release();
}

std::vector<DWORD> takeWorkQueues() {
    return seam.takeWorkQueues();
}

EventLog::EventLog(std::vector<std::string> queueNames) {
    eventRecord.start(std::move(queueNames));
}

EventLog::~EventLog() {
    eventRecord.stop();
}

std::vector<std::string> EventLog::take() {
    return eventRecord.take();
}

void EventLog::refuse(const std::string& queueName, MediaEventType type, HRESULT result) {
    eventRecord.refuse(queueName, type, result);
}

} // namespace JY::Test
