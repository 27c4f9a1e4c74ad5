#pragma once

#include <string>
#include <string_view>

namespace JY::Tools {

/// What stands in front of a message in a log that a test makes.
struct TestHead {
    std::string time = "2026/11/21 10:00:00.123";
    unsigned thread = 0x1a4;
    std::string severity = "info";
    std::string source = "FlvTag";
    int line = 65;
};

/// "2026/11/21 10:00:" and that many milliseconds, fewer than a minute's.
std::string timeAt(unsigned milliseconds);
/// A record of that time.
TestHead headAt(unsigned milliseconds);

/// A record's line without its message and the line end.
std::string headText(const TestHead& head);
/// A record as the log writes it.
std::string recordText(std::string_view message, const TestHead& head = {});

/// The records in front of and behind a snapshot's.
std::string beginText(const TestHead& head = {});
std::string endText(std::string_view digest, const TestHead& head = {});
/// A snapshot of these records with its right digest.
std::string snapshotText(std::string_view records, const TestHead& head = {});
/// The digest as it stands in the log.
std::string digestText(std::string_view records);

} // namespace JY::Tools
