#pragma once

#include "com/ComUnknownBase.h"
#include "flv/FlvMetaData.h"
#include "streams/StreamSource.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace JY::Test {

/// A media source that keeps what is queued on it.
class FakeMediaSource final : public Pictaro::ComUnknownBase<IMFMediaSource> {
public:
    struct Event {
        MediaEventType type;
        GUID extendedType;
        HRESULT status;
        const PROPVARIANT* value;
    };

    explicit FakeMediaSource(Pictaro::ModuleUsageCounter& counter) : ComUnknownBase(counter) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                         const PROPVARIANT* value) override;
    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePresentationDescriptor(IMFPresentationDescriptor**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Stop() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Pause() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Shutdown() override { return E_NOTIMPL; }

    std::vector<Event> events;
    HRESULT queryResult = S_OK;
    HRESULT queueEventResult = S_OK;
};

/// The owner of the streams under test.
class FakeSource final : public Pictaro::Fs::StreamSource {
public:
    explicit FakeSource(Pictaro::ModuleUsageCounter& counter)
        : mediaSource_(Pictaro::createObject<FakeMediaSource>(counter)) {}

    Pictaro::Fs::SourceStateId getStateId() const override { return state; }
    Pictaro::Fs::MetaDatum getMetaDatum(const std::string& name) const override;
    std::uint32_t getNumDumpBin() override { return numDumpBin; }
    FakeMediaSource& mediaSource() override { return *mediaSource_.Get(); }

    Pictaro::Fs::SourceStateId state = Pictaro::Fs::SourceStateId::started;
    /// 320 x 240 pixels at 25 frames a second.
    std::map<std::string, Pictaro::Fs::MetaDatum> metaData = {
        {"framerate", 25.0L}, {"width", 320.0L}, {"height", 240.0L}};
    std::uint32_t numDumpBin = 32;

private:
    Microsoft::WRL::ComPtr<FakeMediaSource> mediaSource_;
};

} // namespace JY::Test
