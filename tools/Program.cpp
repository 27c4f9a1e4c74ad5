#include "tools/Program.h"

#include "tools/Failure.h"
#include "tools/FailureWords.h"
#include "tools/Text.h"

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <iostream>

namespace JY::Tools {

namespace {

/// The console shows UTF-8 for as long as it lives; lines end alike wherever the output goes.
class Utf8Output {
public:
    Utf8Output() : previous_(GetConsoleOutputCP()) {
        SetConsoleOutputCP(CP_UTF8);
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
        std::ios::sync_with_stdio(false);
    }
    Utf8Output(const Utf8Output&) = delete;
    Utf8Output& operator=(const Utf8Output&) = delete;
    ~Utf8Output() {
        std::cout.flush();
        SetConsoleOutputCP(previous_);
    }

private:
    UINT previous_;
};

CommandLine commandLine(int argumentCount, wchar_t** arguments) {
    CommandLine result;
    result.program = argumentCount > 0 ? toUtf8(std::filesystem::path(arguments[0]).stem().wstring()) : "";
    for (int index = 1; index < argumentCount; ++index) {
        result.arguments.emplace_back(arguments[index]);
    }
    return result;
}

} // namespace

int runProgram(int argumentCount, wchar_t** arguments, const char* usage,
               const std::function<int(const CommandLine&)>& body) {
    const Utf8Output output;
    const CommandLine line = commandLine(argumentCount, arguments);
    try {
        return body(line);
    } catch (const UsageError& error) {
        std::cerr << line.program << ": " << error.what() << "\nusage: " << line.program << ' ' << usage;
        return exitUsage;
    } catch (const Failure& failure) {
        std::cerr << line.program << ": " << describe(failure) << '\n';
    } catch (const std::exception& error) {
        std::cerr << line.program << ": " << error.what() << '\n';
    }
    return exitFailure;
}

bool outputIsTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool errorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

} // namespace JY::Tools
