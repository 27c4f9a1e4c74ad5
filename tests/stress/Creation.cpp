#include "tests/stress/Creation.h"

#include "tests/stress/Findings.h"
#include "tests/stress/WorkItems.h"
#include "tests/support/Position.h"

#include <utility>

namespace JY::Test {

using Findings::expectOneOf;
using Microsoft::WRL::ComPtr;

Creation::Creation(ComPtr<IMFByteStreamHandler> handler, Answer answer, bool isFilm)
    : handler_(std::move(handler)), answer_(answer), isFilm_(isFilm) {}

void Creation::begin(const std::wstring& url) {
    const auto bytes = makeHeapObject<HeapToken>(); // in the place of a byte stream, which is not used
    const auto state = makeHeapObject<HeapToken>();
    const auto handler = handler_; // the callback may come, and give its own back, before this returns
    const HRESULT begun =
        handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(bytes.Get())), url.c_str(),
                                   MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr, this, state.Get());
    workItems += 2;
    expectOneOf("BeginCreateObject", begun, {S_OK});
    expectOneOf("CancelObjectCreation", handler->CancelObjectCreation(state.Get()), {E_NOTIMPL});
    if (FAILED(begun)) {
        SetEvent(answered_.get());
    }
}

ComPtr<IMFMediaSource> Creation::end() {
    WaitForSingleObject(answered_.get(), INFINITE);
    return std::move(source_);
}

HRESULT Creation::Invoke(IMFAsyncResult* result) {
    expectOneOf("the status of a creation", result->GetStatus(), {S_OK});
    auto source = answer_ != Answer::leaveUnread ? endInside(*result) : nullptr;
    if (source != nullptr) {
        if (answer_ == Answer::handOver) {
            source_ = std::move(source);
        } else if (answer_ == Answer::shutDown) {
            expectOneOf("Shutdown inside the callback", source->Shutdown(), {S_OK});
        } else if (answer_ == Answer::start) {
            startAndRelease(std::move(source));
        }
    }
    source.Reset();
    handler_.Reset();
    SetEvent(answered_.get());
    return S_OK;
}

ComPtr<IMFMediaSource> Creation::endInside(IMFAsyncResult& result) {
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    const HRESULT ended = handler_->EndCreateObject(&result, &type, object.GetAddressOf());
    // The failure is the result object's own: it holds none.
    expectOneOf("EndCreateObject", ended, {isFilm_ ? S_OK : E_POINTER});
    ComPtr<IMFMediaSource> source;
    if (SUCCEEDED(ended)) {
        expectOneOf("QueryInterface of a new source", object.As(&source), {S_OK});
    }
    return source;
}

void Creation::startAndRelease(ComPtr<IMFMediaSource> source) const {
    ComPtr<IMFPresentationDescriptor> descriptor;
    expectOneOf("CreatePresentationDescriptor inside the callback",
                source->CreatePresentationDescriptor(descriptor.GetAddressOf()), {S_OK});
    ++workItems;
    expectOneOf("Start inside the callback", source->Start(descriptor.Get(), nullptr, Position().get()), {S_OK});
}

} // namespace JY::Test
