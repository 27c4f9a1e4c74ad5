#include "tools/LogPieces.h"

#include "tests/tools/LogText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

using testing::ElementsAre;

std::vector<std::string> recordsOf(std::string_view content) {
    std::vector<std::string> records;
    for (const auto& piece : LogPieces(content).records) {
        records.emplace_back(piece.text);
    }
    return records;
}

TEST(LogPieces, AreARecordForEachLine) {
    const std::string first = recordText("first", headAt(1));
    const std::string second = recordText("", headAt(2));
    const std::string third = recordText("third", headAt(3));
    const std::string content = first + second + third;
    EXPECT_THAT(recordsOf(content), ElementsAre(first, second, third));
    EXPECT_EQ(LogPieces(content).leadIn, "");
}

TEST(LogPieces, KeepAMessageOfManyLinesTogether) {
    const std::string dump = recordText("Tag=\n    46 4c 56 01                                     FLV."
                                        "\n    00                                              .");
    const std::string lines = recordText("one\r\n\r\ntwo\rthree\n");
    EXPECT_THAT(recordsOf(dump + lines), ElementsAre(dump, lines));
}

TEST(LogPieces, AreNotDeceivedByAMessageThatLooksLikeARecord) {
    const std::string imitation = recordText("file\n" + recordText("no record") + "more");
    const std::string inTheLine = recordText(headText({}) + "still the message");
    EXPECT_THAT(recordsOf(imitation + inTheLine), ElementsAre(imitation, inTheLine));
}

TEST(LogPieces, HoldAnyBytes) {
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    const std::string first = recordText(every);
    const std::string second = recordText(std::string(3, '\0'));
    EXPECT_THAT(recordsOf(first + second), ElementsAre(first, second));
}

TEST(LogPieces, HoldALongMessage) {
    const std::string record = recordText(std::string(3'000'000, '\r'));
    const std::string next = recordText("next");
    EXPECT_THAT(recordsOf(record + next), ElementsAre(record, next));
}

TEST(LogPieces, SetWhatStandsInFrontApart) {
    const std::string record = recordText("message");
    const std::string content = "the end of a record\r\nlost\r\n" + record;
    const LogPieces pieces(content);
    EXPECT_EQ(pieces.leadIn, "the end of a record\r\nlost\r\n");
    EXPECT_THAT(recordsOf(content), ElementsAre(record));
}

TEST(LogPieces, LoseNothingWithoutARecord) {
    EXPECT_TRUE(LogPieces("").records.empty());
    for (const std::string content : {"\r\n", "\r", "no log", "a\rb\rc", "a\r\nb"}) {
        const LogPieces pieces(content);
        EXPECT_TRUE(pieces.records.empty());
        EXPECT_EQ(pieces.leadIn, content);
    }
}

TEST(LogPieces, EndWithTheBytes) {
    const std::string first = recordText("first");
    const std::string cut = headText({}) + "no line end";
    EXPECT_THAT(recordsOf(first + cut), ElementsAre(first, cut));
    const std::string onlyReturns = headText({}) + "a\r" + headText({}) + "b\r";
    EXPECT_THAT(recordsOf(onlyReturns), ElementsAre(onlyReturns));
}

} // namespace
} // namespace JY::Tools
