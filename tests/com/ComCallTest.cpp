#include "com/ComCall.h"

#include "log/Snapshot.h"
#include "tests/support/FailingCore.h"
#include "tests/support/Faults.h"
#include "tests/support/LogCapture.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/Lock.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"
#include "util/UnknownException.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <new>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Log2::Severity;
using Test::CapturedRecord;
using Test::divide;
using Test::LogCapture;
using Test::readFrom;
using testing::ElementsAre;

constexpr SourceFile here{"ComCallTest"};
constexpr int methodLine = 123;

class ComCallTest : public testing::Test {
protected:
    template <class Body>
    HRESULT call(Body body) {
        return comCall({here.at(methodLine), nullptr, "Method"}, body);
    }
    template <class Thrown>
    HRESULT callThrowing(const Thrown& thrown) {
        return call([&](const ComCall&) -> HRESULT { throw thrown; });
    }
    /// The one record between ENTER and EXIT.
    CapturedRecord onlyRecord() {
        const auto records = log.records();
        EXPECT_EQ(records.size(), 3U);
        return records.size() == 3 ? records[1] : CapturedRecord{};
    }

    LogCapture log;
};

TEST_F(ComCallTest, RunsTheBodyInsideATraceScopeAndReturnsItsResult) {
    EXPECT_EQ(call([](const ComCall& method) {
                  method.log().info(here()) << "body";
                  return S_FALSE;
              }),
              S_FALSE);
    EXPECT_THAT(log.messages(true), ElementsAre("ENTER: Method", "body", "EXIT: Method"));
}

TEST_F(ComCallTest, NamesTheClassOfAMember) {
    comCall({here(), &typeid(ErrorException), "Method"}, [](const ComCall&) { return S_OK; });
    EXPECT_THAT(log.messages(true),
                ElementsAre("ENTER: JY::ErrorException::Method", "EXIT: JY::ErrorException::Method"));
}

TEST_F(ComCallTest, AnswersEFailInPlaceOfItsBodyWithoutMemoryForALogger) {
    Log2::setCore(boost::make_shared<JY::Test::FailingCore>());
    bool hasRun = false;
    EXPECT_EQ(call([&](const ComCall&) {
                  hasRun = true;
                  return S_OK;
              }),
              E_FAIL);
    EXPECT_FALSE(hasRun);
}

TEST_F(ComCallTest, ReturnsTheCodeOfAnApiErrorUnchanged) {
    const auto exception = ApiErrorException(here(), "CreateFile", 5) << " file=" << L"C:\\x.flv";
    EXPECT_EQ(callThrowing(exception), 5);
    EXPECT_EQ(exception.getMessage(), "CreateFile file=C:\\x.flv: (0x5)");
    const auto record = onlyRecord();
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(record.message, "Exception caught. class JY::ApiErrorException, " + exception.getDescription());
    EXPECT_EQ(record.file, "ComCallTest");
    EXPECT_EQ(record.line, methodLine);
    EXPECT_EQ(LogCapture::snapshots(), 0U);
}

TEST_F(ComCallTest, ReturnsAFailedResultCarriedByAnApiError) {
    EXPECT_EQ(callThrowing(ApiErrorException(here(), "x", 0xC00D3E85)), static_cast<HRESULT>(0xC00D3E85));
}

TEST_F(ComCallTest, TurnsAnErrorExceptionIntoEFailWithoutASnapshot) {
    const ErrorException exception(here(), "Invalid value.");
    EXPECT_EQ(callThrowing(exception), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::error);
    EXPECT_EQ(onlyRecord().message, "Exception caught. class JY::ErrorException, " + exception.getDescription());
    EXPECT_EQ(LogCapture::snapshots(), 0U);
}

TEST_F(ComCallTest, TurnsAFatalExceptionIntoEFailWithASnapshot) {
    const FatalException exception(here(), "Not read yet.");
    EXPECT_EQ(callThrowing(exception), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().message, "Exception caught. class JY::FatalException, " + exception.getDescription());
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, TurnsAnUnknownExceptionIntoEFailWithASnapshot) {
    const UnknownException exception(here());
    EXPECT_EQ(callThrowing(exception), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().message, "Exception caught. class JY::UnknownException, " + exception.getDescription());
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, TurnsAStandardExceptionIntoEFailWithItsTextAlone) {
    EXPECT_EQ(callThrowing(std::runtime_error("list too long")), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().message, "list too long");
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, TurnsExhaustedMemoryIntoEFail) {
    EXPECT_EQ(callThrowing(std::bad_alloc()), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().message, std::bad_alloc().what());
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, TurnsAnythingElseIntoEFail) {
    EXPECT_EQ(callThrowing(5), E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().message, "Unknown exception.");
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, LetsItsObserverSpeakBetweenTheFailureAndTheEndOfTheScope) {
    class Observer final : public ComCallObserver {
    public:
        void callEnded(const Log2::Logger& logger) noexcept override { logger.notice(here()) << "observed"; }
    } observer;
    const auto fail = [](const ComCall&) -> HRESULT { throw std::runtime_error("failure"); };
    EXPECT_EQ(comCall({here(), nullptr, "Method"}, {}, fail, &observer), E_FAIL);
    EXPECT_THAT(log.messages(true), ElementsAre("ENTER: Method", "failure", "observed", "EXIT: Method"));
}

