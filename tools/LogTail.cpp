#include "tools/LogTail.h"

#include "tools/LogPieces.h"

#include <algorithm>

namespace JY::Tools {

namespace {

/// More than a head, with its time: no two logs begin alike.
constexpr std::size_t beginningSize = 256;
constexpr std::size_t latestSize = 256;

/// Bytes up to and with the last line end.
std::size_t wholeLines(std::string_view content) {
    const std::size_t end = content.rfind(logLineEnd);
    return end == std::string_view::npos ? 0 : end + logLineEnd.size();
}

} // namespace

LogGrowth LogTail::read() {
    const auto file = LogFile::open(path_);
    if (!file || !goesOn(*file)) {
        startAnew();
    }
    return file ? take(file->readFrom(offset_)) : LogGrowth{};
}

bool LogTail::goesOn(const LogFile& file) const {
    return file.read(0, beginning_.size()) == beginning_ &&
           file.read(offset_ - latest_.size(), latest_.size()) == latest_;
}

void LogTail::startAnew() {
    offset_ = 0;
    beginning_.clear();
    latest_.clear();
    last_.reset();
}

LogGrowth LogTail::take(const std::string& content) {
    LogGrowth growth;
    const std::size_t size = wholeLines(content);
    const std::string_view taken = std::string_view(content).substr(0, size);
    const LogPieces pieces(taken);
    if (last_ && !pieces.leadIn.empty()) {
        growth.records.push_back({*last_, std::string(pieces.leadIn), true});
    } else {
        growth.leadIn = pieces.leadIn.size();
    }
    for (const auto& piece : pieces.records) {
        growth.records.push_back({piece.head, std::string(piece.text)});
    }
    if (!pieces.records.empty()) {
        last_ = pieces.records.back().head;
    }
    remember(taken);
    growth.unfinished = content.substr(size);
    return growth;
}

void LogTail::remember(std::string_view taken) {
    beginning_ += taken.substr(0, beginningSize - beginning_.size());
    latest_ += taken.substr(taken.size() - std::min(taken.size(), latestSize));
    latest_.erase(0, latest_.size() - std::min(latest_.size(), latestSize));
    offset_ += taken.size();
}

} // namespace JY::Tools
