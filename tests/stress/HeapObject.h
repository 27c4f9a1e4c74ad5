#pragma once

#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <utility>

namespace JY::Test {

/// How many objects of the clients are alive; those that the module forgets to release stay.
inline std::atomic<unsigned> liveHeapObjects{0};

/// An object of a client that goes with its last reference. Make it with `makeHeapObject`. Any
/// thread.
template <class Interface>
class HeapObject : public Interface {
public:
    HeapObject(const HeapObject&) = delete;
    HeapObject& operator=(const HeapObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** result) override {
        if (riid != IID_IUnknown && riid != __uuidof(Interface)) {
            *result = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *result = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    HeapObject() { ++liveHeapObjects; }
    virtual ~HeapObject() { --liveHeapObjects; }

private:
    std::atomic<ULONG> references_{0};
};

template <class T, class... Arguments>
Microsoft::WRL::ComPtr<T> makeHeapObject(Arguments&&... arguments) {
    return Microsoft::WRL::ComPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

/// A token or a state, without a meaning of its own.
class HeapToken final : public HeapObject<IUnknown> {};

} // namespace JY::Test
