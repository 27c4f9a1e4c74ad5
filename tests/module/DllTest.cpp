#include "module/ClassId.h"
#include "source/MfDeclarations.h"
#include "tests/module/LoadedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/source/ClientObjects.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"

#include <mfapi.h>
#include <windows.h>
#include <wrl/client.h>

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace {

using JY::Pictaro::Fs::CLSID_FlvByteStreamHandler;
using JY::Test::CanUnloadNow;
using JY::Test::ClientCallback;
using JY::Test::ClientObject;
using JY::Test::ClientState;
using JY::Test::DebugOutputCapture;
using JY::Test::FlvBuilder;
using JY::Test::GetClassObject;
using JY::Test::LoadedModule;
using JY::Test::MetaData;
using JY::Test::ModuleLog;
using JY::Test::TempFile;
using Microsoft::WRL::ComPtr;

TEST(Dll, MakesAHandlerAndTellsWhenItMayBeUnloaded) {
    const LoadedModule module;
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    auto* const getClassObject = module.find<GetClassObject>("DllGetClassObject");
    ASSERT_NE(canUnloadNow, nullptr);
    ASSERT_NE(getClassObject, nullptr);
    EXPECT_EQ(canUnloadNow(), S_OK);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(
        getClassObject(CLSID_FlvByteStreamHandler, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf())),
        S_OK);
    ComPtr<IMFByteStreamHandler> handler;
    ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(IMFByteStreamHandler),
                                      reinterpret_cast<void**>(handler.GetAddressOf())),
              S_OK);
    QWORD size = 0;
    EXPECT_EQ(handler->GetMaxNumberOfBytesRequiredForResolution(&size), S_OK);
    EXPECT_EQ(size, 9U);
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    handler.Reset();
    factory.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST(Dll, ExportsTheRegistrationFunctions) {
    const LoadedModule module;
    for (const char* const name :
         {"DllRegisterServer", "DllUnregisterServer", "RegisterServerFromMsi", "UnregisterServerFromMsi"}) {
        EXPECT_NE(module.find<void>(name), nullptr) << name;
    }
}

TEST(Dll, SurvivesAFaultOfItsCaller) {
    const ModuleLog log;
    const LoadedModule module;
    auto* const getClassObject = module.find<GetClassObject>("DllGetClassObject");
    EXPECT_EQ(getClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_EQ(log.count("class JY::StructureException, ACCESS_VIOLATION @"), 1U);
    EXPECT_EQ(log.count("(JyFlvSource.dll) "), 1U);
}

TEST(Dll, LetsExceptionsOfItsHostPass) {
    const LoadedModule module;
    EXPECT_EQ(module.find<CanUnloadNow>("DllCanUnloadNow")(), S_OK); // leaves the translator on this thread
    EXPECT_THROW(throw std::runtime_error("host"), std::runtime_error);
    const DebugOutputCapture output;
    OutputDebugStringA("host");
    EXPECT_EQ(output.count("host"), 1U);
}

/// A result of the host that the module asks for its object.
class HostResult : public ClientObject<IMFAsyncResult> {
public:
    HRESULT STDMETHODCALLTYPE GetState(IUnknown**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStatus() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetStatus(HRESULT) override { return E_NOTIMPL; }
    IUnknown* STDMETHODCALLTYPE GetStateNoAddRef() override { return nullptr; }
};

HRESULT endCreateObject(IMFByteStreamHandler& handler, HostResult& result) {
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    return handler.EndCreateObject(&result, &type, object.GetAddressOf());
}

TEST(Dll, LeavesToItsHostWhatTheHostCatchesInsideACallback) {
    class Result final : public HostResult {
    public:
        HRESULT STDMETHODCALLTYPE GetObject(IUnknown** object) override {
            *object = nullptr;
            try {
                throw std::runtime_error("host");
            } catch (const std::runtime_error&) {
                return E_ACCESSDENIED;
            }
        }
    } result;
    const ModuleLog log;
    const LoadedModule module;
    const auto handler = module.makeHandler();
    EXPECT_EQ(endCreateObject(*handler.Get(), result), E_ACCESSDENIED);
    EXPECT_EQ(log.count("class JY::ApiErrorException, GetObject: (0x80070005;"), 1U);
    EXPECT_EQ(log.count(" fatal "), 0U);
}

TEST(Dll, EndsTheCallThatItsHostThrowsInto) {
    class Result final : public HostResult {
    public:
        HRESULT STDMETHODCALLTYPE GetObject(IUnknown**) override { throw std::runtime_error("thrown by the host"); }
    } result;
    const ModuleLog log;
    const LoadedModule module;
    const auto handler = module.makeHandler();
    for (unsigned round = 1; round <= 3; ++round) {
        EXPECT_EQ(endCreateObject(*handler.Get(), result), E_FAIL);
        EXPECT_EQ(log.count(" fatal "), round);
        EXPECT_EQ(log.count(") thrown by the host\r\n"), round);
        EXPECT_THROW(throw std::runtime_error("host"), std::runtime_error);
    }
}

TEST(Dll, SourceKeepsTheModuleLoaded) {
    const TempFile file(FlvBuilder(FlvBuilder::audio)
                            .onMetaData(MetaData().duration(1))
                            .aacSequenceHeader(0)
                            .aacRaw(0, {1, 2, 3})
                            .aacRaw(23, {4, 5, 6})
                            .build());
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    const LoadedModule module;
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    auto handler = module.makeHandler();
    ClientState bytes; // in the place of a byte stream, which is not used
    ClientCallback callback;
    const std::wstring url = L"file://" + file.path();
    ASSERT_EQ(handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&bytes), url.c_str(),
                                         MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr, &callback, nullptr),
              S_OK);
    ASSERT_TRUE(callback.becomesCalled());
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> source;
    ASSERT_EQ(handler->EndCreateObject(callback.takeResult().Get(), &type, source.GetAddressOf()), S_OK);
    handler.Reset();
    EXPECT_TRUE(callback.becomesForgotten());
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    source.Reset();
    EXPECT_TRUE(JY::Test::becomesTrue([&] { return canUnloadNow() == S_OK; }));
    MFShutdown();
}

} // namespace
