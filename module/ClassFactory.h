#pragma once

#include "com/ComUnknownBase.h"

#include <windows.h>

namespace JY::Pictaro::Fs {

/// Makes byte-stream handlers. Any class identifier gets a factory; one other than the handler's is refused when an
/// object is asked for. Any thread.
class ClassFactory final : public ComUnknownBase<IClassFactory> {
public:
    ClassFactory(ModuleUsageCounter& counter, REFCLSID classId);
    ~ClassFactory() override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppObject) override;
    /// Refuses an unknown class with E_NOINTERFACE.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppObject) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL bLock) override;

private:
    ModuleUsageCounter& counter_;
    CLSID classId_;
};

} // namespace JY::Pictaro::Fs
