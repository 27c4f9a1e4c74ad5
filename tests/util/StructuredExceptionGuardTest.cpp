#include "util/StructuredExceptionGuard.h"

#include "tests/support/Faults.h"
#include "util/ErrorException.h"
#include "util/StructureException.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace JY;
using Test::callAt;
using Test::divide;
using Test::readFrom;
using Test::ReadOnlyPage;
using Test::writeTo;

constexpr SourceFile here{"StructuredExceptionGuardTest"};

struct CountsDestruction {
    int& count;
    ~CountsDestruction() { ++count; }
};

template <class Body>
std::uint32_t codeOfFault(Body body) {
    const TranslatorScope translator(translateStructuredException);
    try {
        callTranslated(body);
    } catch (const StructureException& exception) {
        return exception.code();
    }
    return 0;
}

TEST(StructuredExceptionGuard, TurnsAReadOfTheNullPageIntoAnException) {
    EXPECT_EQ(codeOfFault([] { readFrom(nullptr); }), 0xC0000005);
}

TEST(StructuredExceptionGuard, TurnsAWriteToAReadOnlyPageIntoAnException) {
    const ReadOnlyPage page;
    EXPECT_EQ(codeOfFault([&] { writeTo(page.get()); }), 0xC0000005);
}

TEST(StructuredExceptionGuard, TurnsADivisionByZeroIntoAnException) {
    EXPECT_EQ(codeOfFault([&] { divide(1, 0); }), 0xC0000094);
}

TEST(StructuredExceptionGuard, TurnsACallOfNullIntoAnException) {
    EXPECT_EQ(codeOfFault([] { callAt(nullptr); }), 0xC0000005);
}

TEST(StructuredExceptionGuard, TurnsAFaultInsideASystemLibraryIntoAnException) {
    EXPECT_EQ(codeOfFault([] { GetLocalTime(reinterpret_cast<SYSTEMTIME*>(8)); }), 0xC0000005);
}

TEST(StructuredExceptionGuard, TurnsARaisedExceptionIntoAnException) {
    EXPECT_EQ(codeOfFault([] { RaiseException(0xE0001234, 0, 0, nullptr); }), 0xE0001234);
}

TEST(StructuredExceptionGuard, TurnsAnExceptionThatForbidsContinuingIntoAnException) {
    EXPECT_EQ(codeOfFault([] { RaiseException(0xE0001235, EXCEPTION_NONCONTINUABLE, 0, nullptr); }), 0xE0001235);
}

TEST(StructuredExceptionGuard, GivesTheAddressOfTheFault) {
    const TranslatorScope translator(translateStructuredException);
    try {
        callTranslated([] { readFrom(nullptr); });
        FAIL();
    } catch (const StructureException& exception) {
        const auto* const function = reinterpret_cast<const char*>(&readFrom);
        EXPECT_GE(static_cast<const char*>(exception.address()), function);
        EXPECT_LT(static_cast<const char*>(exception.address()), function + 0x100);
    }
}

TEST(StructuredExceptionGuard, RunsTheDestructorsBetweenFaultAndHandler) {
    int destroyed = 0;
    codeOfFault([&] {
        const CountsDestruction outer{destroyed};
        [&] {
            const CountsDestruction inner{destroyed};
            readFrom(nullptr);
        }();
    });
    EXPECT_EQ(destroyed, 2);
}

TEST(StructuredExceptionGuard, LetsTheBodyCatchWhereTheFaultWas) {
    bool caught = false;
    const auto code = codeOfFault([&] {
        try {
            readFrom(nullptr);
        } catch (const StructureException&) {
            caught = true;
        }
    });
    EXPECT_TRUE(caught);
    EXPECT_EQ(code, 0U);
}

TEST(StructuredExceptionGuard, WorksOnEveryThreadAndManyTimes) {
    std::uint32_t code = 0;
    std::thread([&] {
        for (int i = 0; i < 100; ++i) {
            code = codeOfFault([] { readFrom(nullptr); });
        }
    }).join();
    EXPECT_EQ(code, 0xC0000005);
}

TEST(StructuredExceptionGuard, WorksInsideItself) {
    std::uint32_t inner = 0;
    const auto outer = codeOfFault([&] {
        inner = codeOfFault([] { readFrom(nullptr); });
        divide(1, 0);
    });
    EXPECT_EQ(inner, 0xC0000005);
    EXPECT_EQ(outer, 0xC0000094);
}

TEST(StructuredExceptionGuard, LetsCppExceptionsPassUntouched) {
    const TranslatorScope translator(translateStructuredException);
    EXPECT_THROW(callTranslated([] { throw std::runtime_error("host"); }), std::runtime_error);
    EXPECT_THROW(callTranslated([] { throw ErrorException(here(), "own"); }), ErrorException);
}

TEST(StructuredExceptionGuard, LetsDebuggerOutputPassUntouched) {
    EXPECT_EQ(codeOfFault([] { OutputDebugStringA("passes\n"); }), 0U);
    EXPECT_EQ(codeOfFault([] { OutputDebugStringW(L"passes\n"); }), 0U);
}

LONG CALLBACK resumeOwnException(EXCEPTION_POINTERS* pointers) {
    return pointers->ExceptionRecord->ExceptionCode == 0xE0004321 ? EXCEPTION_CONTINUE_EXECUTION
                                                                  : EXCEPTION_CONTINUE_SEARCH;
}

TEST(StructuredExceptionGuard, LetsTheHostsVectoredHandlerGoFirst) {
    void* const handler = AddVectoredExceptionHandler(1, &resumeOwnException);
    const auto code = codeOfFault([] { RaiseException(0xE0004321, 0, 0, nullptr); });
    RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(code, 0U);
}

} // namespace

