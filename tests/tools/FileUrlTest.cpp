#include "tools/FileUrl.h"

#include <windows.h>

#include <array>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

std::wstring currentFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data());
    return folder.data();
}

TEST(FileUrls, PutTheDosPathBehindTheSchemeFirst) {
    const auto urls = fileUrls(LR"(C:\films\a b.flv)");
    ASSERT_EQ(urls.size(), 2U);
    EXPECT_EQ(urls[0], LR"(file://C:\films\a b.flv)");
}

TEST(FileUrls, FallBackToTheEscapedForm) {
    EXPECT_EQ(fileUrls(LR"(C:\films\a b.flv)")[1], L"file:///C:/films/a%20b.flv");
}

TEST(FileUrls, MakeRelativePathsAbsolute) {
    EXPECT_EQ(fileUrls(L"a.flv")[0], L"file://" + currentFolder() + L"\\a.flv");
    EXPECT_EQ(fileUrls(LR"(C:\films\..\a.flv)")[0], LR"(file://C:\a.flv)");
    EXPECT_EQ(fileUrls(L"C:/films/a.flv")[0], LR"(file://C:\films\a.flv)");
}

TEST(FileUrls, TakeAUrlAsItStands) {
    EXPECT_EQ(fileUrls(L"file://C:\\a.flv"), (std::vector<std::wstring>{L"file://C:\\a.flv"}));
}

} // namespace
} // namespace JY::Tools
