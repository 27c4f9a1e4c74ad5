#pragma once

#include "tools/Failure.h"
#include "tools/StreamReader.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <wrl/client.h>

#include <functional>
#include <vector>

namespace JY::Tools {

/// A sample with a time (100 ns) and one byte of content.
inline Microsoft::WRL::ComPtr<IMFSample> makeSample(LONGLONG time, BYTE content) {
    Microsoft::WRL::ComPtr<IMFMediaBuffer> buffer;
    check(MFCreateMemoryBuffer(1, buffer.GetAddressOf()), "MFCreateMemoryBuffer");
    BYTE* data = nullptr;
    check(buffer->Lock(&data, nullptr, nullptr), "Lock");
    *data = content;
    check(buffer->Unlock(), "Unlock");
    check(buffer->SetCurrentLength(1), "SetCurrentLength");
    Microsoft::WRL::ComPtr<IMFSample> sample;
    check(MFCreateSample(sample.GetAddressOf()), "MFCreateSample");
    check(sample->AddBuffer(buffer.Get()), "AddBuffer");
    check(sample->SetSampleTime(time), "SetSampleTime");
    return sample;
}

/// A media stream that answers each request by the next of the answers that a test gives it. It lives on the stack.
class FakeStream final : public IMFMediaStream {
public:
    /// Answers one request: queues events and gives the result of RequestSample.
    using Answer = std::function<HRESULT(FakeStream&)>;

    explicit FakeStream(std::vector<Answer> answers = {}) : answers_(std::move(answers)) {
        check(MFCreateEventQueue(events_.GetAddressOf()), "MFCreateEventQueue");
    }
    FakeStream(const FakeStream&) = delete;
    FakeStream& operator=(const FakeStream&) = delete;
    ~FakeStream() { events_->Shutdown(); }

    static Answer sample(LONGLONG time, BYTE content) {
        return [=](FakeStream& stream) { return stream.queueSample(time, content); };
    }
    /// The end is announced by an event and by the result.
    static Answer end() {
        return [](FakeStream& stream) {
            stream.queue(MEEndOfStream);
            return MF_E_END_OF_STREAM;
        };
    }
    static Answer result(HRESULT result) {
        return [=](FakeStream&) { return result; };
    }

    HRESULT queueSample(LONGLONG time, BYTE content) {
        return events_->QueueEventParamUnk(MEMediaSample, GUID_NULL, S_OK, makeSample(time, content).Get());
    }
    void queue(MediaEventType type, HRESULT status = S_OK) {
        check(events_->QueueEventParamVar(type, GUID_NULL, status, nullptr), "QueueEventParamVar");
    }
    std::size_t requests() const { return requests_; }

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetEvent(DWORD flags, IMFMediaEvent** event) override { return events_->GetEvent(flags, event); }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaSource(IMFMediaSource**) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamDescriptor(IMFStreamDescriptor**) override { return E_NOTIMPL; }
    STDMETHODIMP RequestSample(IUnknown*) override {
        const std::size_t request = requests_++;
        return request < answers_.size() ? answers_[request](*this) : MF_E_INVALIDREQUEST;
    }

private:
    std::vector<Answer> answers_;
    std::size_t requests_ = 0;
    Microsoft::WRL::ComPtr<IMFMediaEventQueue> events_;
};

} // namespace JY::Tools
