#include "module/InstallerFacade.h"

#include "config/RegActual.h"
#include "config/RegDebug.h"
#include "tests/config/RegistryTesting.h"
#include "tests/module/AttachedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/support/FailingCore.h"
#include "tests/support/Faults.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/JYWin32.h"
#include "util/UnknownException.h"

#include <boost/make_shared.hpp>

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <string>

namespace {

using namespace JY;
using JY::Test::AbsentKey;
using JY::Test::AttachedModule;
using JY::Test::CapturedRecord;
using JY::Test::LogCapture;
using JY::Test::ModuleLog;
using JY::Test::RecordingRegistry;
using JY::Test::RegistryScope;
using Log2::Severity;
using Pictaro::InstallerFacade;
using testing::ElementsAre;
using testing::StartsWith;

constexpr SourceFile here{"InstallerFacadeTest"};

const std::wstring classKey = L"CLSID\\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}";
const std::wstring serverKey = classKey + L"\\InprocServer32";
const std::wstring handlersKey = L"Software\\Microsoft\\Windows Media Foundation\\ByteStreamhandlers\\.flv";
const std::wstring classId = L"{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}";

std::string ownPath() {
    return (TextBuffer() << getModulePath(nullptr)).str();
}

/// The calls that a whole registration makes.
std::vector<std::string> registrationCalls() {
    return {"setValue(HKCR/CLSID\\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}, , \"JY FLV ByteStreamHandler\", view=0)",
            "setValue(HKCR/CLSID\\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}\\InprocServer32, , \"" + ownPath() +
                "\", view=0)",
            "setValue(HKCR/CLSID\\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}\\InprocServer32, ThreadingModel, \"Both\", "
            "view=0)",
            "setValue(HKLM/Software\\Microsoft\\Windows Media Foundation\\ByteStreamhandlers\\.flv, "
            "{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}, \"JY FLV ByteStreamHandler\", view=0)"};
}

std::vector<std::string> removalCalls() {
    return {"deleteKey(HKCR/CLSID\\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}, view=0)",
            "deleteValue(HKLM/Software\\Microsoft\\Windows Media Foundation\\ByteStreamhandlers\\.flv, "
            "{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}, view=0)"};
}

std::vector<std::string> firstOf(std::vector<std::string> calls, std::size_t count) {
    calls.resize(count);
    return calls;
}

[[noreturn]] void throwAccessDenied() {
    throw ApiErrorException(here(), "RegCreateKeyEx(", ERROR_ACCESS_DENIED);
}

class InstallerFacadeTest : public testing::Test {
protected:
    /// Makes the n-th call to the registry, counted from 1, fail.
    void failAt(std::size_t call, std::function<void()> failure) {
        registry.onCall = [this, call, failure] {
            if (registry.calls.size() == call) {
                failure();
            }
        };
    }

