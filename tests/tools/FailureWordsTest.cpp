#include "tools/FailureWords.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(FailureWords, SayWhatFailedAndWhy) {
    EXPECT_EQ(describe(Failure(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "opening the file")),
              "opening the file: ERROR_FILE_NOT_FOUND (0x80070002): there is no such file");
}

} // namespace
} // namespace JY::Tools
