#include "tools/SnapshotVerifier.h"

#include "tests/tools/LogText.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

constexpr const char* digestDiffers = "digest differs";
constexpr const char* noBegin = "begin record is missing";
constexpr const char* noEnd = "end record is missing";

const std::string kept = recordText("first") + recordText("second\n    00");
const std::string block = snapshotText(kept, headAt(500));

std::vector<SnapshotFinding> verify(const std::vector<std::string>& contents) {
    return SnapshotVerifier(contents).verify();
}

/// What is wrong with each block, or with bytes outside any.
std::vector<std::string> damages(const std::vector<std::string>& contents) {
    std::vector<std::string> result;
    for (const SnapshotFinding& finding : verify(contents)) {
        result.push_back(finding.damage);
    }
    return result;
}

using Damages = std::vector<std::string>;

TEST(SnapshotVerifier, FindsABlockIntact) {
    const auto findings = verify({block});
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].damage, "");
    EXPECT_EQ(findings[0].number, 1U);
    EXPECT_EQ(findings[0].begin.offset, 0U);
    EXPECT_EQ(findings[0].end.offset, block.size());
    EXPECT_EQ(findings[0].records, 2U);
    EXPECT_EQ(findings[0].begun, readLogTime(timeAt(500)));
}

/// The digests were computed elsewhere.
TEST(SnapshotVerifier, ExpectsTheDigestWithItsBytesRotated) {
    EXPECT_EQ(damages({beginText() + endText("b57247ddbcd6961a64aa7fdf2bc030215fb10e12")}), Damages{""});
    EXPECT_EQ(damages({beginText() + kept + endText("5e15e9480b80ca46ee3d4da2c6de0b2efa00606b")}), Damages{""});
    EXPECT_EQ(damages({beginText() + endText("da39a3ee5e6b4b0d3255bfef95601890afd80709")}), Damages{digestDiffers});
}

TEST(SnapshotVerifier, FindsNothingWhereThereIsNoBlock) {
    EXPECT_EQ(damages({}), Damages{});
    EXPECT_EQ(damages({"", ""}), Damages{});
    EXPECT_EQ(damages({recordText("no snapshot")}), Damages{});
}

TEST(SnapshotVerifier, FindsWhatIsMissing) {
    EXPECT_EQ(damages({kept + endText(digestText(kept))}), Damages{noBegin});
    EXPECT_EQ(damages({beginText() + kept}), Damages{noEnd});
    EXPECT_EQ(damages({beginText()}), Damages{noEnd});
    EXPECT_EQ(damages({endText(digestText(""))}), Damages{noBegin});
    EXPECT_EQ(damages({beginText() + kept + block}), (Damages{noEnd, ""}));
    EXPECT_EQ(damages({block + kept + endText(digestText(kept))}), (Damages{"", noBegin}));
}

TEST(SnapshotVerifier, FindsRecordsThatWereTakenOutPutInOrExchanged) {
    const std::string one = recordText("one");
    const std::string two = recordText("two");
    const std::string end = endText(digestText(one + two));
    EXPECT_EQ(damages({beginText() + one + two + end}), Damages{""});
    EXPECT_EQ(damages({beginText() + one + end}), Damages{digestDiffers});
    EXPECT_EQ(damages({beginText() + one + two + two + end}), Damages{digestDiffers});
    EXPECT_EQ(damages({beginText() + two + one + end}), Damages{digestDiffers});
    EXPECT_EQ(damages({beginText() + end}), Damages{digestDiffers});
}

TEST(SnapshotVerifier, FindsBytesOutsideAnyBlock) {
    const auto findings = verify({block + recordText("between") + block + "behind"});
    ASSERT_EQ(findings.size(), 4U);
    EXPECT_EQ(findings[1].damage, "bytes outside any block");
    EXPECT_EQ(findings[1].number, 0U);
    EXPECT_EQ(findings[1].begin.offset, block.size());
    EXPECT_EQ(findings[2].number, 2U);
    EXPECT_EQ(findings[2].damage, "");
    EXPECT_EQ(findings[3].damage, "bytes outside any block");
    EXPECT_EQ(damages({"in front\r\n" + block}), (Damages{"bytes outside any block", ""}));
}

TEST(SnapshotVerifier, NamesTheDamagedBlockOnly) {
    std::string second = block;
    second[beginText().size() + headText({}).size()] ^= 1;
    const auto findings = verify({block + second + block});
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].damage, "");
    EXPECT_EQ(findings[1].damage, digestDiffers);
    EXPECT_EQ(findings[1].number, 2U);
    EXPECT_EQ(findings[1].begin.offset, block.size());
    EXPECT_EQ(findings[2].damage, "");
}

TEST(SnapshotVerifier, IsNotDeceivedByMessagesThatImitateItsRecords) {
    const std::string imitations = recordText("name\n" + beginText() + "name") +
                                   recordText("name\r\n" + endText(digestText("something else"))) +
                                   recordText("name\r\n" + beginText() + "name\r\n" + snapshotText(kept));
    const std::string hostile = snapshotText(imitations);
    const auto findings = verify({hostile + block});
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].damage, "");
    EXPECT_EQ(findings[0].end.offset, hostile.size());
    EXPECT_EQ(findings[1].damage, "");
}

