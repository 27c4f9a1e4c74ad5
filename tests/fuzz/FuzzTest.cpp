#include "tests/fuzz/FileClient.h"
#include "tests/fuzz/Finding.h"
#include "tests/fuzz/Mutator.h"
#include "tests/fuzz/Options.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TempFile.h"

#include <mfapi.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Fuzz;
using Test::LoadedModule;
using Test::ProgramRun;
using testing::HasSubstr;
using testing::Not;

/// What the program says of a library that misbehaves.
std::string findingsOf(const wchar_t* fault, const std::vector<std::wstring>& options = {}) {
    SetEnvironmentVariableW(L"JY_FAULTY", fault);
    std::vector<std::wstring> arguments = {L"--module", L"FaultyModule.dll", L"--cases", L"1"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramRun run = Test::runProgramBeside(L"fuzz.exe", arguments);
    SetEnvironmentVariableW(L"JY_FAULTY", nullptr);
    EXPECT_EQ(run.status, 1U);
    return run.output;
}

TEST(Fuzz, NoticesAProcessThatEnds) {
    EXPECT_THAT(findingsOf(L"ends"), HasSubstr("case 0 of seed 1: the worker has ended"));
}

TEST(Fuzz, NoticesACallThatDoesNotComeBack) {
    EXPECT_THAT(findingsOf(L"hangs", {L"--patience", L"3"}), HasSubstr("case 0 of seed 1: the worker does not get on"));
}

TEST(Fuzz, NoticesAFaultThatTheLibraryHandles) {
    EXPECT_THAT(findingsOf(L"faults"), HasSubstr("case 0 of seed 1: fault 0xC0000005, 1 in all, "));
}

TEST(Fuzz, NoticesAResultThatIsOfNoUse) {
    EXPECT_THAT(findingsOf(L"nothing"), HasSubstr("case 0 of seed 1: no class object"));
}

TEST(Fuzz, NoticesThatNothingIsPlayed) {
    EXPECT_THAT(findingsOf(L"nothing", {L"--cases", L"99"}), Not(HasSubstr("no case gave samples")));
    EXPECT_THAT(findingsOf(L"nothing", {L"--cases", L"100"}),
                HasSubstr("the run from case 0 of seed 1: no case gave samples"));
}

TEST(Fuzz, LeavesNoFilesBehindWhenAWorkerEnds) {
    const JY::Test::TempFolder folder;
    const std::wstring usual = std::filesystem::temp_directory_path().wstring();
    SetEnvironmentVariableW(L"TMP", folder.path().c_str());
    const std::string findings = findingsOf(L"ends");
    SetEnvironmentVariableW(L"TMP", usual.c_str());
    EXPECT_THAT(findings, HasSubstr("the worker has ended"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Fuzz, WritesTheFileOfACase) {
    const JY::Test::TempFile file;
    const ProgramRun run =
        JY::Test::runProgramBeside(L"fuzz.exe", {L"--seed", L"3", L"--case", L"14", L"--write", file.path()});
    EXPECT_EQ(run.status, 0U);
    std::ifstream stream(std::filesystem::path(file.path()), std::ios::binary);
    Random random = Random::ofCase(3, 14);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(stream), {}), Mutator(buildCorpus()).makeFile(random));
}

TEST(Fuzz, RefusesArgumentsThatItDoesNotKnow) {
    EXPECT_FALSE(parseOptions({L"--sed", L"1"}));
    EXPECT_FALSE(parseOptions({L"--seed"}));
    EXPECT_FALSE(parseOptions({L"--seed", L"x"}));
    EXPECT_FALSE(parseOptions({L"--seed", L"-1"}));
    EXPECT_TRUE(parseOptions({}));
}

TEST(Fuzz, HandsItsOptionsToWorkers) {
    const auto options = parseOptions({L"--seed", L"7", L"--case", L"8", L"--seconds", L"9", L"--module", L"x.dll"});
    ASSERT_TRUE(options);
    EXPECT_EQ(toArguments(*options), L" --seed 7 --from 8 --cases 1 --seconds 9 --module \"x.dll\"");
}

TEST(FileClient, NoticesWhatStaysInUse) {
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    const LoadedModule module;
    Progress progress{};
    const FileClient client(module, progress);
    auto handler = module.makeHandler();
    EXPECT_THROW(client.requireUnused(Patience(0, 0)), Finding);
    handler.Reset();
    EXPECT_NO_THROW(client.requireUnused());
    MFShutdown();
}

TEST(FileClient, PlaysAGoodFile) {
    ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    const LoadedModule module;
    Progress progress{};
    FileClient client(module, progress);
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        EXPECT_NO_THROW(client.use(buildCorpus().front().bytes, Random(seed)));
    }
    EXPECT_EQ(progress.opened, 20U);
    EXPECT_GT(progress.samples, 50U);
    EXPECT_NO_THROW(client.requireUnused());
    MFShutdown();
}

} // namespace
