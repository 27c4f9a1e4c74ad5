#pragma once

#include "util/SourcePosition.h"

#include <windows.h>
#include <wrl/client.h>

#include <utility>

namespace JY::Pictaro::Fs {

/// Answers QueryInterface for an object that is IUnknown and nothing else: a reference is added for IID_IUnknown,
/// every other interface gets E_NOINTERFACE.
HRESULT queryUnknownOnly(SourcePosition position, IUnknown& object, REFIID riid, void** ppv);

/// Base of the small objects that carry one asynchronous call's data. Not for two threads at once: the count is plain,
/// so whoever queues such an object lets go of it before another thread takes it up. The count starts at 0; make
/// objects with `createParam`.
class ComParamBase : public IUnknown {
public:
    ComParamBase(const ComParamBase&) = delete;
    ComParamBase& operator=(const ComParamBase&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    virtual ~ComParamBase() = default;

protected:
    ComParamBase() = default;

private:
    LONG referenceCount_ = 0;
};

/// Makes a parameter object with one reference, the result's. Throws std::bad_alloc and what the constructor throws.
template <class T, class... Arguments>
Microsoft::WRL::ComPtr<T> createParam(Arguments&&... arguments) {
    return Microsoft::WRL::ComPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

} // namespace JY::Pictaro::Fs