TEST(SnapshotVerifier, FindsDamageAlsoWhereAMessageImitatesAnEndRecord) {
    const std::string records = recordText("name\r\n" + endText(digestText("something else"))) + recordText("last");
    std::string hostile = snapshotText(records);
    hostile[hostile.size() - endText(digestText("")).size() - 3] ^= 1;
    EXPECT_EQ(damages({hostile}), Damages{digestDiffers});
}

TEST(SnapshotVerifier, FollowsABlockIntoTheNextFile) {
    const std::size_t cut = beginText().size() + recordText("first").size();
    const auto findings = verify({block + block.substr(0, cut), block.substr(cut) + block});
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[1].damage, "");
    EXPECT_EQ(findings[1].number, 2U);
    EXPECT_EQ(findings[1].begin.file, 0U);
    EXPECT_EQ(findings[1].end.file, 1U);
    EXPECT_EQ(findings[1].end.offset, block.size() - cut);
    EXPECT_EQ(findings[2].damage, "");
    EXPECT_EQ(findings[2].number, 1U);
    EXPECT_EQ(findings[2].begin.file, 1U);
    EXPECT_EQ(damages({block.substr(cut)}), Damages{noBegin});
    EXPECT_EQ(damages({block.substr(0, cut)}), Damages{noEnd});
}

TEST(SnapshotVerifier, FollowsABlockThroughManyFiles) {
    EXPECT_EQ(damages({beginText(), recordText("first"), "", recordText("second\n    00"), endText(digestText(kept))}),
              Damages{""});
}

TEST(SnapshotVerifier, WantsOneThreadInBothRecords) {
    TestHead other;
    other.thread = 7;
    EXPECT_EQ(damages({beginText() + kept + endText(digestText(kept), other)}),
              Damages{"threads of begin record and end record differ"});
}

/// Whether the byte is one of those that no digest covers and that could be anything of their form: the digits of the
/// time and of the line number in the begin and end records.
bool isFree(const std::string& record, std::size_t offset) {
    const std::string head = headText({});
    const std::size_t bracket = head.find('(');
    const bool time = offset < logTimeLength;
    const bool lineNumber = offset > bracket && offset <= bracket + 5;
    return record[offset] != '/' && (time || lineNumber);
}

/// Every bit of a block is turned, one at a time. That must be found wherever the digest reaches, in the digest and in
/// all of the begin and end records but for the digits of their times and line numbers: there, only what leaves the
/// form of a time or a number can be found.
TEST(SnapshotVerifier, FindsEveryBitThatWasTurned) {
    const std::string begin = beginText(headAt(500));
    const std::size_t end = begin.size() + kept.size();
    ASSERT_EQ(verify({block}).at(0).damage, "");
    std::size_t unnoticed = 0;
    for (std::size_t offset = 0; offset < block.size(); ++offset) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string altered = block;
            altered[offset] = static_cast<char>(static_cast<unsigned char>(altered[offset]) ^ (1U << bit));
            const auto findings = verify({block + altered});
            const bool found = findings.size() != 2 || !findings[1].damage.empty();
            ASSERT_EQ(findings.at(0).damage, "");
            ASSERT_EQ(findings[0].end.offset, block.size());
            const bool free = offset < begin.size() ? isFree(begin, offset)
                              : offset >= end       ? isFree(block.substr(end), offset - end)
                                                    : false;
            EXPECT_TRUE(found || free) << offset << ' ' << bit;
            unnoticed += found ? 0 : 1;
        }
    }
    EXPECT_GT(unnoticed, 0U); // the limit of what can be checked is where the other tests say
}

TEST(SnapshotVerifier, FindsATimeOrALineNumberThatHasLostItsForm) {
    const std::string begin = beginText();
    const std::size_t line = begin.find("(   65)");
    for (const auto& [offset, byte] : {std::pair{std::size_t{5}, '2'}, // a 21st month
                                       {std::size_t{4}, '-'},
                                       {std::size_t{11}, '3'}, // 30 o'clock
                                       {std::size_t{22}, ':'},
                                       {line + 1, '0'},
                                       {line + 4, 'x'}}) {
        std::string altered = block;
        altered[offset] = byte;
        EXPECT_EQ(damages({altered}), Damages{noBegin}) << offset;
    }
}

TEST(SnapshotVerifier, FindsWhereABlockWasCut) {
    for (std::size_t size = 1; size < block.size(); ++size) {
        const auto findings = verify({block + block.substr(0, size)});
        ASSERT_EQ(findings.size(), 2U) << size;
        EXPECT_EQ(findings[0].damage, "");
        EXPECT_EQ(findings[1].damage, size < beginText().size() ? "bytes outside any block" : noEnd) << size;
    }
}

} // namespace
} // namespace JY::Tools
