#include "log/FileEraserImpl.h"
#include "tests/log/LogFolder.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "util/FileSearch.h"
#include "util/Handle.h"

#include <windows.h>

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Log2;
using Test::countOpenHandles;
using Test::ImportPatch;
using Test::LogFolder;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class FileEraserTest : public testing::Test {
protected:
    /// Files a-0.log, a-1.log, ... of `size` bytes each.
    void makeFiles(unsigned count, std::size_t size) const {
        for (unsigned index = 0; index < count; ++index) {
            folder.make("a-" + std::to_string(index) + ".log", std::string(size, 'x'));
        }
    }
    void erase(std::uint64_t budget) const { FileEraserImpl(folder.path(), L"a-*.log", budget).erase(); }
    /// The names that match, in the order in which the system lists them.
    std::vector<std::string> listed() const {
        std::vector<std::string> names;
        for (const FoundFile& file : findFiles(folder.path(), L"a-*.log")) {
            names.emplace_back(file.name.begin(), file.name.end());
        }
        return names;
    }

    LogFolder folder;
};

std::vector<std::string> deletedNames;

/// What another process may do between the listing and the removal: nothing is removed.
BOOL WINAPI noteDeletion(const wchar_t* path) {
    deletedNames.push_back(std::filesystem::path(path).filename().string());
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(FileEraserTest, LeavesFilesWithinTheBudgetAlone) {
    makeFiles(3, 100);
    erase(300);
    EXPECT_EQ(listed().size(), 3U);
}

TEST_F(FileEraserTest, RemovesFilesInTheOrderOfTheListingUntilTheBudgetHolds) {
    makeFiles(5, 100);
    const std::vector<std::string> all = listed();
    erase(299);
    EXPECT_THAT(listed(), ElementsAreArray(all.begin() + 3, all.end()));
}

TEST_F(FileEraserTest, CountsEachFilesOwnSize) {
    folder.make("a-1.log", std::string(1000, 'x'));
    folder.make("a-2.log", "x");
    folder.make("a-3.log", std::string(10, 'x'));
    const std::vector<std::string> all = listed();
    erase(1010); // one byte too many
    EXPECT_THAT(listed(), ElementsAreArray(all.begin() + 1, all.end()));
}

TEST_F(FileEraserTest, RemovesEverythingForABudgetOfNothing) {
    makeFiles(3, 1);
    erase(0);
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(FileEraserTest, LeavesEmptyFilesAloneOnceTheBudgetHolds) {
    makeFiles(3, 0);
    erase(0);
    EXPECT_EQ(listed().size(), 3U);
}

TEST_F(FileEraserTest, AddsSizesUpInSixtyFourBits) {
    const Handle file(CreateFileW(folder.path("a-big.log").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    LARGE_INTEGER end;
    end.QuadPart = (std::int64_t{4} << 30) + 1; // one byte in 32 bits
    ASSERT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
    deletedNames.clear();
    const ImportPatch<decltype(&DeleteFileW)> patch("DeleteFileW", &noteDeletion);
    erase(std::uint64_t{4} << 30);
    EXPECT_THAT(deletedNames, ElementsAre("a-big.log"));
    deletedNames.clear();
    erase((std::uint64_t{4} << 30) + 1);
    EXPECT_THAT(deletedNames, IsEmpty());
}

TEST_F(FileEraserTest, NeverTouchesWhatDoesNotMatch) {
    makeFiles(2, 100);
    for (const char* name : {"b-0.log", "a-0.txt", "a-0.log2", "aa-0.log", "a.log"}) {
        folder.make(name, "x");
    }
    std::filesystem::create_directory(folder.path("inner"));
    folder.make("inner/a-0.log", "x");
    erase(0);
    EXPECT_THAT(folder.names(), ElementsAre("a-0.log2", "a-0.txt", "a.log", "aa-0.log", "b-0.log", "inner"));
    EXPECT_TRUE(folder.has("inner/a-0.log"));
}

TEST_F(FileEraserTest, NeverTouchesAFolderThatMatches) {
    std::filesystem::create_directory(folder.path("a-0.log"));
    std::filesystem::create_directory(folder.path("a-1.log"));
    folder.make("a-1.log/a-2.log", std::string(100, 'x'));
    folder.make("a-3.log", std::string(100, 'x'));
    erase(0);
    EXPECT_THAT(folder.names(), ElementsAre("a-0.log", "a-1.log"));
    EXPECT_TRUE(folder.has("a-1.log/a-2.log"));
}

TEST_F(FileEraserTest, GoesOnWithTheNextFileWhenOneIsInUse) {
    makeFiles(3, 100);
    const std::vector<std::string> all = listed();
    const Handle used(CreateFileW(folder.path(all[0]).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(used);
    erase(100);
    // The file in use counts as removed, so that the budget is one file over until it is free.
    EXPECT_THAT(listed(), ElementsAre(all[0], all[2]));
}

TEST_F(FileEraserTest, TriesEachFileOnce) {
    makeFiles(3, 100);
    const std::vector<std::string> all = listed();
    deletedNames.clear();
    const ImportPatch<decltype(&DeleteFileW)> patch("DeleteFileW", &noteDeletion);
    erase(0);
    EXPECT_EQ(deletedNames, all);
}

TEST_F(FileEraserTest, HasNothingToDoInAFolderThatIsNotThere) {
    EXPECT_NO_THROW(FileEraserImpl(folder.path("gone"), L"a-*.log", 0).erase());
}

TEST_F(FileEraserTest, ExpandsItsFolder) {
    makeFiles(1, 100);
    SetEnvironmentVariableW(L"JY_TEST_FOLDER", folder.path().c_str());
    FileEraserImpl eraser(L"%JY_TEST_FOLDER%", L"a-*.log", 0);
    SetEnvironmentVariableW(L"JY_TEST_FOLDER", nullptr);
    eraser.erase();
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(FileEraserTest, KeepsNoHandle) {
    makeFiles(10, 100);
    erase(1000);
    const std::size_t before = countOpenHandles();
    for (unsigned left = 10; left != 0; --left) {
        erase(100 * (left - 1));
    }
    EXPECT_EQ(countOpenHandles(), before);
    EXPECT_THAT(folder.names(), IsEmpty());
}

} // namespace
