#include "tests/streams/MediaFoundationCalls.h"

#include "tests/streams/MediaFoundationObjects.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/VirtualTable.h"

#include <mfapi.h>
#include <mfidl.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace JY::Test {

namespace {

using Call = MediaFoundationCall;
using Microsoft::WRL::ComPtr;

struct Fault {
    Call call;
    HRESULT result;
    unsigned after;
};

std::vector<Fault> faults;
std::vector<DWORD> bufferSizes;
bool areObjectsKept = false;
std::vector<ComPtr<IUnknown>> keptObjects;

Fault* faultOf(Call call) {
    const auto found = std::ranges::find(faults, call, &Fault::call);
    return found != faults.end() ? &*found : nullptr;
}

bool isToFail(Call call) {
    return faultOf(call) != nullptr;
}

/// S_OK, or the failure that the call is to have this time.
HRESULT faultNow(Call call) {
    Fault* const fault = faultOf(call);
    if (fault == nullptr) {
        return S_OK;
    }
    if (fault->after != 0) {
        --fault->after;
        return S_OK;
    }
    return fault->result;
}

/// Takes the place of a method, whatever its arguments. Also of an object that outlives the fault.
template <Call call>
HRESULT STDMETHODCALLTYPE fail(void*) {
    const Fault* const fault = faultOf(call);
    return fault != nullptr ? fault->result : E_UNEXPECTED;
}

/// Replaces a method of the object and gives the one before.
template <class Interface, class Function>
Function* replaceMethod(Interface& object, std::size_t slot, Function* replacement) {
    static VirtualTable<Interface> table;
    return table.replace(object, slot, replacement);
}

template <Call call, class Interface>
void failIf(Interface& object, std::size_t slot) {
    if (isToFail(call)) {
        replaceMethod(object, slot, fail<call>);
    }
}

/// A method of IMFAttributes that sets a value: given by address, number or both.
using Setter = HRESULT STDMETHODCALLTYPE(void* object, const GUID* key, std::uintptr_t value, std::uintptr_t size);
template <std::size_t slot>
Setter* originalSetter;

template <std::size_t slot>
HRESULT STDMETHODCALLTYPE setAttribute(void* object, const GUID* key, std::uintptr_t value, std::uintptr_t size) {
    const HRESULT result = faultNow(Call::setAttribute);
    return FAILED(result) ? result : originalSetter<slot>(object, key, value, size);
}

template <std::size_t slot>
void replaceSetter(IMFMediaType& type) {
    originalSetter<slot> = replaceMethod(type, slot, setAttribute<slot>);
}

class Seam {
public:
    static HRESULT STDAPICALLTYPE createMediaType(IMFMediaType** result);
    static HRESULT STDAPICALLTYPE createStreamDescriptor(DWORD id, DWORD count, IMFMediaType** types,
                                                         IMFStreamDescriptor** result);
    static HRESULT STDAPICALLTYPE createMemoryBuffer(DWORD size, IMFMediaBuffer** result);
    static HRESULT STDAPICALLTYPE createSample(IMFSample** result);
    static HRESULT STDAPICALLTYPE createEventQueue(IMFMediaEventQueue** result);

private:
    ImportPatch<decltype(&MFCreateMediaType)> createMediaType_{"MFCreateMediaType", createMediaType};
    ImportPatch<decltype(&MFCreateStreamDescriptor)> createStreamDescriptor_{"MFCreateStreamDescriptor",
                                                                             createStreamDescriptor};
    ImportPatch<decltype(&MFCreateMemoryBuffer)> createMemoryBuffer_{"MFCreateMemoryBuffer", createMemoryBuffer};
    ImportPatch<decltype(&MFCreateSample)> createSample_{"MFCreateSample", createSample};
    ImportPatch<decltype(&MFCreateEventQueue)> createEventQueue_{"MFCreateEventQueue", createEventQueue};
};

Seam seam;

/// Calls Media Foundation, and lets `prepare(object)` see what it made.
template <class Create, class Interface, class Prepare>
HRESULT create(Call call, const Create& original, Interface** result, const Prepare& prepare) {
    if (const Fault* const fault = faultOf(call)) {
        return fault->result;
    }
    const HRESULT outcome = original();
    if (SUCCEEDED(outcome)) {
        prepare(**result);
        if (areObjectsKept) {
            keptObjects.emplace_back(*result);
        }
    }
    return outcome;
}

HRESULT STDAPICALLTYPE Seam::createMediaType(IMFMediaType** result) {
    return create(
        Call::createMediaType, [&] { return seam.createMediaType_.callOriginal(result); }, result,
        [](IMFMediaType& type) {
            if (isToFail(Call::setAttribute)) {
                replaceSetter<21>(type); // SetUINT32
                replaceSetter<22>(type); // SetUINT64
                replaceSetter<24>(type); // SetGUID
                replaceSetter<26>(type); // SetBlob
            }
        });
}

HRESULT STDAPICALLTYPE Seam::createStreamDescriptor(DWORD id, DWORD count, IMFMediaType** types,
                                                    IMFStreamDescriptor** result) {
    return create(
        Call::createStreamDescriptor,
        [&] { return seam.createStreamDescriptor_.callOriginal(id, count, types, result); }, result,
        [](IMFStreamDescriptor& descriptor) {
            if (isToFail(Call::setCurrentMediaType)) {
                ComPtr<IMFMediaTypeHandler> handler; // a part of the descriptor
                descriptor.GetMediaTypeHandler(handler.GetAddressOf());
                failIf<Call::setCurrentMediaType>(*handler.Get(), 6);
            }
            failIf<Call::getMediaTypeHandler>(descriptor, 34);
        });
}

HRESULT STDAPICALLTYPE Seam::createMemoryBuffer(DWORD size, IMFMediaBuffer** result) {
    bufferSizes.push_back(size);
    return create(
        Call::createMemoryBuffer, [&] { return seam.createMemoryBuffer_.callOriginal(size, result); }, result,
        [](IMFMediaBuffer& buffer) {
            failIf<Call::lockBuffer>(buffer, 3);
            failIf<Call::unlockBuffer>(buffer, 4);
            failIf<Call::setCurrentLength>(buffer, 6);
        });
}

HRESULT STDAPICALLTYPE Seam::createSample(IMFSample** result) {
    return create(
        Call::createSample, [&] { return seam.createSample_.callOriginal(result); }, result,
        [](IMFSample& sample) {
            failIf<Call::setUnknown>(sample, 27);
            failIf<Call::setSampleTime>(sample, 36);
            failIf<Call::setSampleDuration>(sample, 38);
            failIf<Call::addBuffer>(sample, 42);
        });
}

HRESULT STDAPICALLTYPE Seam::createEventQueue(IMFMediaEventQueue** result) {
    return create(
        Call::createEventQueue, [&] { return seam.createEventQueue_.callOriginal(result); }, result,
        [](IMFMediaEventQueue& queue) {
            failIf<Call::queueEventParamVar>(queue, 7);
            failIf<Call::queueEventParamUnk>(queue, 8);
        });
}

} // namespace

MediaFoundationFault::MediaFoundationFault(MediaFoundationCall call, HRESULT result, unsigned after) {
    faults.push_back({call, result, after});
}

MediaFoundationFault::~MediaFoundationFault() {
    faults.pop_back();
}

std::vector<DWORD> takeBufferSizes() {
    return std::exchange(bufferSizes, {});
}

MediaFoundationObjects::MediaFoundationObjects() {
    areObjectsKept = true;
}

MediaFoundationObjects::~MediaFoundationObjects() {
    areObjectsKept = false;
    keptObjects.clear();
}

std::size_t MediaFoundationObjects::count() {
    return keptObjects.size();
}

// The youngest first: it may hold older ones.
std::size_t MediaFoundationObjects::releaseAll() {
    std::size_t held = 0;
    while (!keptObjects.empty()) {
        held += keptObjects.back().Reset() != 0 ? 1 : 0;
        keptObjects.pop_back();
    }
    return held;
}

} // namespace JY::Test
