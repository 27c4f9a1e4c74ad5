#include "tools/LogPieces.h"

namespace JY::Tools {

std::size_t nextLogLine(std::string_view content, std::size_t position) {
    const std::size_t end = content.find(logLineEnd, position);
    return end == std::string_view::npos ? content.size() : end + logLineEnd.size();
}

LogPieces::LogPieces(std::string_view content) {
    std::size_t begin = 0;
    const auto closeAt = [&](std::size_t end) {
        const std::string_view text = content.substr(begin, end - begin);
        (records.empty() ? leadIn : records.back().text) = text;
        begin = end;
    };
    for (std::size_t line = 0; line < content.size(); line = nextLogLine(content, line)) {
        if (const auto head = readLogHead(content.substr(line))) {
            closeAt(line);
            records.push_back({*head, {}});
        }
    }
    closeAt(content.size());
}

} // namespace JY::Tools
