#include "tools/SnapshotMarker.h"

#include "tools/LogPieces.h"

namespace JY::Tools {

namespace {

constexpr std::string_view writer = "SnapshotTextFileSink";
constexpr std::string_view beginText = "Begin snapshot.-----";
constexpr std::string_view endText = "End snapshot.----- Digest=";
constexpr std::size_t digestDigits = 40;

bool isDigest(std::string_view text) {
    return text.size() == digestDigits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

} // namespace

std::optional<SnapshotMarker> SnapshotMarker::read(std::string_view text) {
    const auto head = readLogHead(text);
    if (!head || head->severity != LogSeverity::notice || head->source != writer) {
        return std::nullopt;
    }
    const std::size_t end = text.find(logLineEnd);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view message = text.substr(head->length, end - head->length);
    const std::size_t length = end + logLineEnd.size();
    if (message == beginText) {
        return SnapshotMarker{*head, true, {}, length};
    }
    if (message.starts_with(endText) && isDigest(message.substr(endText.size()))) {
        return SnapshotMarker{*head, false, std::string(message.substr(endText.size())), length};
    }
    return std::nullopt;
}

std::vector<SnapshotMark> findSnapshotMarks(std::string_view content) {
    std::vector<SnapshotMark> marks;
    for (std::size_t line = 0; line < content.size(); line = nextLogLine(content, line)) {
        if (auto marker = SnapshotMarker::read(content.substr(line))) {
            marks.push_back({std::move(*marker), line});
        }
    }
    return marks;
}

} // namespace JY::Tools
