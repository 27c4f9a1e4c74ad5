#include "tests/tools/ModuleRegistration.h"

#include "tests/support/ProgramRun.h"

namespace JY::Tools {

namespace {

using Test::programFolder;
using Test::runProgramBeside;

std::wstring regsvr32() {
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(GetSystemDirectoryW(folder.data(), MAX_PATH));
    return folder + L"\\regsvr32.exe";
}

std::wstring module() {
    return (programFolder() / L"JyFlvSource.dll").wstring();
}

// GoogleTest owns it.
const auto* const registration = testing::AddGlobalTestEnvironment(new ModuleRegistration);

} // namespace

void ModuleRegistration::SetUp() {
    ASSERT_EQ(runProgramBeside(regsvr32(), {L"/s", module()}).status, 0U);
}

void ModuleRegistration::TearDown() {
    EXPECT_EQ(runProgramBeside(regsvr32(), {L"/s", L"/u", module()}).status, 0U);
}

} // namespace JY::Tools
