#pragma once

#include "tools/LogReader.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// What flvlog is asked to do.
struct LogOptions {
    bool help = false;
    /// Check snapshots instead of showing records.
    bool verify = false;
    /// Go on showing records as they come.
    bool follow = false;
    /// The end of that; without it the user ends it.
    std::optional<std::chrono::milliseconds> followFor;
    /// What to show; of `paths` also what to verify. Without paths the module's own folders are meant.
    LogSelection selection;

    static constexpr const char* usage =
        "[OPTIONS] [PATH...]\n"
        "       flvlog verify [PATH...]\n"
        "\n"
        "Shows the records of the module's log, of all processes in the order of their times.\n"
        "\n"
        "A PATH is a log file or a folder with log files. Without one, the folder that is set for the machine\n"
        "(\"LogDir\") is read; where none is set, %TEMP%\\JyMorvane\\Pictaro and, for hosts of low integrity,\n"
        "%LocalAppDataLow%\\JyMorvane\\Pictaro.\n"
        "\n"
        "  --severity NAME   that and above: trace, debug, info, warn, notice, error, fatal\n"
        "  --thread HEX      of that thread only; can be given several times, as can the next two\n"
        "  --source NAME     of that source file only; of the name, 20 characters count\n"
        "  --process NUMBER  of that process's files only\n"
        "  --since TIME      not before that time: \"2026/11/21 10:00:00.123\", 2026-11-21T10:00:00, or 10:00:00\n"
        "                    for a time of today\n"
        "  --until TIME      not after that time\n"
        "  --text WORD       with that in the message; capital and small letters are the same\n"
        "  --snapshots       of a folder also the snapshot files. They repeat what the other files hold and add what\n"
        "                    ranks below the log's level. Each snapshot stands in one piece, when it was taken.\n"
        "  --follow, -f      go on as the log grows, until Ctrl+C\n"
        "  --for SECONDS     with --follow: end after that time\n"
        "  --help            this\n"
        "\n"
        "Records are written as they stand in the files; at a terminal in UTF-8 and without control characters. What\n"
        "belongs to no record, and a last record that is not complete, is told on standard error.\n"
        "\n"
        "verify checks each snapshot of a file, or of a folder's snapshot files, against its digest and says whether "
        "it\n"
        "is intact. A snapshot can go on in the next file of its ring: give both, or the folder. The time and the "
        "line\n"
        "number in the begin and end records themselves are not covered by a digest.\n"
        "\n"
        "Exit status: 0 for success, 1 for a failure, 2 for a wrong command line. verify: 0 when all is intact, 1 "
        "when\n"
        "anything is damaged, 3 when it cannot be read.\n"
        "\n"
        "Examples:\n"
        "  flvlog --severity warn                        what went wrong\n"
        "  flvlog --follow --process 4711 --severity info\n"
        "  flvlog --since 10:00:00 --until 10:05:00 --source FlvFileParser\n"
        "  flvlog --snapshots --text 0x80004005 D:\\from-a-user\n"
        "  flvlog verify D:\\from-a-user\n";

    /// @param arguments without the program's name.
    /// @param now which day is today.
    /// @throws UsageError
    static LogOptions parse(const std::vector<std::wstring>& arguments, LogTime now);
};

} // namespace JY::Tools
