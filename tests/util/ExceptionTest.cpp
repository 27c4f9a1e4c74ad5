#include "tests/support/ImportPatch.h"
#include "tests/support/SymbolHandler.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/StructureException.h"
#include "util/UnknownException.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using namespace JY;
using Test::ImportPatch;
using Test::SymbolHandler;
using Test::SymbolLookupScope;
using Test::thrown;

constexpr SourceFile here{"ExceptionTest"};
constexpr GUID unknownId{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

std::string braced(const Exception& exception) {
    return "{" + exception.callStack() + "}";
}

USHORT WINAPI captureNothing(ULONG, ULONG, PVOID*, PULONG) {
    return 0;
}

/// No call stack can be captured for as long as it lives.
class StackOutOfReach {
private:
    ImportPatch<decltype(&RtlCaptureStackBackTrace)> patch_{"RtlCaptureStackBackTrace", &captureNothing};
};

TEST(Exception, IsNotAStandardException) {
    EXPECT_FALSE((std::is_base_of_v<std::exception, Exception>));
}

TEST(ErrorException, TellsItsMessage) {
    const ErrorException exception(here.at(65), "Not read yet.");
    EXPECT_EQ(exception.getMessage(), "Not read yet.");
    EXPECT_STREQ(exception.file(), "ExceptionTest");
    EXPECT_EQ(exception.line(), 65U);
}

TEST(ErrorException, DescribesMessagePositionAndStack) {
    const ErrorException exception(here.at(65), "Not read yet.");
    ASSERT_FALSE(exception.callStack().empty());
    EXPECT_EQ(exception.getDescription(), "Not read yet. @ExceptionTest:65 " + braced(exception));
}

TEST(ErrorException, WithoutAStackIsDescribedWithoutBraces) {
    const StackOutOfReach outOfReach;
    EXPECT_EQ(ErrorException(here.at(65), "Not read yet.").getDescription(), "Not read yet. @ExceptionTest:65");
}

TEST(ErrorException, IsThrownWithItsOwnTypeAfterStreaming) {
    EXPECT_EQ(thrown<ErrorException>([] {
                  throw ErrorException(here.at(65), "Unknown tag type.") << 28 << " " << L"wide" << ' ' << unknownId;
              }),
              "Unknown tag type.28 wide 00000000-0000-0000-c000-000000000046 @ExceptionTest:65");
}

TEST(ErrorException, CopiesAllItsFields) {
    ErrorException original(here.at(7), "a");
    original.append("b");
    const ErrorException copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    original.append("c");
    EXPECT_EQ(copy.getMessage(), "ab");
    EXPECT_EQ(copy.line(), 7U);
    EXPECT_EQ(copy.callStack(), original.callStack());
}

TEST(ApiErrorException, WritesItsCodeBehindTheMessage) {
    const auto exception = ApiErrorException(here(), "CreateFile", 5) << " file=" << L"C:\\x.flv";
    EXPECT_EQ(exception.getMessage(), "CreateFile file=C:\\x.flv: (0x5)");
    EXPECT_EQ(exception.code(), 5U);
}

TEST(ApiErrorException, DescribesTheCodeInTheSystemsWords) {
    const ApiErrorException exception(here.at(44), "CreateFile", ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(exception.getDescription(), "CreateFile: (0x2;" + describeSystemError(ERROR_FILE_NOT_FOUND) +
                                              ") @ExceptionTest:44" + braced(exception));
}

TEST(ApiErrorException, WithoutAStackKeepsItsBraces) {
    const StackOutOfReach outOfReach;
    EXPECT_EQ(ApiErrorException(here.at(44), "CreateFile", 0x2FFFFFFF).getDescription(),
              "CreateFile: (0x2fffffff;805306367) @ExceptionTest:44{}");
}

TEST(ApiErrorException, IsRaisedForAFailedResultOnly) {
    EXPECT_NO_THROW(throwIfFailed(S_FALSE, here(), "Call"));
    EXPECT_THROW(throwIfFailed(E_FAIL, here(), "Call"), ApiErrorException);
}

TEST(ApiErrorException, TakesTheLastErrorOfACallThatReportsByFalse) {
    SetLastError(ERROR_ACCESS_DENIED);
    try {
        throwIfFalse(FALSE, here(), "Call");
        FAIL();
    } catch (const ApiErrorException& exception) {
        EXPECT_EQ(exception.code(), static_cast<std::uint32_t>(ERROR_ACCESS_DENIED));
    }
    EXPECT_NO_THROW(throwIfFalse(TRUE, here(), "Call"));
}

TEST(DescribeSystemError, EndsBeforeTheFirstLineBreak) {
    const std::string text = describeSystemError(ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
    EXPECT_NE(text, "2");
}

TEST(DescribeSystemError, WritesAnUnknownCodeInDecimal) {
    EXPECT_EQ(describeSystemError(0x2FFFFFFF), "805306367");
    EXPECT_EQ(describeSystemError(0xEFFFFFFF), "-268435457");
}

TEST(FatalException, DescribesMessagePositionAndStack) {
    const FatalException exception(here.at(9), "Key is not open.");
    EXPECT_EQ(exception.getDescription(), "Key is not open. @ExceptionTest:9 " + braced(exception));
}

TEST(UnknownException, HasAFixedMessageAndIsFatal) {
    const UnknownException exception(here.at(30));
    EXPECT_EQ(exception.getMessage(), "Unknown exception.");
    EXPECT_NE(dynamic_cast<const FatalException*>(&exception), nullptr);
}

class StructureExceptionTest : public testing::Test {
protected:
    static StructureException make(DWORD code, void* address) {
        EXCEPTION_RECORD record{};
        record.ExceptionCode = code;
        record.ExceptionAddress = address;
        const EXCEPTION_POINTERS pointers{&record, nullptr};
        return StructureException(&pointers);
    }
};

TEST_F(StructureExceptionTest, NamesCodeAndModuleAddress) {
    void* const address = reinterpret_cast<void*>(&GetTickCount);
    const auto exception = make(EXCEPTION_ACCESS_VIOLATION, address);
    EXPECT_EQ(exception.getMessage(), "ACCESS_VIOLATION @" + describeModuleAddress(address));
    EXPECT_EQ(exception.code(), 0xC0000005);
    EXPECT_EQ(exception.address(), address);
    EXPECT_STREQ(exception.file(), "");
    EXPECT_EQ(exception.line(), 0U);
    EXPECT_EQ(exception.messageText(), "");
}

TEST_F(StructureExceptionTest, DescribesTheSymbolOfTheFault) {
    void* const address = reinterpret_cast<void*>(&GetTickCount);
    const auto exception = make(EXCEPTION_ACCESS_VIOLATION, address);
    const std::string start = "ACCESS_VIOLATION @" + describeModuleAddress(address);
    const SymbolLookupScope scope;
    {
        const SymbolHandler handler({"function"});
        EXPECT_EQ(exception.getDescription(), start + " function(file.cpp:12)" + braced(exception));
    }
    const SymbolHandler withoutLines({"function"}, 1, false);
    EXPECT_EQ(exception.getDescription(), start + " function(?:7)" + braced(exception));
}

TEST_F(StructureExceptionTest, DescribesSymbolAndStack) {
    void* const address = reinterpret_cast<void*>(&GetTickCount);
    const auto exception = make(EXCEPTION_INT_DIVIDE_BY_ZERO, address);
    EXPECT_EQ(exception.getDescription(),
              "INT_DIVIDE_BY_ZERO @" + describeModuleAddress(address) + " (:0)" + braced(exception));
}

TEST_F(StructureExceptionTest, WithoutAStackKeepsItsBraces) {
    const StackOutOfReach outOfReach;
    EXPECT_EQ(make(EXCEPTION_ACCESS_VIOLATION, reinterpret_cast<void*>(1)).getDescription(),
              "ACCESS_VIOLATION @Fail1 (:0){}");
}

TEST_F(StructureExceptionTest, PrintsNullForACodeThatIsNotInTheTable) {
    const auto exception = make(0xE0000001, reinterpret_cast<void*>(1));
    EXPECT_EQ(exception.getMessage(), "(null) @Fail1");
    EXPECT_EQ(exception.getDescription(), "(null) @Fail1 (:0)" + braced(exception));
}

TEST_F(StructureExceptionTest, IsWhatTheTranslatorThrows) {
    EXCEPTION_RECORD record{};
    record.ExceptionCode = EXCEPTION_ILLEGAL_INSTRUCTION;
    record.ExceptionAddress = reinterpret_cast<void*>(1);
    EXCEPTION_POINTERS pointers{&record, nullptr};
    // The record counts, whatever code is named beside it.
    EXPECT_EQ(thrown<StructureException>([&] { translateStructuredException(EXCEPTION_GUARD_PAGE, &pointers); }),
              "ILLEGAL_INSTRUCTION @Fail1 @:0");
}

TEST(ExceptionCodeName, KnowsEveryCodeOfTheTable) {
    const std::array<std::pair<std::uint32_t, const char*>, 24> table{{
        {0x80000001, "GUARD_PAGE"},
        {0x80000002, "DATATYPE_MISALIGNMENT"},
        {0x80000003, "BREAKPOINT"},
        {0x80000004, "SINGLE_STEP"},
        {0xC0000005, "ACCESS_VIOLATION"},
        {0xC0000006, "IN_PAGE_ERROR"},
        {0xC0000008, "INVALID_HANDLE"},
        {0xC000001D, "ILLEGAL_INSTRUCTION"},
        {0xC0000025, "NONCONTINUABLE_EXCEPTION"},
        {0xC0000026, "INVALID_DISPOSITION"},
        {0xC000008C, "ARRAY_BOUNDS_EXCEEDED"},
        {0xC000008D, "FLT_DENORMAL_OPERAND"},
        {0xC000008E, "FLT_DIVIDE_BY_ZERO"},
        {0xC000008F, "FLT_INEXACT_RESULT"},
        {0xC0000090, "FLT_INVALID_OPERATION"},
        {0xC0000091, "FLT_OVERFLOW"},
        {0xC0000092, "FLT_STACK_CHECK"},
        {0xC0000093, "FLT_UNDERFLOW"},
        {0xC0000094, "INT_DIVIDE_BY_ZERO"},
        {0xC0000095, "INT_OVERFLOW"},
        {0xC0000096, "PRIV_INSTRUCTION"},
        {0xC00000FD, "STACK_OVERFLOW"},
        {0xE1020305, "JY_CRT_INVALID_PARAM_EXCEPTION"},
        {0xE1020306, "JY_CRT_PVC_EXCEPTION"},
    }};
    for (const auto& [code, name] : table) {
        EXPECT_STREQ(getExceptionCodeName(code), name);
    }
    EXPECT_EQ(getExceptionCodeName(0xC0000001), nullptr);
}

} // namespace
