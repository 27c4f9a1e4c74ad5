#pragma once

#include "module/ClassId.h"
#include "source/MfDeclarations.h"

#include <windows.h>
#include <wrl/client.h>

#include <gtest/gtest.h>
#include <stdexcept>

namespace JY::Test {

using GetClassObject = HRESULT WINAPI(REFCLSID, REFIID, void**);
using CanUnloadNow = HRESULT WINAPI();

/// The library as it is shipped, which stands beside the test program; or another build of it.
class LoadedModule {
public:
    explicit LoadedModule(const wchar_t* name = L"JyFlvSource.dll") : module_(LoadLibraryW(name)) {
        if (module_ == nullptr) {
            throw std::runtime_error("The library cannot be loaded.");
        }
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() { FreeLibrary(module_); }

    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

    /// A handler, made by a factory that is gone again.
    Microsoft::WRL::ComPtr<IMFByteStreamHandler> makeHandler() const {
        Microsoft::WRL::ComPtr<IClassFactory> factory;
        EXPECT_EQ(find<GetClassObject>("DllGetClassObject")(Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_IClassFactory,
                                                            reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
        Microsoft::WRL::ComPtr<IMFByteStreamHandler> handler;
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IMFByteStreamHandler),
                                          reinterpret_cast<void**>(handler.GetAddressOf())),
                  S_OK);
        return handler;
    }

private:
    HMODULE module_;
};

} // namespace JY::Test
