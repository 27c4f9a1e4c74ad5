#pragma once

#include "tests/support/Faults.h"

#include <mfobjects.h>
#include <windows.h>

namespace JY::Test {

/// A client's object that faults whenever it is let go, as one does that was freed too early. Serves as a callback, a
/// state or a token.
class FaultyCallback final : public IMFAsyncCallback {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** result) override {
        *result = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_ + 1; }
    ULONG STDMETHODCALLTYPE Release() override {
        ++releases;
        return static_cast<ULONG>(readFrom(nullptr));
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override { return E_NOTIMPL; }

    unsigned releases = 0;

private:
    ULONG references_ = 0;
};

} // namespace JY::Test