    RecordingRegistry registry;
    RegistryScope scope{registry};
    InstallerFacade facade{registry};
    LogCapture log;
};

struct Failure {
    const char* name;
    std::function<void()> raise;
    Severity severity;
    std::string record;
    HRESULT result;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

const Failure failures[] = {
    {"Fatal", [] { throw FatalException(here(), "misuse"); }, Severity::fatal,
     "Exception caught. class JY::FatalException, misuse @InstallerFacadeTest:", E_FAIL},
    {"Fault", [] { Test::readFrom(nullptr); }, Severity::fatal,
     "Exception caught. class JY::StructureException, ACCESS_VIOLATION @", E_FAIL},
    {"AccessDenied", [] { throwAccessDenied(); }, Severity::error,
     "Exception caught. class JY::ApiErrorException, RegCreateKeyEx(: (0x5;", E_ACCESSDENIED},
    {"OtherApiError", [] { throw ApiErrorException(here(), "RegSetValueEx(", ERROR_FILE_NOT_FOUND); }, Severity::error,
     "Exception caught. class JY::ApiErrorException, RegSetValueEx(: (0x2;", E_FAIL},
    {"AccessDeniedAsResult",
     [] { throw ApiErrorException(here(), "call", static_cast<std::uint32_t>(E_ACCESSDENIED)); }, Severity::error,
     "Exception caught. class JY::ApiErrorException, call: (0x80070005;", E_FAIL},
    {"Error", [] { throw ErrorException(here(), "bad data"); }, Severity::fatal,
     "Exception caught. class JY::ErrorException, bad data @InstallerFacadeTest:", E_FAIL},
    {"Standard", [] { throw std::bad_alloc(); }, Severity::fatal,
     "Exception caught. class std::bad_alloc, std::bad_alloc", E_FAIL},
    {"Unknown", [] { throw 7; }, Severity::fatal,
     "Exception caught. class JY::UnknownException, Unknown exception. @InstallerFacade:", E_FAIL},
};

TEST_F(InstallerFacadeTest, ChangesNothingWithoutMemoryForALogger) {
    Log2::setCore(boost::make_shared<JY::Test::FailingCore>());
    EXPECT_EQ(DllRegisterServer(), E_FAIL);
    EXPECT_EQ(DllUnregisterServer(), E_FAIL);
    EXPECT_EQ(RegisterServerFromMsi(), UINT{ERROR_INSTALL_FAILURE});
    EXPECT_EQ(UnregisterServerFromMsi(), UINT{ERROR_INSTALL_FAILURE});
    EXPECT_TRUE(registry.calls.empty());
}

class InstallerFailure : public InstallerFacadeTest, public testing::WithParamInterface<Failure> {
protected:
    void expectRecord() {
        const CapturedRecord record = log.find("Exception caught. ");
        EXPECT_EQ(record.severity, GetParam().severity);
        EXPECT_EQ(record.file, "InstallerFacade");
        EXPECT_THAT(record.message, StartsWith(GetParam().record));
        EXPECT_EQ(LogCapture::snapshots(), 1U);
    }
};

/// Runs on the real registry and on the one in memory; both begin without the module's entries.
template <class Registry>
class Registration : public testing::Test {
protected:
    Registration() { clearMemory(); }
    ~Registration() override { clearMemory(); }

    std::wstring text(HKEY root, const std::wstring& key, const std::wstring& name) {
        return registry.getString(root, key, name, 0);
    }

