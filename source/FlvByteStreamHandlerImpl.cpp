#include "source/FlvByteStreamHandlerImpl.h"

#include "com/ClientReference.h"
#include "com/ComCall.h"
#include "com/InterfaceQuery.h"
#include "source/CreateObjectParam.h"
#include "source/FailureGuard.h"
#include "source/FlvSourceImpl.h"
#include "source/LogFileName.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <shlwapi.h>

#include <mutex>
#include <typeinfo>

namespace JY::Pictaro::Fs {

namespace {

constexpr SourceFile here{"FlvByteStreamHandler"};
constexpr QWORD flvHeaderSize = 9;

std::wstring pathFromUrl(LPCWSTR url) {
    wchar_t path[MAX_PATH];
    DWORD length = MAX_PATH;
    const HRESULT result = PathCreateFromUrlW(url, path, &length, 0);
    if (FAILED(result)) {
        throw ApiErrorException(here(), "PathCreateFromUrl URL=", static_cast<std::uint32_t>(result)) << url;
    }
    return path;
}

void requireMediaSource(IUnknown* object) {
    ClientReference<IMFMediaSource> source;
    const HRESULT result = object != nullptr ? object->QueryInterface(IID_PPV_ARGS(source.put())) : E_NOINTERFACE;
    throwIfFailed(result, here(), "QueryInterface");
}

void requireFile(const std::wstring& path) {
    if (!PathFileExistsW(path.c_str())) {
        throw ErrorException(here(), "File not found.=") << LogFileName(path);
    }
}

} // namespace

FlvByteStreamHandlerImpl::FlvByteStreamHandlerImpl(ModuleUsageCounter& counter)
    : FlvByteStreamHandler(counter), counter_(counter) {}

HRESULT FlvByteStreamHandlerImpl::QueryInterface(REFIID riid, void** ppObject) {
    return comCall({here(), &typeid(*this), "QueryInterface"}, {{"ppObject", ppObject}}, [&](const ComCall& call) {
        return answerQuery(
            call, here(), *this, riid, ppObject,
            {{IID_IUnknown, "IUnknown", this}, {__uuidof(IMFByteStreamHandler), "IMFByteStreamHandler", this}});
    });
}

HRESULT FlvByteStreamHandlerImpl::BeginCreateObject(IMFByteStream* pByteStream, LPCWSTR pwszURL, DWORD dwFlags,
                                                    IPropertyStore*, IUnknown**, IMFAsyncCallback* pCallback,
                                                    IUnknown* punkState) {
    std::wstring path;
    FailureGuard guard(here());
    const auto begin = [&](const ComCall& call) {
        call.log().info(here()) << "pwszURL=" << pwszURL;
        HRESULT result = call.check({{"pByteStream", pByteStream}, {"pwszURL", pwszURL}, {"pCallback", pCallback}});
        if (FAILED(result)) {
            return result;
        }
        if ((dwFlags & MF_RESOLUTION_MEDIASOURCE) == 0) {
            return E_INVALIDARG;
        }
        path = pathFromUrl(pwszURL);
        setFilePath(path);
        guard.watch(path);
        requireFile(path);
        call.log().info(here()) << "FilePath=" << LogFileName(path);
        result = asyncCaller_.doCallAsync(pCallback, punkState, createParam<CreateObjectParam>(path));
        if (SUCCEEDED(result)) {
            guard.clear();
        }
        return result;
    };
    return comCall({here(), &typeid(*this), "BeginCreateObject"}, {}, begin, &guard);
}

HRESULT FlvByteStreamHandlerImpl::doCreateObject(IUnknown* argument, IUnknown** ppResult) {
    const std::wstring& path = static_cast<CreateObjectParam*>(argument)->filePath();
    FailureGuard guard(here(), path);
    const auto create = [&](const ComCall& call) {
        auto source = createObject<FlvSourceImpl>(counter_, path);
        if (source == nullptr) {
            return call.outOfMemory("pSource");
        }
        *ppResult = static_cast<IMFMediaSource*>(source.Detach());
        guard.clear();
        return S_OK;
    };
    return comCall({here(), &typeid(*this), "doCreateObject"}, {}, create, &guard);
}

HRESULT FlvByteStreamHandlerImpl::EndCreateObject(IMFAsyncResult* pResult, MF_OBJECT_TYPE* pObjectType,
                                                  IUnknown** ppObject) {
    return comCall({here(), &typeid(*this), "EndCreateObject"},
                   {{"pResult", pResult}, {"pObjectType", pObjectType}, {"ppObject", ppObject}}, [&](const ComCall&) {
                       *ppObject = nullptr;
                       ClientReference<IUnknown> unknown;
                       throwIfFailed(pResult->GetObject(unknown.put()), here(), "GetObject");
                       requireMediaSource(unknown.get());
                       *pObjectType = MF_OBJECT_MEDIASOURCE;
                       *ppObject = unknown.detach();
                       return S_OK;
                   });
}

HRESULT FlvByteStreamHandlerImpl::CancelObjectCreation(IUnknown*) {
    return comCall({here(), &typeid(*this), "CancelObjectCreation"}, [](const ComCall&) { return E_NOTIMPL; });
}

HRESULT FlvByteStreamHandlerImpl::GetMaxNumberOfBytesRequiredForResolution(QWORD* pqwBytes) {
    return comCall({here(), &typeid(*this), "GetMaxNumberOfBytesRequiredForResolution"}, {{"pqwBytes", pqwBytes}},
                   [&](const ComCall&) {
                       *pqwBytes = flvHeaderSize;
                       return S_OK;
                   });
}

std::wstring FlvByteStreamHandlerImpl::filePath() const {
    const std::lock_guard guard(pathLock_);
    return filePath_;
}

void FlvByteStreamHandlerImpl::setFilePath(const std::wstring& path) {
    const std::lock_guard guard(pathLock_);
    filePath_ = path;
}

} // namespace JY::Pictaro::Fs
