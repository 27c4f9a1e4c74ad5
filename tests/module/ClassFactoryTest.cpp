#include "module/ClassFactory.h"

#include "com/ModuleUsageCounter.h"
#include "module/ClassId.h"
#include "source/MfDeclarations.h"
#include "tests/support/ExhaustedMemory.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MethodTraces.h"
#include "tests/support/TimeLimit.h"
#include "util/ApiErrorException.h"
#include "util/StructuredExceptionGuard.h"

#include <wrl/client.h>

#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

extern "C" {
HRESULT WINAPI DllGetClassObject(REFCLSID, REFIID, void**);
HRESULT WINAPI DllCanUnloadNow();
}

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Pictaro::Fs;
using Log2::Severity;
using Microsoft::WRL::ComPtr;
using Test::ExhaustedMemory;
using Test::expectMethodTraces;
using Test::LogCapture;
using Test::returnsInTime;
using testing::ElementsAre;

constexpr SourceFile here{"ClassFactoryTest"};
constexpr CLSID unknownClass{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};

class ClassFactoryTest : public testing::Test {
protected:
    ~ClassFactoryTest() override {
        ModuleUsageCounter::instance().setActions(nullptr, nullptr);
        EXPECT_EQ(ModuleUsageCounter::instance().count(), 0U);
    }

    static ComPtr<IClassFactory> factoryFor(const CLSID& classId) {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(DllGetClassObject(classId, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf())),
                  S_OK);
        return factory;
    }

    LogCapture log;
};

TEST_F(ClassFactoryTest, IsHandedOutWithOneReference) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->AddRef(), 2U);
    EXPECT_EQ(factory->Release(), 1U);
    EXPECT_EQ(log.count(Severity::info, "CLSID=0d96ad9a-8e7b-4898-9502-e5be5a5d4890"), 1U);
    EXPECT_EQ(log.count(Severity::info, "QI(IClassFactory)"), 1U);
}

TEST_F(ClassFactoryTest, TracesTheCallsThatMakeIt) {
    factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: DllGetClassObject", "CLSID=0d96ad9a-8e7b-4898-9502-e5be5a5d4890",
                            "ENTER: JY::Pictaro::Fs::ClassFactory::ClassFactory",
                            "EXIT: JY::Pictaro::Fs::ClassFactory::ClassFactory",
                            "ENTER: JY::Pictaro::Fs::ClassFactory::QueryInterface", "QI(IClassFactory)",
                            "EXIT: JY::Pictaro::Fs::ClassFactory::QueryInterface", "EXIT: DllGetClassObject",
                            "Delete at Release. instance=class JY::Pictaro::Fs::ClassFactory",
                            "ENTER: JY::Pictaro::Fs::ClassFactory::~ClassFactory",
                            "EXIT: JY::Pictaro::Fs::ClassFactory::~ClassFactory"));
    EXPECT_EQ(log.find("CLSID=").file, "dllmain");
    EXPECT_EQ(log.find("QI(").file, "ClassFactory");
    EXPECT_EQ(log.find("Delete at Release.").severity, Severity::trace);
}

TEST_F(ClassFactoryTest, TracesEachOfItsMethods) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    void* object = nullptr;
    expectMethodTraces(log, typeid(ClassFactory), "ClassFactory",
                       {{"QueryInterface", [&] { factory->QueryInterface(IID_IStream, &object); }},
                        {"CreateInstance", [&] { factory->CreateInstance(nullptr, IID_IStream, &object); }},
                        {"LockServer", [&] {
                             factory->LockServer(TRUE);
                             factory->LockServer(FALSE);
                         }}});
}

TEST_F(ClassFactoryTest, ServesTheClassOfItsIdentifier) {
    const std::uint8_t bytes[] = {0x9A, 0xAD, 0x96, 0x0D, 0x7B, 0x8E, 0x98, 0x48,
                                  0x95, 0x02, 0xE5, 0xBE, 0x5A, 0x5D, 0x48, 0x90};
    CLSID identifier;
    std::memcpy(&identifier, bytes, sizeof identifier);
    ComPtr<IUnknown> handler;
    EXPECT_EQ(
        factoryFor(identifier)->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(handler.GetAddressOf())),
        S_OK);
}

