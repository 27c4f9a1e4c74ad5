#pragma once

#include <functional>
#include <string>
#include <vector>

namespace JY::Tools {

/// The exit statuses of the tools.
enum ExitStatus : int { exitSuccess = 0, exitFailure = 1, exitUsage = 2 };

/// The command line of a tool.
struct CommandLine {
    /// The program file's name without folder and extension.
    std::string program;
    std::vector<std::wstring> arguments;
};

/// Runs a tool from its `wmain`: standard output and error are UTF-8, and what `body` throws becomes a message on
/// standard error and an exit status.
/// @param usage what follows the program's name in the usage message.
int runProgram(int argumentCount, wchar_t** arguments, const char* usage,
               const std::function<int(const CommandLine&)>& body);

/// Whether standard output is a terminal, and whether standard error is.
bool outputIsTerminal();
bool errorIsTerminal();

} // namespace JY::Tools
