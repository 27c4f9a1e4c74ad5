#include "tools/OpenedSource.h"

#include "tools/Failure.h"
#include "tools/FileUrl.h"

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

/// The resolver's own answer for a file that is missing depends on the URL's form, so it is asked first.
void checkFileExists(const std::wstring& path) {
    if (path.find(L"://") == std::wstring::npos && GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "opening the file");
    }
}

HRESULT resolve(IMFSourceResolver& resolver, const std::wstring& url, ComPtr<IMFMediaSource>& source) {
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    const HRESULT result =
        resolver.CreateObjectFromURL(url.c_str(), MF_RESOLUTION_MEDIASOURCE, nullptr, &type, object.GetAddressOf());
    return FAILED(result) ? result : object.As(&source);
}

ComPtr<IMFMediaSource> open(const std::wstring& path) {
    checkFileExists(path);
    ComPtr<IMFSourceResolver> resolver;
    check(MFCreateSourceResolver(resolver.GetAddressOf()), "MFCreateSourceResolver");

    HRESULT firstFailure = S_OK;
    for (const std::wstring& url : fileUrls(path)) {
        ComPtr<IMFMediaSource> source;
        const HRESULT result = resolve(*resolver.Get(), url, source);
        if (SUCCEEDED(result)) {
            return source;
        }
        firstFailure = FAILED(firstFailure) ? firstFailure : result;
    }
    throw Failure(firstFailure, "opening the file");
}

} // namespace

OpenedSource::OpenedSource(const std::wstring& path) : source_(open(path)) {}

OpenedSource::~OpenedSource() {
    source_->Shutdown();
}

} // namespace JY::Tools