void hostTranslator(unsigned, EXCEPTION_POINTERS*) {}

TEST_F(ClassFactoryTest, LeavesTheHostItsTranslatorOnEveryPath) {
    std::thread([] {
        setStructuredExceptionTranslator(&hostTranslator);
        void* object = nullptr;
        EXPECT_EQ(DllGetClassObject(unknownClass, IID_IUnknown, nullptr), E_INVALIDARG);
        EXPECT_EQ(DllGetClassObject(unknownClass, IID_IStream, &object), E_NOINTERFACE);
        EXPECT_EQ(DllGetClassObject(unknownClass, IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
        {
            const ExhaustedMemory exhausted;
            EXPECT_EQ(DllGetClassObject(unknownClass, IID_IUnknown, &object), E_OUTOFMEMORY);
        }
        EXPECT_NE(factoryFor(unknownClass), nullptr);
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &hostTranslator);
    }).join();
}

TEST_F(ClassFactoryTest, IsHandedOutForAnUnknownClassAndRefusesToMakeIt) {
    const auto factory = factoryFor(unknownClass);
    ASSERT_NE(factory, nullptr);
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(log.count(Severity::error, "Unknown class. CLSID=11223344-5566-7788-0102-030405060708"), 1U);
}

TEST_F(ClassFactoryTest, IsDestroyedWhenTheInterfaceIsNotSupported) {
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, IID_IStream, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(log.count(Severity::info, "QI-None(0000000c-0000-0000-c000-000000000046)"), 1U);
    EXPECT_EQ(log.count(Severity::trace, "Delete at Release. instance=class JY::Pictaro::Fs::ClassFactory"), 1U);
}

TEST_F(ClassFactoryTest, IsNotMadeForANullPointer) {
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppObject is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ClassFactoryTest, IsNotMadeForAPointerThatCannotBeWritten) {
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, reinterpret_cast<void**>(8)), E_FAIL);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
}

TEST_F(ClassFactoryTest, IsNotMadeWithoutMemory) {
    const ExhaustedMemory exhausted;
    void* object = nullptr;
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, &object), E_OUTOFMEMORY);
    EXPECT_EQ(log.count(Severity::fatal, "pFactory is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ClassFactoryTest, AnswersForIUnknown) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(unknown.GetAddressOf())), S_OK);
    EXPECT_EQ(unknown.Get(), factory.Get());
    EXPECT_EQ(factory->AddRef(), 3U);
    EXPECT_EQ(factory->Release(), 2U);
    EXPECT_EQ(log.count(Severity::info, "QI(IUnknown)"), 1U);
}

TEST_F(ClassFactoryTest, RefusesANullPointerInEachMethod) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(Severity::fatal, "ppObject is NULL."), 2U);
    EXPECT_EQ(LogCapture::snapshots(), 2U);
}

TEST_F(ClassFactoryTest, ChecksThePointerBeforeAggregation) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, nullptr), E_INVALIDARG);
}

TEST_F(ClassFactoryTest, RefusesAggregationBeforeItLooksAtTheClass) {
    const auto factory = factoryFor(unknownClass);
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(log.count(Severity::error, "NoAggregation."), 1U);
    EXPECT_FALSE(log.contains("Unknown class."));
}

TEST_F(ClassFactoryTest, MakesByteStreamHandlers) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    ComPtr<IMFByteStreamHandler> handler;
    ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(IMFByteStreamHandler),
                                      reinterpret_cast<void**>(handler.GetAddressOf())),
              S_OK);
    EXPECT_EQ(handler->AddRef(), 2U);
    EXPECT_EQ(handler->Release(), 1U);
}

TEST_F(ClassFactoryTest, DestroysAHandlerThatLacksTheInterface) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    void* object = &object;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IStream, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(ModuleUsageCounter::instance().count(), 1U);
}

