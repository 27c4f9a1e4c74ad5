// What holds for every member of the exception family.

#include "util/ApiErrorException.h"
#include "util/CallStack.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/StructureException.h"
#include "util/UnknownException.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using namespace JY;

constexpr SourceFile here{"ExceptionFamilyTest"};

StructureException makeStructureException(void* address) {
    EXCEPTION_RECORD record{};
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    record.ExceptionAddress = address;
    const EXCEPTION_POINTERS pointers{&record, nullptr};
    return StructureException(&pointers);
}

/// The clause that takes an exception, of clauses for the three branches of the family and for its root.
template <class E>
std::string clauseThatTakes(const E& exception) {
    try {
        throw exception;
    } catch (const ApiErrorException&) {
        return "ApiErrorException";
    } catch (const ErrorException&) {
        return "ErrorException";
    } catch (const FatalException&) {
        return "FatalException";
    } catch (const Exception&) {
        return "Exception";
    }
}

TEST(ExceptionFamily, IsTakenByTheClauseOfItsBranch) {
    EXPECT_EQ(clauseThatTakes(ApiErrorException(here(), "x", 5)), "ApiErrorException");
    EXPECT_EQ(clauseThatTakes(ErrorException(here(), "x")), "ErrorException");
    EXPECT_EQ(clauseThatTakes(FatalException(here(), "x")), "FatalException");
    EXPECT_EQ(clauseThatTakes(UnknownException(here())), "FatalException");
    EXPECT_EQ(clauseThatTakes(makeStructureException(nullptr)), "FatalException");
}

TEST(ExceptionFamily, HasBranchesOfWhichNoneStandsUnderAnother) {
    EXPECT_FALSE((std::is_base_of_v<ErrorException, ApiErrorException>));
    EXPECT_FALSE((std::is_base_of_v<FatalException, ApiErrorException>));
    EXPECT_FALSE((std::is_base_of_v<FatalException, ErrorException>));
    EXPECT_FALSE((std::is_base_of_v<ErrorException, FatalException>));
    EXPECT_TRUE((std::is_base_of_v<Exception, ApiErrorException>));
    EXPECT_TRUE((std::is_base_of_v<Exception, ErrorException>));
    EXPECT_TRUE((std::is_base_of_v<Exception, FatalException>));
}

TEST(ExceptionFamily, HasARootThatCannotBeMadeAlone) {
    EXPECT_FALSE((std::is_constructible_v<Exception, SourcePosition, std::string_view>));
    EXPECT_FALSE(std::is_default_constructible_v<Exception>);
}

TEST(ExceptionFamily, CopiesWhatItsMembersAdd) {
    const ApiErrorException error(here.at(44), "CreateFile", 5);
    const ApiErrorException errorCopy(error); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(errorCopy.code(), 5U);
    EXPECT_EQ(errorCopy.getDescription(), error.getDescription());

    int place = 0;
    const StructureException fault = makeStructureException(&place);
    const StructureException faultCopy(fault); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(faultCopy.code(), 0xC0000005);
    EXPECT_EQ(faultCopy.address(), &place);
    EXPECT_EQ(faultCopy.getDescription(), fault.getDescription());
}

// Each makes its exception where its own code is.

[[gnu::noipa]] std::string stackOfAnError() {
    const ErrorException exception(here(), "x");
    return exception.callStack();
}
[[gnu::noipa]] std::string stackOfAnApiError() {
    const ApiErrorException exception(here(), "x", 5);
    return exception.callStack();
}
[[gnu::noipa]] std::string stackOfAFatalError() {
    const FatalException exception(here(), "x");
    return exception.callStack();
}
[[gnu::noipa]] std::string stackOfAnUnknownOne() {
    const UnknownException exception(here());
    return exception.callStack();
}
[[gnu::noipa]] std::string stackOfAStructuredOne() {
    EXCEPTION_RECORD record{};
    const EXCEPTION_POINTERS pointers{&record, nullptr};
    const StructureException exception(&pointers);
    return exception.callStack();
}
[[gnu::noipa]] std::string stackOfAFailedResult() {
    try {
        throwIfFailed(E_FAIL, here(), "x");
    } catch (const ApiErrorException& exception) {
        return exception.callStack();
    }
    return {};
}
[[gnu::noipa]] std::string stackOfACallThatAnswersFalse() {
    try {
        throwIfFalse(FALSE, here(), "x");
    } catch (const ApiErrorException& exception) {
        return exception.callStack();
    }
    return {};
}

/// The hexadecimal number in "section:offset(module)".
std::size_t offsetIn(const std::string& frame) {
    return std::stoull(frame.substr(frame.find(':') + 1), nullptr, 16);
}

class ThrowSite : public testing::TestWithParam<std::string (*)()> {};

TEST_P(ThrowSite, IsTheFirstFrameOfTheCallStack) {
    // A function may be divided, with its rare part elsewhere; the frame that called this test is surely not near it.
    const std::size_t function = offsetIn(describeModuleAddress(reinterpret_cast<const void*>(GetParam())));
    const std::string stack = GetParam()();
    const std::string first = stack.substr(0, stack.find(','));
    EXPECT_TRUE(first.starts_with("1:")) << stack;
    EXPECT_GT(offsetIn(first), function);
    EXPECT_LT(offsetIn(first), function + 0x200);
}

INSTANTIATE_TEST_SUITE_P(ExceptionFamily, ThrowSite,
                         testing::Values(&stackOfAnError, &stackOfAnApiError, &stackOfAFatalError, &stackOfAnUnknownOne,
                                         &stackOfAStructuredOne, &stackOfAFailedResult, &stackOfACallThatAnswersFalse));

} // namespace
