#pragma once

#include <mfobjects.h>
#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

/// Objects as a client hands them in.
namespace JY::Test {

/// Longer than anything takes here.
constexpr std::chrono::seconds patience{10};

/// Whether `condition` becomes true in time.
template <class Condition>
bool becomesTrue(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// Reference counting for the objects below, which live on the stack or in members: nothing is deleted. Any thread.
template <class Interface>
class ClientObject : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** result) override {
        if (riid != IID_IUnknown && riid != __uuidof(Interface)) {
            *result = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *result = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override { return --references_; }

    /// The references that others hold.
    ULONG references() const { return references_; }
    bool becomesUnreferenced() const {
        return becomesTrue([this] { return references_ == 0; });
    }

private:
    std::atomic<ULONG> references_{0};
};

/// An object without a meaning of its own: a state or a token.
class ClientState final : public ClientObject<IUnknown> {};

/// A token through which a client comes back while a sample is being sent, under the source lock.
class CallingToken final : public ClientObject<IUnknown> {
public:
    explicit CallingToken(std::function<void()> call) : call_(std::move(call)) {}
    ULONG STDMETHODCALLTYPE AddRef() override {
        const ULONG count = ClientObject::AddRef();
        if (++addedReferences_ == 2) { // the first is the stream's own, the second the sample's
            call_();
        }
        return count;
    }

private:
    std::function<void()> call_;
    unsigned addedReferences_ = 0;
};

/// A callback that keeps the last result that it was called with. Any thread.
class ClientCallback final : public ClientObject<IMFAsyncCallback> {
public:
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override {
        {
            const std::lock_guard guard(mutex_);
            result_ = result;
        }
        ++calls_;
        return S_OK;
    }

    unsigned calls() const { return calls_; }
    bool becomesCalled() const {
        return becomesTrue([this] { return calls_ != 0; });
    }
    /// Whether nothing refers to the callback in the end, whatever results it is called with until then.
    bool becomesForgotten() {
        return becomesTrue([this] {
            takeResult();
            return references() == 0;
        });
    }
    /// The last result, which is then forgotten here: it refers to the callback.
    Microsoft::WRL::ComPtr<IMFAsyncResult> takeResult() {
        const std::lock_guard guard(mutex_);
        Microsoft::WRL::ComPtr<IMFAsyncResult> result;
        result.Swap(result_);
        return result;
    }

private:
    std::atomic<unsigned> calls_{0};
    std::mutex mutex_;
    Microsoft::WRL::ComPtr<IMFAsyncResult> result_;
};

/// An asynchronous result whose state and object are made up.
class ClientAsyncResult final : public ClientObject<IMFAsyncResult> {
public:
    HRESULT getStateResult = S_OK;
    IUnknown* state = nullptr;
    HRESULT getObjectResult = S_OK;
    IUnknown* object = nullptr;

    HRESULT STDMETHODCALLTYPE GetState(IUnknown** result) override { return give(getStateResult, state, result); }
    HRESULT STDMETHODCALLTYPE GetStatus() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetStatus(HRESULT) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetObject(IUnknown** result) override { return give(getObjectResult, object, result); }
    IUnknown* STDMETHODCALLTYPE GetStateNoAddRef() override { return state; }

private:
    static HRESULT give(HRESULT outcome, IUnknown* unknown, IUnknown** result) {
        *result = nullptr;
        if (SUCCEEDED(outcome) && unknown != nullptr) {
            unknown->AddRef();
            *result = unknown;
        }
        return outcome;
    }
};

} // namespace JY::Test