TEST_F(ClassFactoryTest, MakesNoHandlerWithoutMemory) {
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    const ExhaustedMemory exhausted;
    void* object = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), E_OUTOFMEMORY);
    EXPECT_EQ(log.count(Severity::fatal, "p is NULL."), 1U);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ClassFactoryTest, KeepsTheModuleLoaded) {
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    ComPtr<IUnknown> handler;
    factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(handler.GetAddressOf()));
    factory.Reset();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    handler.Reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(log.count(Severity::info, "DllCanUnloadNow=OK"), 2U);
    EXPECT_EQ(log.count(Severity::info, "DllCanUnloadNow=NG"), 2U);
}

TEST_F(ClassFactoryTest, ServerLockAloneKeepsTheModuleLoaded) {
    auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(log.count(Severity::info, "bLock=1"), 1U);
    factory.Reset();
    EXPECT_EQ(ModuleUsageCounter::instance().count(), 1U);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(log.count(Severity::info, "bLock=0"), 1U);
    factory.Reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST_F(ClassFactoryTest, TakesAnyLockValueButZeroForTrue) {
    auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->LockServer(-7), S_OK);
    EXPECT_EQ(log.count(Severity::info, "bLock=-7"), 1U);
    EXPECT_EQ(ModuleUsageCounter::instance().count(), 2U);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
}

bool wasTold = false;

TEST_F(ClassFactoryTest, TellsWhetherTheModuleIsInUseAlsoWhileItStarts) {
    wasTold = false;
    ModuleUsageCounter::instance().setActions( // under the module lock
        [] { wasTold = returnsInTime([] { EXPECT_EQ(DllCanUnloadNow(), S_OK); }); }, nullptr);
    factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_TRUE(wasTold);
}

unsigned firstObtains = 0;
unsigned lastReleases = 0;

TEST_F(ClassFactoryTest, TwoServerLocksNeedTwoUnlocksAndOneShutDown) {
    firstObtains = 0;
    lastReleases = 0;
    ModuleUsageCounter& counter = ModuleUsageCounter::instance();
    counter.setActions([] { ++firstObtains; }, [] { ++lastReleases; });
    auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(counter.count(), 3U);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(counter.count(), 2U);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(counter.count(), 1U); // the factory itself
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(lastReleases, 0U);
    factory.Reset();
    EXPECT_EQ(counter.count(), 0U);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(firstObtains, 1U);
    EXPECT_EQ(lastReleases, 1U);
}

TEST_F(ClassFactoryTest, FailureOfTheFirstObtainActionIsItsResultAndCountsNothing) {
    ModuleUsageCounter& counter = ModuleUsageCounter::instance();
    counter.setActions([] { throw ApiErrorException(here(), "start", 0x80070005); }, nullptr);
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, IID_IUnknown, &object), E_ACCESSDENIED);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(counter.count(), 0U);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(log.find("Exception caught. class JY::ApiErrorException, start: (0x80070005;").severity, Severity::error);
    counter.setActions(nullptr, nullptr);
    EXPECT_NE(factoryFor(CLSID_FlvByteStreamHandler), nullptr);
}

TEST_F(ClassFactoryTest, RefusesAnIdentifierThatCannotBeRead) {
    const volatile std::uintptr_t noAddress = 8;
    const GUID& unreadable = *reinterpret_cast<const GUID*>(noAddress);
    const auto factory = factoryFor(CLSID_FlvByteStreamHandler);
    void* object = &object;
    EXPECT_EQ(factory->QueryInterface(unreadable, &object), E_FAIL);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(factory->CreateInstance(nullptr, unreadable, &object), E_FAIL);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(DllGetClassObject(CLSID_FlvByteStreamHandler, unreadable, &object), E_FAIL);
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(DllGetClassObject(unreadable, IID_IUnknown, &object), E_FAIL);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(LogCapture::snapshots(), 4U);
    EXPECT_EQ(ModuleUsageCounter::instance().count(), 1U); // the factory
}

} // namespace
