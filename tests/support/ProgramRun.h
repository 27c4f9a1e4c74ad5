#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

namespace JY::Test {

/// What a program that has ended leaves behind.
struct ProgramRun {
    DWORD status = 0;
    /// Standard output and standard error.
    std::string output;
    std::string errors;
};

/// Runs a program that stands beside this one, or elsewhere when `name` is a full path, and waits for its end.
/// @throws std::runtime_error when it cannot be started.
ProgramRun runProgramBeside(const std::wstring& name, const std::vector<std::wstring>& arguments);

/// The folder of this program.
std::filesystem::path programFolder();

} // namespace JY::Test
