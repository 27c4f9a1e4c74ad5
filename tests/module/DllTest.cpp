#include "module/ClassId.h"
#include "source/MfDeclarations.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ModuleSetting.h"
#include "tests/support/OpenHandles.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <wrl/client.h>

#include <stdexcept>
#include <type_traits>

namespace {

using JY::Pictaro::Fs::CLSID_FlvByteStreamHandler;
using JY::Test::DebugOutputCapture;
using JY::Test::ModuleSetting;
using Microsoft::WRL::ComPtr;

/// The library as it is shipped, which stands beside the test program.
class LoadedModule {
public:
    LoadedModule() : module_(LoadLibraryW(L"JyFlvSource.dll")) {
        if (module_ == nullptr) {
            throw std::runtime_error("JyFlvSource.dll cannot be loaded.");
        }
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() { FreeLibrary(module_); }

    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

private:
    HMODULE module_;
};

using GetClassObject = HRESULT WINAPI(REFCLSID, REFIID, void**);
using CanUnloadNow = HRESULT WINAPI();

TEST(Dll, MakesAHandlerAndTellsWhenItMayBeUnloaded) {
    const LoadedModule module;
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    auto* const getClassObject = module.find<GetClassObject>("DllGetClassObject");
    ASSERT_NE(canUnloadNow, nullptr);
    ASSERT_NE(getClassObject, nullptr);
    EXPECT_EQ(canUnloadNow(), S_OK);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(getClassObject(CLSID_FlvByteStreamHandler, IID_IClassFactory,
                             reinterpret_cast<void**>(factory.GetAddressOf())),
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
    for (const char* const name : {"DllRegisterServer", "DllUnregisterServer", "RegisterServerFromMsi",
                                   "UnregisterServerFromMsi"}) {
        EXPECT_NE(module.find<void>(name), nullptr) << name;
    }
}

TEST(Dll, LogsToTheDebuggerFromLoadToUnload) {
    const ModuleSetting level(L"LogLevel", 0);
    const DebugOutputCapture output;
    { const LoadedModule module; }
    const auto lines = output.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(output.count(") onProcessAttach.\n"), 1U);
    EXPECT_EQ(output.count(") onProcessDetach.\n"), 1U);
    EXPECT_NE(lines.back().find("AppLog finalizing"), std::string::npos);
}

TEST(Dll, SurvivesAFaultOfItsCaller) {
    const LoadedModule module;
    const DebugOutputCapture output;
    auto* const getClassObject = module.find<GetClassObject>("DllGetClassObject");
    EXPECT_EQ(getClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_EQ(output.count("class JY::StructureException, ACCESS_VIOLATION @"), 1U);
    EXPECT_EQ(output.count("(JyFlvSource.dll) "), 1U);
}

TEST(Dll, LetsExceptionsOfItsHostPass) {
    const LoadedModule module;
    auto* const canUnloadNow = module.find<CanUnloadNow>("DllCanUnloadNow");
    EXPECT_EQ(canUnloadNow(), S_OK); // leaves the translator on this thread
    EXPECT_THROW(throw std::runtime_error("host"), std::runtime_error);
    const DebugOutputCapture output;
    OutputDebugStringA("host");
    EXPECT_EQ(output.count("host"), 1U);
}

TEST(Dll, CanBeLoadedAndUnloadedManyTimes) {
    { const LoadedModule first; }
    const std::size_t before = JY::Test::countOpenHandles();
    for (int i = 0; i < 50; ++i) {
        const LoadedModule module;
    }
    EXPECT_EQ(JY::Test::countOpenHandles(), before);
}

} // namespace
