#include "tests/stress/Control.h"

#include "tests/source/ClientObjects.h"
#include "tests/stress/HeapObject.h"
#include "tests/stress/ProcessUse.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

namespace {

constexpr unsigned repetitions = 20'000;
constexpr unsigned warmUp = 2'000;

/// A callback that is told how often it was called.
class CountingCallback final : public HeapObject<IMFAsyncCallback> {
public:
    explicit CountingCallback(std::atomic<unsigned>& calls) : calls_(calls) {}
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override {
        ++calls_;
        return S_OK;
    }

private:
    std::atomic<unsigned>& calls_;
};

std::atomic<unsigned> calls{0};

void awaitCall(unsigned before) {
    while (calls == before) {
        Sleep(0);
    }
}

void putWorkItem() {
    const unsigned before = calls;
    MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, makeHeapObject<CountingCallback>(calls).Get(),
                  makeHeapObject<HeapToken>().Get());
    awaitCall(before);
}

void invokeCallback() {
    const unsigned before = calls;
    ComPtr<IMFAsyncResult> result;
    MFCreateAsyncResult(nullptr, makeHeapObject<CountingCallback>(calls).Get(), nullptr, result.GetAddressOf());
    MFInvokeCallback(result.Get());
    awaitCall(before);
}

void takeEventInCallback() {
    const unsigned before = calls;
    ComPtr<IMFMediaEventQueue> queue;
    MFCreateEventQueue(queue.GetAddressOf());
    queue->BeginGetEvent(makeHeapObject<CountingCallback>(calls).Get(), nullptr);
    queue->QueueEventParamVar(MEExtendedType, GUID_NULL, S_OK, nullptr);
    awaitCall(before);
    queue->Shutdown();
}

void takeEvent() {
    ComPtr<IMFMediaEventQueue> queue;
    MFCreateEventQueue(queue.GetAddressOf());
    queue->QueueEventParamVar(MEExtendedType, GUID_NULL, S_OK, nullptr);
    ComPtr<IMFMediaEvent> event;
    queue->GetEvent(0, event.GetAddressOf());
    queue->Shutdown();
}

void makeSample() {
    ComPtr<IMFSample> sample;
    ComPtr<IMFMediaBuffer> buffer;
    MFCreateSample(sample.GetAddressOf());
    MFCreateMemoryBuffer(1000, buffer.GetAddressOf());
    sample->AddBuffer(buffer.Get());
    sample->SetUINT32(MFSampleExtension_CleanPoint, TRUE);
}

void makeDescriptor() {
    ComPtr<IMFMediaType> type;
    MFCreateMediaType(type.GetAddressOf());
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    ComPtr<IMFStreamDescriptor> stream;
    MFCreateStreamDescriptor(1, 1, type.GetAddressOf(), stream.GetAddressOf());
    ComPtr<IMFPresentationDescriptor> presentation;
    MFCreatePresentationDescriptor(1, stream.GetAddressOf(), presentation.GetAddressOf());
    ComPtr<IMFPresentationDescriptor> clone;
    presentation->Clone(clone.GetAddressOf());
}

void runThread() {
    std::thread([] {}).join();
}

struct Call {
    const char* name;
    void (*make)();
};

void measure(const Call& call, Watchdog::Watch& watch) {
    const auto repeat = [&](unsigned count) {
        for (unsigned index = 0; index < count; ++index) {
            call.make();
            watch.beat();
        }
    };
    repeat(warmUp);
    const ProcessUse before = measureAtRest();
    watch.beat();
    repeat(repetitions);
    const ProcessUse after = measureAtRest();
    watch.beat();
    const auto each = [](std::size_t first, std::size_t last) {
        return (static_cast<double>(last) - static_cast<double>(first)) / repetitions;
    };
    std::printf("%s: %+.1f private bytes, %+.1f in heaps, %+.4f handles each\n", call.name,
                each(before.privateBytes, after.privateBytes), each(before.heapBytes, after.heapBytes),
                each(before.handles, after.handles));
    std::fflush(stdout);
}

} // namespace

void measureSystem(Watchdog& watchdog) {
    Watchdog::Watch watch(watchdog, "control");
    for (const Call& call :
         {Call{"work item", putWorkItem}, Call{"callback", invokeCallback},
          Call{"event in a callback", takeEventInCallback}, Call{"event", takeEvent}, Call{"sample", makeSample},
          Call{"descriptor", makeDescriptor}, Call{"thread", runThread}}) {
        measure(call, watch);
    }
}

double bytesLostWithAWorkItem() {
    constexpr unsigned rounds = 2'000;
    const auto repeat = [](unsigned count) {
        for (unsigned index = 0; index < count; ++index) {
            putWorkItem();
            invokeCallback();
            takeEventInCallback();
        }
        Sleep(100); // the last callback returns
    };
    repeat(rounds / 10);
    const auto before = static_cast<double>(usedHeapBytes());
    repeat(rounds);
    return std::max(0.0, (static_cast<double>(usedHeapBytes()) - before) / (3 * rounds));
}

} // namespace JY::Test
