#include "tools/HResultWords.h"

#include <mferror.h>

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(HResultWords, NameTheCodesOfMediaFoundation) {
    EXPECT_EQ(hresultInWords(MF_E_SHUTDOWN), "MF_E_SHUTDOWN (0xC00D3E85): the media source has been shut down");
    EXPECT_EQ(hresultInWords(MF_E_UNSUPPORTED_REPRESENTATION),
              "MF_E_UNSUPPORTED_REPRESENTATION (0xC00D36B7): the choice of streams is not supported");
}

TEST(HResultWords, NameTheCommonCodes) {
    EXPECT_EQ(hresultInWords(E_FAIL), "E_FAIL (0x80004005): it failed for a reason that was not given");
    EXPECT_EQ(hresultInWords(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)),
              "ERROR_FILE_NOT_FOUND (0x80070002): there is no such file");
}

TEST(HResultWords, TakeTheSystemsWordsForOtherSystemCodes) {
    const std::string words = hresultInWords(HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_TRUE(words.starts_with("0x80070070: ")) << words;
    EXPECT_GT(words.size(), std::string("0x80070070: ").size()) << words;
    EXPECT_NE(words.back(), '.') << words;
}

TEST(HResultWords, SayThatACodeIsUnknown) {
    EXPECT_EQ(hresultInWords(static_cast<HRESULT>(0xA1234567)),
              "0xA1234567: an error that the system has no words for");
}

} // namespace
} // namespace JY::Tools
