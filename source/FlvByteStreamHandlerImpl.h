#pragma once

#include "source/ASyncCaller.h"
#include "source/FlvByteStreamHandler.h"
#include "util/Lock.h"

#include <windows.h>

#include <string>

namespace JY::Pictaro::Fs {

/// Builds media sources on Media Foundation's work queue, each from the local file that its URL names; the byte stream
/// that comes with the URL is not read. Any thread; requests may overlap, and each opens its own file.
/// Made with `createObject<FlvByteStreamHandlerImpl>(counter)`.
class FlvByteStreamHandlerImpl final : public FlvByteStreamHandler {
public:
    explicit FlvByteStreamHandlerImpl(ModuleUsageCounter& counter);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppObject) override;

    /// Checks that the URL names an existing file and queues the building of its source; `pCallback` is told when that
    /// is done. No cancel cookie is handed out. Takes only URLs that PathCreateFromUrlW takes.
    HRESULT STDMETHODCALLTYPE BeginCreateObject(IMFByteStream* pByteStream, LPCWSTR pwszURL, DWORD dwFlags,
                                                IPropertyStore* pProps, IUnknown** ppIUnknownCancelCookie,
                                                IMFAsyncCallback* pCallback, IUnknown* punkState) override;
    /// The source of a completed request; a source that could not be built shows as the failure of the result's
    /// GetObject.
    HRESULT STDMETHODCALLTYPE EndCreateObject(IMFAsyncResult* pResult, MF_OBJECT_TYPE* pObjectType,
                                              IUnknown** ppObject) override;
    /// Not supported: E_NOTIMPL.
    HRESULT STDMETHODCALLTYPE CancelObjectCreation(IUnknown* pIUnknownCancelCookie) override;
    /// The size of an FLV file's header.
    HRESULT STDMETHODCALLTYPE GetMaxNumberOfBytesRequiredForResolution(QWORD* pqwBytes) override;

    /// The path that the last BeginCreateObject resolved; empty before the first.
    std::wstring filePath() const;

private:
    HRESULT doCreateObject(IUnknown* argument, IUnknown** ppResult);
    void setFilePath(const std::wstring& path);

    ModuleUsageCounter& counter_;
    mutable LockImpl pathLock_;
    std::wstring filePath_;
    AsyncCaller<FlvByteStreamHandlerImpl> asyncCaller_{*this, &FlvByteStreamHandlerImpl::doCreateObject};
};

} // namespace JY::Pictaro::Fs
