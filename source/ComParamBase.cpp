#include "source/ComParamBase.h"

#include "com/ComCall.h"
#include "util/GuidCompare.h"

#include <typeinfo>

namespace JY::Pictaro::Fs {

namespace {
constexpr SourceFile here{"ComParamBase"};
}

HRESULT queryUnknownOnly(SourcePosition position, IUnknown& object, REFIID riid, void** ppv) {
    return comCall({position, &typeid(object), "QueryInterface"}, {{"ppv", ppv}}, [&](const ComCall&) -> HRESULT {
        *ppv = nullptr;
        if (!equalGuids(riid, IID_IUnknown)) {
            return E_NOINTERFACE;
        }
        *ppv = &object;
        object.AddRef();
        return S_OK;
    });
}

HRESULT STDMETHODCALLTYPE ComParamBase::QueryInterface(REFIID riid, void** ppv) {
    return queryUnknownOnly(here(), *this, riid, ppv);
}

ULONG STDMETHODCALLTYPE ComParamBase::AddRef() {
    return static_cast<ULONG>(++referenceCount_);
}

ULONG STDMETHODCALLTYPE ComParamBase::Release() {
    const LONG count = --referenceCount_;
    if (count <= 0) {
        delete this;
    }
    return static_cast<ULONG>(count);
}

} // namespace JY::Pictaro::Fs