TEST_F(ComCallTest, KeepsItsResultWhenTheSnapshotFails) {
    Log2::setSnapshotWriter([] { throw std::runtime_error("snapshot"); });
    EXPECT_EQ(comCall({here(), nullptr, "Method"}, {{"ppObject", nullptr}}, [](const ComCall&) { return S_OK; }),
              E_INVALIDARG);
    EXPECT_EQ(callThrowing(FatalException(here(), "Not read yet.")), E_FAIL);
    EXPECT_EQ(call([](const ComCall& method) { return method.outOfMemory("pFactory"); }), E_OUTOFMEMORY);
    EXPECT_EQ(log.count(Severity::fatal, "ppObject is NULL."), 1U);
    EXPECT_EQ(log.find("Not read yet.").severity, Severity::fatal);
    EXPECT_EQ(log.count(Severity::fatal, "pFactory is NULL."), 1U);
    EXPECT_EQ(log.count("EXIT: Method"), 3U);
}

TEST_F(ComCallTest, RefusesTheFirstNullPointerWithoutRunningTheBody) {
    int object = 0;
    bool ran = false;
    const HRESULT result =
        comCall({here.at(methodLine), nullptr, "Method"},
                {{"pResult", &object}, {"ppEvent", nullptr}, {"ppObject", nullptr}}, [&](const ComCall&) {
                    ran = true;
                    return S_OK;
                });
    EXPECT_EQ(result, E_INVALIDARG);
    EXPECT_FALSE(ran);
    EXPECT_THAT(log.messages(true), ElementsAre("ENTER: Method", "ppEvent is NULL.", "EXIT: Method"));
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(onlyRecord().file, "ComCallTest");
    EXPECT_EQ(onlyRecord().line, methodLine);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, ReportsAFailedAllocation) {
    EXPECT_EQ(call([](const ComCall& method) { return method.outOfMemory("pFactory"); }), E_OUTOFMEMORY);
    EXPECT_EQ(onlyRecord().message, "pFactory is NULL.");
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST_F(ComCallTest, TurnsAnAccessViolationIntoEFailAndReleasesLocks) {
    LockImpl lock;
    const HRESULT result = call([&](const ComCall&) {
        const std::lock_guard guard(lock);
        return static_cast<HRESULT>(readFrom(nullptr));
    });
    EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(onlyRecord().severity, Severity::fatal);
    const std::regex form("Exception caught\\. class JY::StructureException, ACCESS_VIOLATION "
                          "@1:[0-9a-f]+\\(com_tests\\.exe\\) \\(:0\\)\\{1:[0-9a-f]+\\(.*\\}");
    EXPECT_TRUE(std::regex_match(onlyRecord().message, form)) << onlyRecord().message;
    EXPECT_EQ(LogCapture::snapshots(), 1U);
    bool taken = false;
    std::thread([&] {
        const std::lock_guard guard(lock); // would wait for ever on a lock left held
        taken = true;
    }).join();
    EXPECT_TRUE(taken);
}

TEST_F(ComCallTest, TurnsAWriteToAReadOnlyPageIntoEFail) {
    const JY::Test::ReadOnlyPage page;
    EXPECT_EQ(call([&](const ComCall&) {
                  JY::Test::writeTo(page.get());
                  return S_OK;
              }),
              E_FAIL);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
}

TEST_F(ComCallTest, TurnsADivisionByZeroIntoEFail) {
    EXPECT_EQ(call([](const ComCall&) { return static_cast<HRESULT>(divide(1, 0)); }), E_FAIL);
    EXPECT_TRUE(log.contains("INT_DIVIDE_BY_ZERO"));
}

TEST_F(ComCallTest, TurnsAFaultOnAPoolThreadIntoEFail) {
    struct Context {
        HRESULT result = S_OK;
    } context;
    const auto work = [](PTP_CALLBACK_INSTANCE, void* argument, PTP_WORK) {
        static_cast<Context*>(argument)->result = comCall(
            {here(), nullptr, "Method"}, [](const ComCall&) { return static_cast<HRESULT>(readFrom(nullptr)); });
    };
    const PTP_WORK item = CreateThreadpoolWork(work, &context, nullptr);
    SubmitThreadpoolWork(item);
    WaitForThreadpoolWorkCallbacks(item, FALSE);
    CloseThreadpoolWork(item);
    EXPECT_EQ(context.result, E_FAIL);
    EXPECT_TRUE(log.contains("ACCESS_VIOLATION"));
}

void hostTranslator(unsigned, EXCEPTION_POINTERS*) {}

TEST_F(ComCallTest, PutsTheHostsTranslatorBack) {
    std::thread([&] {
        setStructuredExceptionTranslator(&hostTranslator);
        call([](const ComCall&) { return S_OK; });
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &hostTranslator);
    }).join();
}

TEST_F(ComCallTest, PutsTheHostsTranslatorBackAfterANullPointer) {
    std::thread([&] {
        setStructuredExceptionTranslator(&hostTranslator);
        EXPECT_EQ(comCall({here(), nullptr, "Method"}, {{"ppObject", nullptr}}, [](const ComCall&) { return S_OK; }),
                  E_INVALIDARG);
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &hostTranslator);
    }).join();
}

TEST_F(ComCallTest, PutsTheHostsTranslatorBackAfterAnException) {
    std::thread([&] {
        setStructuredExceptionTranslator(&hostTranslator);
        EXPECT_EQ(callThrowing(ErrorException(here(), "x")), E_FAIL);
        EXPECT_EQ(call([](const ComCall&) { return static_cast<HRESULT>(readFrom(nullptr)); }), E_FAIL);
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &hostTranslator);
    }).join();
}

TEST_F(ComCallTest, LeavesItsTranslatorOnAThreadThatHadNone) {
    std::thread([&] {
        setStructuredExceptionTranslator(nullptr);
        call([](const ComCall&) { return S_OK; });
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &translateStructuredException);
    }).join();
}

} // namespace
