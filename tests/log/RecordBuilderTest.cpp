#include "log/RecordBuilder.h"

#include "tests/support/Allocations.h"
#include "util/ErrorException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::failEachAllocationOf;
using Test::FailingAllocation;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr SourceFile here{"RecordBuilderTest"};

class KeepingCore final : public InternalCoreInterface {
public:
    void write(const Record& record) override { messages.emplace_back(record.message); }
    void releaseLogger() override {}
    bool wants(Severity) const override { return true; }

    std::vector<std::string> messages;
};

class ThrowingCore final : public InternalCoreInterface {
public:
    void write(const Record&) override { throw 1; }
    void releaseLogger() override {}
    bool wants(Severity) const override { return true; }
};

class RecordBuilderTest : public testing::Test {
protected:
    RecordBuilder record() { return RecordBuilder(&core, here(), Severity::error); }

    KeepingCore core;
    /// Too long for the memory that a record brings.
    const std::string longText = std::string(5000, 'x');
    const ErrorException exception{here(), longText};
};

TEST_F(RecordBuilderTest, DropsARecordWithoutMemoryForItsText) {
    {
        const FailingAllocation failure(1);
        record() << "before" << longText << "after";
        EXPECT_TRUE(failure.hasFailed());
    }
    EXPECT_THAT(core.messages, IsEmpty());
    record() << longText;
    EXPECT_THAT(core.messages, ElementsAre(longText));
}

TEST_F(RecordBuilderTest, DropsARecordWhicheverAllocationOfItsExceptionFails) {
    std::size_t sent = 0;
    const auto failures = failEachAllocationOf([&] {
        record() << exception << exception << "after";
        sent = core.messages.size();
    });
    EXPECT_GT(failures, 0U);
    EXPECT_EQ(sent, 1U); // the last time, when nothing failed
}

TEST_F(RecordBuilderTest, SparesTheCodeThatLogsAFailureOfTheCore) {
    ThrowingCore throwing;
    EXPECT_NO_THROW(RecordBuilder(&throwing, here(), Severity::error) << "text");
    EXPECT_NO_THROW(RecordBuilder(&throwing, here(), Severity::error) << exception);
}

} // namespace
