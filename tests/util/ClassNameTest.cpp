#include "util/ClassName.h"

#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

TEST(ClassName, HasTheKeywordInFront) {
    EXPECT_EQ(JY::className(typeid(JY::ApiErrorException)), "class JY::ApiErrorException");
}

TEST(ClassName, IsThatOfTheRunTimeType) {
    const JY::ErrorException error({"x", 1}, "");
    const JY::Exception& exception = error;
    EXPECT_EQ(JY::className(typeid(exception)), "class JY::ErrorException");
}

TEST(BareClassName, LeavesTheKeywordOut) {
    EXPECT_EQ(JY::bareClassName(typeid(JY::ErrorException)), "JY::ErrorException");
}

TEST(ClassName, IsFoundByManyThreadsAtOnce) {
    struct Local {};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { EXPECT_TRUE(JY::className(typeid(Local)).ends_with("Local")); });
    }
}

} // namespace
