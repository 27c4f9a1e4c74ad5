#include "tools/LogRings.h"

#include "tests/tools/LogTesting.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

/// 0 for a file whose time is not known.
std::size_t oldest(const std::vector<int>& times) {
    std::vector<std::optional<LogTime>> moments;
    for (const int time : times) {
        moments.push_back(time == 0 ? std::nullopt : std::optional(LogTime(std::chrono::milliseconds(time))));
    }
    return oldestInRing(moments);
}

TEST(LogRings, BeginWithTheirOldestFile) {
    EXPECT_EQ(oldest({}), 0U);
    EXPECT_EQ(oldest({5}), 0U);
    EXPECT_EQ(oldest({1, 2, 3}), 0U);
    EXPECT_EQ(oldest({9, 2, 3}), 1U);
    EXPECT_EQ(oldest({8, 9, 3, 4}), 2U);
    EXPECT_EQ(oldest({4, 1, 2, 3}), 1U);
}

TEST(LogRings, BeginWithTheirOldestFileAlsoWhenTimesAreAlikeOrMissing) {
    EXPECT_EQ(oldest({5, 5, 5}), 0U);
    EXPECT_EQ(oldest({5, 6, 5}), 2U);
    EXPECT_EQ(oldest({0, 9, 0, 3}), 2U);
    EXPECT_EQ(oldest({0, 0}), 0U);
}

struct LogFolder : testing::Test {
    LogFolder() {
        for (const wchar_t* name :
             {L"JyFlvSource-1-0.log", L"JyFlvSource-1-10.log", L"JyFlvSource-1-2.log", L"JyFlvSource-1-s-0.log",
              L"JyFlvSource-22-0.log", L"JyFlvSource-x.log", L"Other-1-0.log"}) {
            logs.write(name, "");
        }
    }

    std::map<DWORD, std::wstring> filesOf(const LogRings& rings, DWORD process, bool snapshots) const {
        return rings.at({logs.path(), process, snapshots});
    }

    TestLogs logs;
};

TEST_F(LogFolder, IsTakenApartIntoRings) {
    const LogRings rings = findLogs({logs.path()}, LogKinds::both);
    EXPECT_EQ(rings.size(), 3U);
    const std::map<DWORD, std::wstring> files{{0, logs.path(L"JyFlvSource-1-0.log")},
                                              {2, logs.path(L"JyFlvSource-1-2.log")},
                                              {10, logs.path(L"JyFlvSource-1-10.log")}};
    EXPECT_EQ(filesOf(rings, 1, false), files);
    EXPECT_EQ(filesOf(rings, 1, true).size(), 1U);
    EXPECT_EQ(filesOf(rings, 22, false).size(), 1U);
}

TEST_F(LogFolder, GivesOneKindOfFiles) {
    EXPECT_EQ(findLogs({logs.path()}, LogKinds::texts).size(), 2U);
    const LogRings snapshots = findLogs({logs.path()}, LogKinds::snapshots);
    EXPECT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(filesOf(snapshots, 1, true).size(), 1U);
}

TEST_F(LogFolder, CountsOnceHoweverOftenAndInWhateverFormItIsNamed) {
    const LogRings once = findLogs({logs.path()}, LogKinds::texts);
    EXPECT_EQ(findLogs({logs.path(), logs.path() + L"\\", logs.path() + L"\\.", logs.path(L"JyFlvSource-1-0.log")},
                       LogKinds::texts),
              once);
}

TEST_F(LogFolder, GivesNamedFilesOfAnyNameAndKind) {
    const LogRings rings =
        findLogs({logs.path(L"JyFlvSource-1-s-0.log"), logs.path(L"Other-1-0.log")}, LogKinds::texts);
    EXPECT_EQ(rings.size(), 2U);
    EXPECT_EQ(filesOf(rings, 1, true).size(), 1U);
    EXPECT_EQ(rings.at({logs.path(L"Other-1-0.log"), std::nullopt, false}).size(), 1U);
}

TEST_F(LogFolder, NeedNotExist) {
    EXPECT_TRUE(findLogs({logs.path(L"none"), logs.path(L"none.log")}, LogKinds::both).empty());
}

} // namespace
} // namespace JY::Tools
