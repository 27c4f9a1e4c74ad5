#include "tests/support/ProgramRun.h"

#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace JY::Test {

namespace {

/// A file that a program writes its output into, gone at the end.
class OutputFile {
public:
    OutputFile() {
        std::array<wchar_t, MAX_PATH> name{};
        const std::wstring folder = std::filesystem::temp_directory_path().wstring();
        if (GetTempFileNameW(folder.c_str(), L"run", 0, name.data()) == 0) {
            throw std::runtime_error("GetTempFileName");
        }
        path_ = name.data();
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        handle_ = CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() {
        CloseHandle(handle_);
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    HANDLE handle() const { return handle_; }

    std::string text() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path path_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
};

/// Arguments without quotation marks of their own.
std::wstring quoted(const std::filesystem::path& program, const std::vector<std::wstring>& arguments) {
    std::wstring line = L'"' + program.wstring() + L'"';
    for (const std::wstring& argument : arguments) {
        line += L" \"" + argument + L'"';
    }
    return line;
}

} // namespace

std::filesystem::path programFolder() {
    std::array<wchar_t, 4096> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return std::filesystem::path(path.data()).parent_path();
}

ProgramRun runProgramBeside(const std::wstring& name, const std::vector<std::wstring>& arguments) {
    const OutputFile output;
    const OutputFile errors;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = output.handle();
    start.hStdError = errors.handle();
    std::wstring line = quoted(programFolder() / name, arguments);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process)) {
        throw std::runtime_error("CreateProcess");
    }
    CloseHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    ProgramRun run;
    GetExitCodeProcess(process.hProcess, &run.status);
    CloseHandle(process.hProcess);
    run.output = output.text();
    run.errors = errors.text();
    return run;
}

} // namespace JY::Test
