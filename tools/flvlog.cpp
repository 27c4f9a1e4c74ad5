// flvlog: shows the records of the module's log files and checks their snapshots.

#include "tools/FailureWords.h"
#include "tools/LogFolders.h"
#include "tools/LogOptions.h"
#include "tools/LogPrinter.h"
#include "tools/LogReader.h"
#include "tools/Program.h"
#include "tools/SnapshotReport.h"
#include "tools/StopSignal.h"
#include "tools/Text.h"

#include <algorithm>
#include <iostream>

namespace JY::Tools {

namespace {

constexpr std::chrono::milliseconds betweenReadings{200};

using Remark = std::function<void(const std::string&)>;

/// The named paths, which must be there, or the module's own folders, which need not.
std::vector<std::wstring> placesOf(const LogOptions& options) {
    const auto& paths = options.selection.paths;
    for (const std::wstring& path : paths) {
        if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
            throw Failure(HRESULT_FROM_WIN32(GetLastError()), toUtf8(path));
        }
    }
    return paths.empty() ? logFolders() : paths;
}

std::string listed(const std::vector<std::wstring>& paths) {
    std::string text;
    for (const std::wstring& path : paths) {
        text += (text.empty() ? "" : ", ") + toUtf8(path);
    }
    return text;
}

int follow(LogReader& reader, LogPrinter& printer, std::optional<std::chrono::milliseconds> time) {
    using Clock = std::chrono::steady_clock;
    const StopSignal stop;
    const auto end = time ? Clock::now() + *time : Clock::time_point::max();
    bool ended = false;
    while (std::cout) {
        printer.print(reader.read());
        if (ended) {
            return exitSuccess;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        ended = stop.waitFor(std::clamp(left, std::chrono::milliseconds(0), betweenReadings)) || Clock::now() >= end;
    }
    return exitFailure;
}

int show(const LogOptions& options, const Remark& tell) {
    LogSelection selection = options.selection;
    selection.paths = placesOf(options);
    LogReader reader(selection, tell);
    LogPrinter printer(std::cout, outputIsTerminal());
    if (options.follow) {
        return follow(reader, printer, options.followFor);
    }
    printer.print(reader.readToEnd());
    if (!reader.foundFiles()) {
        tell("no such log files in " + listed(selection.paths));
    }
    return reader.foundFiles() && !reader.failed() ? exitSuccess : exitFailure;
}

/// What keeps the check from being made is no damage.
int verify(const LogOptions& options, const Remark& tell) {
    try {
        return reportSnapshots(placesOf(options), std::cout, tell);
    } catch (const Failure& failure) {
        tell(describe(failure));
        return snapshotsUnread;
    }
}

int run(const CommandLine& line) {
    const LogOptions options = LogOptions::parse(line.arguments, currentLogTime());
    const Remark tell = [&](const std::string& remark) { std::cerr << line.program << ": " << remark << '\n'; };
    if (options.help) {
        std::cout << "usage: " << line.program << ' ' << LogOptions::usage;
        return exitSuccess;
    }
    return options.verify ? verify(options, tell) : show(options, tell);
}

} // namespace

} // namespace JY::Tools

int wmain(int argumentCount, wchar_t** arguments) {
    return JY::Tools::runProgram(argumentCount, arguments, JY::Tools::LogOptions::usage, JY::Tools::run);
}