    AbsentKey absentClass{HKEY_CLASSES_ROOT, classKey};
    AbsentKey absentHandlers{HKEY_LOCAL_MACHINE, handlersKey};
    Registry registry;
    RegistryScope scope{registry};

private:
    static void clearMemory() {
        Utl::RegDebug().deleteKey(HKEY_CLASSES_ROOT, L"CLSID", 0);
        Utl::RegDebug().deleteKey(HKEY_LOCAL_MACHINE, L"Software", 0);
    }
};

using Registries = testing::Types<Utl::RegActual, Utl::RegDebug>;
TYPED_TEST_SUITE(Registration, Registries);

} // namespace

TEST_F(InstallerFacadeTest, RegisteringWritesTheFourEntriesInOrder) {
    EXPECT_EQ(facade.registerServer(), S_OK);
    EXPECT_EQ(registry.calls, registrationCalls());
    EXPECT_EQ(LogCapture::snapshots(), 0U);
}

TEST_F(InstallerFacadeTest, UnregisteringRemovesTheClassAndThenTheHandler) {
    EXPECT_EQ(facade.unregisterServer(), S_OK);
    EXPECT_EQ(registry.calls, removalCalls());
}

TEST_F(InstallerFacadeTest, FirstStepThatFailsEndsTheRegistration) {
    for (std::size_t step = 1; step <= 4; ++step) {
        registry.calls.clear();
        failAt(step, throwAccessDenied);
        EXPECT_EQ(facade.registerServer(), E_ACCESSDENIED);
        EXPECT_EQ(registry.calls, firstOf(registrationCalls(), step));
        EXPECT_EQ(LogCapture::snapshots(), step);
    }
}

TEST_F(InstallerFacadeTest, FirstStepThatFailsEndsTheRemoval) {
    for (std::size_t step = 1; step <= 2; ++step) {
        registry.calls.clear();
        failAt(step, throwAccessDenied);
        EXPECT_EQ(facade.unregisterServer(), E_ACCESSDENIED);
        EXPECT_EQ(registry.calls, firstOf(removalCalls(), step));
        EXPECT_EQ(LogCapture::snapshots(), step);
    }
}

TEST_P(InstallerFailure, OfRegistrationIsRecordedWithASnapshotAndBecomesItsResult) {
    failAt(1, GetParam().raise);
    EXPECT_EQ(DllRegisterServer(), GetParam().result);
    expectRecord();
    EXPECT_EQ(registry.calls.size(), 1U);
}

TEST_P(InstallerFailure, OfRemovalIsRecordedWithASnapshotAndBecomesItsResult) {
    failAt(2, GetParam().raise);
    EXPECT_EQ(DllUnregisterServer(), GetParam().result);
    expectRecord();
    EXPECT_EQ(registry.calls.size(), 2U);
}

TEST_P(InstallerFailure, IsAnInstallFailureForTheInstaller) {
    failAt(1, GetParam().raise);
    EXPECT_EQ(RegisterServerFromMsi(), 1603U);
    registry.calls.clear();
    EXPECT_EQ(UnregisterServerFromMsi(), 1603U);
}

INSTANTIATE_TEST_SUITE_P(Installer, InstallerFailure, testing::ValuesIn(failures),
                         [](const auto& failure) { return failure.param.name; });

TEST_F(InstallerFacadeTest, RegistrationIsLoggedInFull) {
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_THAT(log.messages(true),
                ElementsAre("NormalLogSeverityThreshold=trace", "ENTER: DllRegisterServer", "EXIT: DllRegisterServer"));
    EXPECT_EQ(log.find("ENTER: ").file, "InstallerFacade");
    EXPECT_EQ(log.find("ENTER: ").severity, Severity::trace);
    EXPECT_EQ(registry.calls, registrationCalls());
}

TEST_F(InstallerFacadeTest, RemovalIsLoggedInFull) {
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_THAT(log.messages(true), ElementsAre("NormalLogSeverityThreshold=trace", "ENTER: DllUnregisterServer",
                                                "EXIT: DllUnregisterServer"));
    EXPECT_EQ(registry.calls, removalCalls());
}

TEST_F(InstallerFacadeTest, InstallerRegistersThroughTheSameSteps) {
    EXPECT_EQ(RegisterServerFromMsi(), 0U);
    EXPECT_THAT(log.messages(true), ElementsAre("NormalLogSeverityThreshold=trace", "ENTER: RegisterServerFromMsi",
                                                "NormalLogSeverityThreshold=trace", "ENTER: DllRegisterServer",
                                                "EXIT: DllRegisterServer", "EXIT: RegisterServerFromMsi"));
    EXPECT_EQ(registry.calls, registrationCalls());
}

TEST_F(InstallerFacadeTest, InstallerUnregistersThroughTheSameSteps) {
    EXPECT_EQ(UnregisterServerFromMsi(), 0U);
    EXPECT_THAT(log.messages(true), ElementsAre("NormalLogSeverityThreshold=trace", "ENTER: UnregisterServerFromMsi",
                                                "NormalLogSeverityThreshold=trace", "ENTER: DllUnregisterServer",
                                                "EXIT: DllUnregisterServer", "EXIT: UnregisterServerFromMsi"));
    EXPECT_EQ(registry.calls, removalCalls());
}

TEST(InstallerResult, IsSuccessForExactlyZero) {
    EXPECT_EQ(Pictaro::installerResult(S_OK), 0U);
    EXPECT_EQ(Pictaro::installerResult(S_FALSE), 1603U);
    EXPECT_EQ(Pictaro::installerResult(E_FAIL), 1603U);
    EXPECT_EQ(Pictaro::installerResult(E_ACCESSDENIED), 1603U);
}

TYPED_TEST(Registration, EntriesAreThereAfterRegistering) {
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(this->text(HKEY_CLASSES_ROOT, classKey, L""), L"JY FLV ByteStreamHandler");
    EXPECT_EQ(this->text(HKEY_CLASSES_ROOT, serverKey, L""), getModulePath(nullptr));
    EXPECT_EQ(this->text(HKEY_CLASSES_ROOT, serverKey, L"ThreadingModel"), L"Both");
    EXPECT_EQ(this->text(HKEY_LOCAL_MACHINE, handlersKey, classId), L"JY FLV ByteStreamHandler");
}

TYPED_TEST(Registration, CanBeRepeated) {
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(this->text(HKEY_CLASSES_ROOT, serverKey, L"ThreadingModel"), L"Both");
}

TYPED_TEST(Registration, IsGoneAfterUnregistering) {
    EXPECT_EQ(RegisterServerFromMsi(), 0U);
    EXPECT_EQ(UnregisterServerFromMsi(), 0U);
    EXPECT_FALSE(this->registry.isExist(HKEY_CLASSES_ROOT, serverKey, 0));
    EXPECT_FALSE(this->registry.isExist(HKEY_CLASSES_ROOT, classKey, 0));
    EXPECT_FALSE(this->registry.isExist(HKEY_LOCAL_MACHINE, handlersKey, classId, 0));
}

TYPED_TEST(Registration, OfOtherHandlersStays) {
    this->registry.setValue(HKEY_LOCAL_MACHINE, handlersKey, L"{other}", L"Other", 0);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(this->text(HKEY_LOCAL_MACHINE, handlersKey, L"{other}"), L"Other");
}

TYPED_TEST(Registration, CanBeRemovedTwice) {
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
}

TYPED_TEST(Registration, CanBeRemovedWithoutHavingBeenMade) {
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(UnregisterServerFromMsi(), 0U);
}

TYPED_TEST(Registration, IsGoneWithWhatOthersAddedToTheClass) {
    EXPECT_EQ(DllRegisterServer(), S_OK);
    this->registry.setValue(HKEY_CLASSES_ROOT, serverKey + L"\\Added\\Deep", L"name", L"text", 0);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_FALSE(this->registry.isExist(HKEY_CLASSES_ROOT, classKey, 0));
}

using RealRegistration = Registration<Utl::RegActual>;

TEST_F(RealRegistration, EntriesArePlainTexts) {
    const struct {
        HKEY root;
        const std::wstring& key;
        const wchar_t* name;
    } entries[] = {{HKEY_CLASSES_ROOT, classKey, L""},
                   {HKEY_CLASSES_ROOT, serverKey, L""},
                   {HKEY_CLASSES_ROOT, serverKey, L"ThreadingModel"},
                   {HKEY_LOCAL_MACHINE, handlersKey, classId.c_str()}};
    EXPECT_EQ(DllRegisterServer(), S_OK);
    for (const auto& [root, key, name] : entries) {
        DWORD type = REG_NONE;
        EXPECT_EQ(RegGetValueW(root, key.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &type, nullptr, nullptr),
                  ERROR_SUCCESS);
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    }
}

TEST(RegistrationLog, IsCompleteInTheTextFiles) {
    const ModuleLog log;
    const AttachedModule module;
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=trace\r\n"), 1U);
    EXPECT_EQ(log.count(") ENTER: DllRegisterServer\r\n"), 1U);
    EXPECT_EQ(log.count(") EXIT: DllRegisterServer\r\n"), 1U);
}
