// Takes the place of Media Foundation's function for the buffers of samples in a library that is linked with
// --wrap=MFCreateMemoryBuffer, so that writing behind a sample faults as well.

#include "tests/fuzz/GuardedHeap.h"

#include <mfapi.h>
#include <windows.h>

#include <atomic>
#include <new>

namespace {

using JY::Fuzz::GuardedHeap;

constexpr std::size_t pages = std::size_t{1} << 18; ///< of address space
constexpr std::size_t alignment = 16;

constinit union NeverDestroyedHeap {
    constexpr NeverDestroyedHeap() : heap(pages) {}
    ~NeverDestroyedHeap() {}
    GuardedHeap heap; // clients may keep samples
} guarded;

class GuardedBuffer final : public IMFMediaBuffer {
public:
    GuardedBuffer(void* data, DWORD size) : data_(static_cast<BYTE*>(data)), size_(size) {}
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** result) override {
        *result = nullptr;
        if (!IsEqualGUID(riid, IID_IUnknown) && !IsEqualGUID(riid, IID_IMFMediaBuffer)) {
            return E_NOINTERFACE;
        }
        AddRef();
        *result = this;
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
    HRESULT STDMETHODCALLTYPE Lock(BYTE** data, DWORD* room, DWORD* length) override {
        *data = data_;
        if (room != nullptr) {
            *room = size_;
        }
        if (length != nullptr) {
            *length = length_;
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Unlock() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetCurrentLength(DWORD* length) override {
        *length = length_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetCurrentLength(DWORD length) override {
        if (length > size_) {
            return E_INVALIDARG;
        }
        length_ = length;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetMaxLength(DWORD* room) override {
        *room = size_;
        return S_OK;
    }

private:
    ~GuardedBuffer() { guarded.heap.free(data_); }

    std::atomic<ULONG> references_{1};
    BYTE* data_;
    DWORD size_;
    DWORD length_ = 0;
};

} // namespace

extern "C" {
// The names are the linker's.
HRESULT WINAPI __real_MFCreateMemoryBuffer(DWORD size, IMFMediaBuffer** buffer); // NOLINT(bugprone-reserved-identifier)

HRESULT WINAPI __wrap_MFCreateMemoryBuffer(DWORD size,
                                           IMFMediaBuffer** buffer) { // NOLINT(bugprone-reserved-identifier)
    void* const data = guarded.heap.allocate(size, alignment);
    if (data == nullptr) {
        return __real_MFCreateMemoryBuffer(size, buffer);
    }
    *buffer = new GuardedBuffer(data, size);
    return S_OK;
}
}
