#include "source/LogFileName.h"

#include "log/Core.h"
#include "tests/source/Settings.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempFile.h"
#include "util/Handle.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using namespace JY::Test;

class LogFileNameTest : public testing::Test {
protected:
    static std::string nameOf(const std::wstring& path) {
        TextBuffer text;
        text << LogFileName(path);
        return text.str();
    }
    static std::string narrow(const std::wstring& path) {
        TextBuffer text;
        text << path;
        return text.str();
    }
    static std::string identityOf(const std::wstring& path) {
        const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        BY_HANDLE_FILE_INFORMATION information{};
        EXPECT_TRUE(GetFileInformationByHandle(file.get(), &information));
        char text[40];
        std::snprintf(text, sizeof text, "%08lx,%08lx%08lx", information.dwVolumeSerialNumber,
                      information.nFileIndexHigh, information.nFileIndexLow);
        return text;
    }

    Settings settings;
    LogCapture log;
    TempFile file;
};

TEST_F(LogFileNameTest, IsThePathWhenNamesAreNotHidden) {
    EXPECT_EQ(nameOf(file.path()), narrow(file.path()));
}

TEST_F(LogFileNameTest, IsTheFilesIdentityWhenNamesAreHidden) {
    settings.setHideFileName(1);
    EXPECT_EQ(nameOf(file.path()), identityOf(file.path()));
    EXPECT_TRUE(log.messages().empty());
}

TEST_F(LogFileNameTest, IsHiddenByASettingThatIsNotValid) {
    settings.setHideFileName(5);
    EXPECT_EQ(nameOf(file.path()), identityOf(file.path()));
}

TEST_F(LogFileNameTest, IsTheObscuredPathWhenTheIdentityCannotBeRead) {
    settings.setHideFileName(1);
    EXPECT_EQ(nameOf(L"Q:\\A.flv"), "ffaeffc5ffa3ffbeffd1ff99ff93ff89");
    EXPECT_EQ(log.messages(), std::vector<std::string>{"ResolveFile failed. "});
    EXPECT_EQ(log.count(Log2::Severity::warn, "ResolveFile failed. "), 1U);
}

TEST_F(LogFileNameTest, StreamsIntoARecord) {
    Log2::untraced().info({"LogFileNameTest", 1}) << "File=" << LogFileName(file.path()) << '.';
    EXPECT_EQ(log.count("File=" + narrow(file.path()) + "."), 1U);
}

TEST_F(LogFileNameTest, IsNotResolvedWhileNothingIsLogged) {
    settings.setHideFileName(1);
    Log2::setCore(nullptr);
    Log2::untraced().info({"LogFileNameTest", 1}) << LogFileName(L"Q:\\A.flv");
    EXPECT_TRUE(log.messages().empty());
}

} // namespace