namespace {
DWORD codeThatTheHostHandles = 0;
unsigned exceptionsThatTheHostSaw = 0;
} // namespace

// A frame with a structured handler of its own, as a host may have one around a call of the module or inside a
// callback: it resumes behind the raise.
extern "C" [[gnu::used]] EXCEPTION_DISPOSITION resumeInHostFrame(EXCEPTION_RECORD* record, void*, CONTEXT*, void*) {
    if (record->ExceptionCode != codeThatTheHostHandles) {
        return ExceptionContinueSearch;
    }
    ++exceptionsThatTheHostSaw;
    return ExceptionContinueExecution;
}
extern "C" void callInHostFrame(void (*body)(void*), void* argument);
asm(R"(
    .text
    .globl callInHostFrame
    .seh_proc callInHostFrame
callInHostFrame:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    nop
    addq $40, %rsp
    ret
    .seh_handler resumeInHostFrame, @except
    .seh_endproc
)");

namespace {

/// Runs `body` in a frame of the host that handles exceptions with `code`; tells how many it handled.
template <class Body>
unsigned runInHostThatHandles(DWORD code, Body body) {
    codeThatTheHostHandles = code;
    exceptionsThatTheHostSaw = 0;
    callInHostFrame([](void* argument) { (*static_cast<Body*>(argument))(); }, &body);
    return exceptionsThatTheHostSaw;
}

TEST(StructuredExceptionGuard, LetsAHostsStructuredHandlerInsideTheBodyGoFirst) {
    bool resumed = false;
    const auto code = codeOfFault([&] {
        EXPECT_EQ(runInHostThatHandles(0xE0009876, [] { RaiseException(0xE0009876, 0, 0, nullptr); }), 1U);
        resumed = true;
    });
    EXPECT_TRUE(resumed);
    EXPECT_EQ(code, 0U);
}

/// Raises `code` below the guard, in a host that handles it outside; whether the guard let it through.
bool reachesTheHost(DWORD code) {
    bool resumed = false;
    std::uint32_t translated = 0;
    const unsigned handled = runInHostThatHandles(code, [&] {
        translated = codeOfFault([&] {
            RaiseException(code, 0, 0, nullptr);
            resumed = true;
        });
    });
    EXPECT_EQ(translated, resumed ? 0U : code);
    EXPECT_EQ(handled, resumed ? 1U : 0U);
    return resumed;
}

TEST(StructuredExceptionGuard, TranslatesAFaultThatOnlyAHostOutsideWouldHandle) {
    EXPECT_FALSE(reachesTheHost(0xE0009876));
    EXPECT_FALSE(reachesTheHost(0x80000003));
}

TEST(StructuredExceptionGuard, LetsInformationalExceptionsGoToTheHostsHandler) {
    EXPECT_TRUE(reachesTheHost(0x40010005)); // Ctrl+C, for a debugger
    EXPECT_TRUE(reachesTheHost(0x40010006)); // a debugger's output
    EXPECT_TRUE(reachesTheHost(0x406D1389));
}

TEST(StructuredExceptionGuard, LetsTheNameOfAThreadPass) {
    // The thread library of this compiler has a vectored handler for it, so that no frame is asked.
    EXPECT_EQ(codeOfFault([] { RaiseException(0x406D1388, 0, 0, nullptr); }), 0U);
}

TEST(StructuredExceptionGuard, LetsForeignCppExceptionsGoToTheHostsHandler) {
    EXPECT_TRUE(reachesTheHost(0xE06D7363));
}

TEST(StructuredExceptionGuard, LetsEverythingPassWithoutATranslator) {
    std::thread([] {
        ASSERT_EQ(setStructuredExceptionTranslator(nullptr), nullptr);
        bool resumed = false;
        const unsigned handled = runInHostThatHandles(0xE0009876, [&] {
            callTranslated([&] {
                RaiseException(0xE0009876, 0, 0, nullptr);
                resumed = true;
            });
        });
        EXPECT_EQ(handled, 1U);
        EXPECT_TRUE(resumed);
        EXPECT_THROW(callTranslated([] { throw std::runtime_error("own"); }), std::runtime_error);
    }).join();
}

void otherTranslator(unsigned, EXCEPTION_POINTERS*) {
    throw std::runtime_error("other");
}

TEST(TranslatorScope, PutsThePreviousTranslatorBack) {
    std::thread([] {
        setStructuredExceptionTranslator(&otherTranslator);
        { const TranslatorScope scope(&translateStructuredException); }
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &otherTranslator);
    }).join();
}

TEST(TranslatorScope, LeavesItsTranslatorWhereThereWasNone) {
    std::thread([] {
        ASSERT_EQ(setStructuredExceptionTranslator(nullptr), nullptr);
        { const TranslatorScope scope(&translateStructuredException); }
        EXPECT_EQ(setStructuredExceptionTranslator(nullptr), &translateStructuredException);
    }).join();
}

TEST(TranslatorScope, IsPerThread) {
    const TranslatorScope scope(&translateStructuredException);
    std::thread([] { EXPECT_EQ(setStructuredExceptionTranslator(nullptr), nullptr); }).join();
}

TEST(StructuredExceptionGuard, CallsTheTranslatorInForce) {
    const TranslatorScope scope(&otherTranslator);
    EXPECT_THROW(callTranslated([] { readFrom(nullptr); }), std::runtime_error);
    setStructuredExceptionTranslator(nullptr);
}

} // namespace
