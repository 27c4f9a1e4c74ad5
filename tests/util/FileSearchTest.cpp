#include "util/FileSearch.h"

#include "tests/support/OpenHandles.h"
#include "tests/support/TempFile.h"
#include "util/Handle.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using JY::findFiles;
using JY::FoundFile;
using JY::Handle;
using JY::Test::countOpenHandles;
using JY::Test::TempFolder;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A file of `size` bytes that take no room on the disk.
void makeFile(const std::wstring& path, std::int64_t size) {
    const Handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    LARGE_INTEGER end;
    end.QuadPart = size;
    ASSERT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
}

/// "name:size" of each.
std::vector<std::string> texts(const std::vector<FoundFile>& files) {
    std::vector<std::string> result;
    for (const FoundFile& file : files) {
        result.push_back(std::string(file.name.begin(), file.name.end()) + ":" + std::to_string(file.size));
    }
    return result;
}

} // namespace

TEST(FindFiles, GivesNamesAndSizesOfTheFilesThatMatch) {
    const TempFolder folder;
    makeFile(folder.path() + L"\\a-1.log", 0);
    makeFile(folder.path() + L"\\a-22.log", 12);
    makeFile(folder.path() + L"\\b-1.log", 1);
    makeFile(folder.path() + L"\\a-1.txt", 1);
    EXPECT_THAT(texts(findFiles(folder.path(), L"a-*.log")), UnorderedElementsAre("a-1.log:0", "a-22.log:12"));
}

TEST(FindFiles, ComparesTheNamesThatItGives) {
    const TempFolder folder;
    makeFile(folder.path() + L"\\a-1.log2", 1); // its short name would match
    makeFile(folder.path() + L"\\A-2.LOG", 1);
    EXPECT_THAT(texts(findFiles(folder.path(), L"a-*.log")), UnorderedElementsAre("A-2.LOG:1"));
}

TEST(FindFiles, GivesSizesAboveFourGibibytes) {
    const TempFolder folder;
    makeFile(folder.path() + L"\\a.log", (std::int64_t{5} << 30) + 7);
    EXPECT_THAT(texts(findFiles(folder.path(), L"*.log")), UnorderedElementsAre("a.log:5368709127"));
}

TEST(FindFiles, LeavesFoldersOut) {
    const TempFolder folder;
    ASSERT_TRUE(CreateDirectoryW((folder.path() + L"\\a-1.log").c_str(), nullptr));
    makeFile(folder.path() + L"\\a-1.log\\a-2.log", 1);
    EXPECT_THAT(texts(findFiles(folder.path(), L"*")), IsEmpty());
}

TEST(FindFiles, GivesNothingForAFolderThatIsNotThere) {
    const TempFolder folder;
    EXPECT_THAT(findFiles(folder.path() + L"\\gone", L"*"), IsEmpty());
}

TEST(FindFiles, NoFolderIsNotTheRootOfTheDrive) {
    const std::wstring name = L"jy-test-" + std::to_wstring(GetCurrentProcessId()) + L".root";
    makeFile(L"\\" + name, 1);
    ASSERT_EQ(findFiles(L"\\.", name).size(), 1U);
    EXPECT_THAT(findFiles(L"", name), IsEmpty());
    DeleteFileW((L"\\" + name).c_str());
}

TEST(FindFiles, KeepsNoHandle) {
    const TempFolder folder;
    makeFile(folder.path() + L"\\a.log", 1);
    EXPECT_EQ(findFiles(folder.path(), L"*.log").size(), 1U);
    const std::size_t before = countOpenHandles();
    for (int count = 0; count < 20; ++count) {
        findFiles(folder.path(), L"*.log");
        findFiles(folder.path(), L"*.txt");
    }
    EXPECT_EQ(countOpenHandles(), before);
}
