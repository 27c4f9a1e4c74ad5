#pragma once

#include "com/ClientReference.h"
#include "com/ComCall.h"
#include "source/AsyncCallParam.h"
#include "util/ApiErrorException.h"
#include "util/SharedLock.h"

#include <mfapi.h>
#include <windows.h>

#include <mutex>
#include <typeinfo>

namespace JY::Pictaro::Fs {

/// Lets its owner run one of the owner's member functions on Media Foundation's multithreaded work queue and, when
/// there is a callback, tells it when that is done. A member of its owner: a reference to the caller is a reference to
/// the owner, so a queued call keeps the owner alive. Any thread.
template <class T>
class AsyncCaller final : public IMFAsyncCallback {
public:
    /// The work: gets the call's argument, and may leave an object for the completion's result in `*result`, which
    /// starts null. A failing HRESULT is only logged; the completion does not carry it.
    using Callee = HRESULT (T::*)(IUnknown* argument, IUnknown** result);

    AsyncCaller(T& owner, Callee callee) : owner_(owner), callee_(callee) {}
    AsyncCaller(const AsyncCaller&) = delete;
    AsyncCaller& operator=(const AsyncCaller&) = delete;
    ~AsyncCaller() = default;

    /// Queues the call and returns the queue's result. The completion goes to `callback` and carries `state`; the
    /// callee gets `argument`. Each may be null.
    HRESULT doCallAsync(IMFAsyncCallback* callback, IUnknown* state, Microsoft::WRL::ComPtr<IUnknown> argument);
    /// The same without a completion.
    HRESULT doCallAsync(Microsoft::WRL::ComPtr<IUnknown> argument) {
        return doCallAsync(nullptr, nullptr, std::move(argument));
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
        return queryUnknownOnly(here(), *this, riid, ppv);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD* flags, DWORD* queue) override;
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* pAsyncResult) override;

private:
    static constexpr SourceFile here{"ASyncCaller"};

    Microsoft::WRL::ComPtr<AsyncCallParam> takeParam(IMFAsyncResult& asyncResult);
    Microsoft::WRL::ComPtr<IUnknown> runCallee(const AsyncCallParam& param, const Log2::Logger& log);
    HRESULT complete(const AsyncCallParam& param, IUnknown* resultObject, const Log2::Logger& log);

    T& owner_;
    const Callee callee_;
    SharedLock queueing_; ///< held until a queued parameter, whose count is plain, is in the queue's hands alone
};

template <class T>
HRESULT AsyncCaller<T>::doCallAsync(IMFAsyncCallback* callback, IUnknown* state,
                                    Microsoft::WRL::ComPtr<IUnknown> argument) {
    const Log2::Logger trace = Log2::traceMember(here(), typeid(*this), "doCallAsync");
    auto param = createParam<AsyncCallParam>(callback, state, std::move(argument));
    const std::lock_guard guard(queueing_);
    const HRESULT result = MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, this, param.Get());
    if (SUCCEEDED(result)) {
        param.Reset(); // what could not be queued goes behind the lock: it may call the client
    }
    return result;
}

template <class T>
HRESULT STDMETHODCALLTYPE AsyncCaller<T>::GetParameters(DWORD*, DWORD*) {
    return comCall({here(), &typeid(*this), "GetParameters"}, [](const ComCall&) { return E_NOTIMPL; });
}

template <class T>
HRESULT STDMETHODCALLTYPE AsyncCaller<T>::Invoke(IMFAsyncResult* pAsyncResult) {
    return comCall({here(), &typeid(*this), "Invoke"}, {{"pAsyncResult", pAsyncResult}},
                   [&](const ComCall& call) -> HRESULT {
                       const auto held = takeParam(*pAsyncResult);
                       const AsyncCallParam& param = *held.Get();
                       const auto resultObject = runCallee(param, call.log());
                       if (param.callback() == nullptr) {
                           call.log().info(here()) << "No callback return.";
                           return S_OK;
                       }
                       return complete(param, resultObject.Get(), call.log());
                   });
}

template <class T>
Microsoft::WRL::ComPtr<AsyncCallParam> AsyncCaller<T>::takeParam(IMFAsyncResult& asyncResult) {
    const std::lock_guard guard(queueing_);
    Microsoft::WRL::ComPtr<IUnknown> state;
    throwIfFailed(asyncResult.GetState(state.GetAddressOf()), here(), "GetState");
    if (state == nullptr) {
        throw ApiErrorException(here(), "GetState without a state", static_cast<std::uint32_t>(E_FAIL));
    }
    return static_cast<AsyncCallParam*>(state.Get()); // nobody but doCallAsync queues this caller
}

template <class T>
Microsoft::WRL::ComPtr<IUnknown> AsyncCaller<T>::runCallee(const AsyncCallParam& param, const Log2::Logger& log) {
    Microsoft::WRL::ComPtr<IUnknown> resultObject;
    const HRESULT result = (owner_.*callee_)(param.argument(), resultObject.GetAddressOf());
    if (FAILED(result)) {
        log.warn(here()) << ApiErrorException(here(), "(*callee)", static_cast<std::uint32_t>(result));
    }
    return resultObject;
}

template <class T>
HRESULT AsyncCaller<T>::complete(const AsyncCallParam& param, IUnknown* resultObject, const Log2::Logger& log) {
    ClientReference<IMFAsyncResult> completion; // may be the last to hold the client's callback and state
    const HRESULT status = MFCreateAsyncResult(resultObject, param.callback(), param.state(), completion.put());
    if (FAILED(status)) {
        log.warn(here()) << ApiErrorException(here(), "MFCreateAsyncResult", static_cast<std::uint32_t>(status));
        return status;
    }
    completion.get()->SetStatus(status); // a failed callee shows as a result without an object
    throwIfFailed(MFInvokeCallback(completion.get()), here(), "MFInvokeCallback");
    return S_OK;
}

} // namespace JY::Pictaro::Fs
