#include "tests/tools/LogText.h"

#include "tools/Sha1.h"

#include <array>
#include <cstdio>

namespace JY::Tools {

namespace {

std::string markText(const std::string& message, TestHead head) {
    head.source = "SnapshotTextFileSink";
    head.severity = "notice";
    return recordText(message, head);
}

} // namespace

std::string timeAt(unsigned milliseconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "2026/11/21 10:00:%02u.%03u", milliseconds / 1000, milliseconds % 1000);
    return text.data();
}

TestHead headAt(unsigned milliseconds) {
    TestHead head;
    head.time = timeAt(milliseconds);
    return head;
}

std::string headText(const TestHead& head) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%s %08x %-6s %-20.20s(%5d) ", head.time.c_str(), head.thread,
                  head.severity.c_str(), head.source.c_str(), head.line);
    return text.data();
}

std::string recordText(std::string_view message, const TestHead& head) {
    return headText(head).append(message).append("\r\n");
}

std::string beginText(const TestHead& head) {
    return markText("Begin snapshot.-----", head);
}

std::string endText(std::string_view digest, const TestHead& head) {
    return markText("End snapshot.----- Digest=" + std::string(digest), head);
}

std::string snapshotText(std::string_view records, const TestHead& head) {
    return beginText(head).append(records) + endText(digestText(records), head);
}

std::string digestText(std::string_view records) {
    Sha1 hash;
    hash.update(records);
    std::string text;
    for (const unsigned byte : hash.digest()) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", (byte * 2 + byte / 128) % 256);
        text += digits.data();
    }
    return text;
}

} // namespace JY::Tools
