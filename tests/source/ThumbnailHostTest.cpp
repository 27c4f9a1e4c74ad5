#include "source/ThumbnailHost.h"

#include "source/FlvSourceImpl.h"
#include "tests/source/SourceTest.h"
#include "util/Handle.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

using namespace JY;
using namespace JY::Pictaro::Fs;
using namespace JY::Test;
using Texts = std::vector<std::string>;

TEST(ThumbnailHost, IsKnownByItsFileNameAlone) {
    for (const wchar_t* const path : {L"C:\\Program Files\\Pictaro\\PictaroSB.exe", L"C:\\PictaroPV.exe",
                                      L"PictaroSB.exe", L"C:/x/PictaroPV.exe"}) {
        EXPECT_TRUE(isThumbnailHost(path));
    }
}

TEST(ThumbnailHost, IsKnownWhateverTheCase) {
    EXPECT_TRUE(isThumbnailHost(L"C:\\PICTAROSB.EXE"));
    EXPECT_TRUE(isThumbnailHost(L"C:\\pictaropv.exe"));
}

TEST(ThumbnailHost, IsNoOtherProgram) {
    for (const wchar_t* const path :
         {L"C:\\Pictaro.exe", L"C:\\PictaroSB.exe\\player.exe", L"C:\\MyPictaroSB.exe", L"C:\\PictaroSB.exe.exe",
          L"C:\\PictaroSB", L"C:\\PictaroSC.exe", L"C:\\PictaroSB.exe\\", L""}) {
        EXPECT_FALSE(isThumbnailHost(path));
    }
}

TEST(ThumbnailHost, IsNotTheProgramOfTheseTests) {
    EXPECT_FALSE(isInThumbnailHost());
}

// The tests below run a copy of this program under a thumbnail host's name. What is to be seen there is in the tests
// that are disabled, which only the copy runs.

using DISABLED_InThumbnailHost = SourceTest;

TEST_F(DISABLED_InThumbnailHost, TheHostIsRecognised) {
    EXPECT_TRUE(isInThumbnailHost());
}

TEST_F(DISABLED_InThumbnailHost, OnlyTheVideoStreamIsGiven) {
    const Source source = open(media());
    DWORD count = 0;
    describe(*source.Get())->GetStreamDescriptorCount(&count);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(counter.count(), 2U);
}

TEST_F(DISABLED_InThumbnailHost, ASingleSelectedStreamIsAccepted) {
    const Source source = open(media());
    ASSERT_EQ(start(*source.Get(), Position(0)), S_OK);
    EXPECT_EQ(source->getStateId(), SourceStateId::started);
    const Stream video = announcedStream(*source.Get(), videoId);
    ASSERT_NE(video.Get(), nullptr);
    EXPECT_EQ(requestSample(*video.Get()), 0);
}

/// Runs a copy of this program under another name with its disabled tests and gives what it writes.
std::string runCopy(const TempFolder& folder, const std::wstring& name) {
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    const std::wstring copy = folder.path() + L'\\' + name;
    std::filesystem::copy_file(self, copy);
    const std::wstring outputPath = folder.path() + L"\\output.txt";

    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    Handle output(CreateFileW(outputPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = output.get();
    std::wstring command =
        L'"' + copy + L"\" --gtest_also_run_disabled_tests --gtest_filter=DISABLED_InThumbnailHost.*";
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(
        CreateProcessW(copy.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process));
    const Handle thread(process.hThread);
    const Handle running(process.hProcess);
    if (WaitForSingleObject(running.get(), 60'000) != WAIT_OBJECT_0) {
        TerminateProcess(running.get(), 1);
    }
    output.reset();
    std::ifstream file{std::filesystem::path(outputPath)};
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ThumbnailHost, GetsTheVideoAlone) {
    for (const wchar_t* const name : {L"PictaroSB.exe", L"pictaroPV.EXE"}) {
        const TempFolder folder;
        const std::string output = runCopy(folder, name);
        EXPECT_NE(output.find("[  PASSED  ] 3 tests."), std::string::npos) << output;
    }
}

} // namespace
