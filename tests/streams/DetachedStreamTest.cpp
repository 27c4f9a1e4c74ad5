#include "com/ComCall.h"
#include "tests/streams/StreamTest.h"
#include "tests/support/Faults.h"
#include "tests/support/FaultyCallback.h"
#include "tests/support/ImportPatch.h"

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;

constexpr SourceFile here{"DetachedStreamTest"};

/// Faults when it is shut down, as a queue does that lets go of a client's broken object.
class FaultingQueue final : public IMFMediaEventQueue {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueueEvent(IMFMediaEvent*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueueEventParamVar(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE QueueEventParamUnk(MediaEventType, REFGUID, HRESULT, IUnknown*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Shutdown() override {
        ++shutdowns;
        return readFrom(nullptr);
    }

    unsigned shutdowns = 0;
};

FaultingQueue faultingQueue;

HRESULT STDAPICALLTYPE giveFaultingQueue(IMFMediaEventQueue** queue) {
    *queue = &faultingQueue;
    return S_OK;
}

class DetachedStreamTest : public StreamTest {};

TEST_F(DetachedStreamTest, IsCutLooseThoughAnObjectInItsQueueFaults) {
    const ImportPatch<decltype(&MFCreateEventQueue)> patch("MFCreateEventQueue", &giveFaultingQueue);
    const auto stream = createStream<FlvAudioStream>();
    EXPECT_EQ(comCall({here(), nullptr, "test"},
                      [&](const ComCall&) {
                          stream->detachFromSource();
                          return S_OK;
                      }),
              S_OK);
    EXPECT_EQ(faultingQueue.shutdowns, 1U);
    ComPtr<IMFMediaSource> owner;
    EXPECT_EQ(stream->GetMediaSource(owner.GetAddressOf()), MF_E_SHUTDOWN);
    EXPECT_EQ(stream->RequestSample(nullptr), MF_E_SHUTDOWN);
}

TEST_F(DetachedStreamTest, OutlivesClientsObjectsThatFaultWhenTheyAreLetGo) {
    const auto stream = createStream<FlvAudioStream>();
    stream->detachFromSource();
    FaultyCallback object;
    EXPECT_EQ(stream->BeginGetEvent(&object, &object), MF_E_SHUTDOWN);
    EXPECT_EQ(object.releases, 2U);
    EXPECT_EQ(stream->RequestSample(&object), MF_E_SHUTDOWN);
    EXPECT_EQ(object.releases, 3U);
}

} // namespace
