#include "bench/ModuleClient.h"

#include "bench/DefaultSettings.h"
#include "module/ClassId.h"
#include "tools/Failure.h"
#include "tools/FileUrl.h"

#include <mfapi.h>

#include <atomic>

namespace JY::Bench {

using Microsoft::WRL::ComPtr;
using Tools::check;
using Tools::Failure;

namespace {

ComPtr<IMFByteStreamHandler> makeHandler() {
    requireDefaultSettings();
    const HMODULE module = LoadLibraryW(L"JyFlvSource.dll"); // for the life of the process
    if (module == nullptr) {
        throw Failure(HRESULT_FROM_WIN32(GetLastError()), "LoadLibrary(JyFlvSource.dll)");
    }
    using GetClassObject = HRESULT WINAPI(REFCLSID, REFIID, void**);
    const auto getClassObject =
        reinterpret_cast<GetClassObject*>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    check(getClassObject(Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_PPV_ARGS(factory.GetAddressOf())),
          "DllGetClassObject");
    ComPtr<IMFByteStreamHandler> handler;
    check(factory->CreateInstance(nullptr, IID_PPV_ARGS(handler.GetAddressOf())), "CreateInstance");
    return handler;
}

/// Over this program's own file.
ComPtr<IMFByteStream> makeByteStream() {
    std::wstring path(MAX_PATH, L'\0');
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    ComPtr<IMFByteStream> stream;
    check(MFCreateFile(MF_ACCESSMODE_READ, MF_OPENMODE_FAIL_IF_NOT_EXIST, MF_FILEFLAGS_NONE, path.c_str(),
                       stream.GetAddressOf()),
          "MFCreateFile");
    return stream;
}

/// Waits for one result.
class Waiter final : public IMFAsyncCallback {
public:
    Waiter() = default;
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    ComPtr<IMFAsyncResult> wait() {
        WaitForSingleObject(event_, INFINITE);
        return result_;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (riid != IID_IUnknown && riid != IID_IMFAsyncCallback) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        AddRef();
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
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override {
        result_ = result;
        SetEvent(event_);
        return S_OK;
    }

private:
    ~Waiter() { CloseHandle(event_); }

    std::atomic<ULONG> references_{0};
    HANDLE event_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    ComPtr<IMFAsyncResult> result_;
};

} // namespace

ModuleClient::ModuleClient() : handler_(makeHandler()), byteStream_(makeByteStream()) {}

ComPtr<IMFMediaSource> ModuleClient::open(const std::wstring& path) const {
    const ComPtr<Waiter> waiter(new Waiter);
    check(handler_->BeginCreateObject(byteStream_.Get(), Tools::fileUrls(path).front().c_str(),
                                      MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr, waiter.Get(), nullptr),
          "BeginCreateObject");
    const ComPtr<IMFAsyncResult> result = waiter->wait();
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    check(handler_->EndCreateObject(result.Get(), &type, object.GetAddressOf()), "EndCreateObject");
    ComPtr<IMFMediaSource> source;
    check(object.As(&source), "QueryInterface(IMFMediaSource)");
    return source;
}

} // namespace JY::Bench
