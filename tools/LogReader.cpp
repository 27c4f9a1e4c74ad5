#include "tools/LogReader.h"

#include "tools/FailureWords.h"
#include "tools/LogPieces.h"
#include "tools/SnapshotMarker.h"
#include "tools/Text.h"

#include <algorithm>

namespace JY::Tools {

namespace {

/// When a file was begun, by what has been read of it from the beginning on. The first records of a snapshot's file can
/// be far older than the file, so its marks tell.
std::optional<LogTime> timeOf(const std::vector<LogRecord>& records, bool snapshots) {
    const auto found = std::ranges::find_if(
        records, [&](const LogRecord& record) { return !snapshots || SnapshotMarker::read(record.text).has_value(); });
    return found == records.end() ? std::nullopt : std::optional(found->head.time);
}

} // namespace

LogReader::LogReader(LogSelection selection, std::function<void(const std::string&)> tell)
    : selection_(std::move(selection)), tell_(std::move(tell)) {}

std::vector<LogRecord> LogReader::read() {
    readFiles();
    return take();
}

std::vector<LogRecord> LogReader::readToEnd() {
    readFiles();
    finishFiles();
    return take();
}

bool LogReader::isWanted(const LogRingKey& key) const {
    const auto& wanted = selection_.processes;
    return wanted.empty() || (key.process && std::ranges::find(wanted, *key.process) != wanted.end());
}

/// Once more when new files have come meanwhile: a ring can have gone on in them, and from the last of them to the
/// first file, which had been read by then.
void LogReader::readFiles() {
    findFiles();
    forgetMissingFiles();
    do {
        forEachFile([&](const std::wstring& path, File& file) { readFile(path, file); });
    } while (findFiles());
}

bool LogReader::findFiles() {
    paths_ = findLogs(selection_.paths, selection_.kinds);
    std::erase_if(paths_, [&](const auto& ring) { return !isWanted(ring.first); });
    bool foundNew = false;
    for (const auto& [key, paths] : paths_) {
        for (const auto& [index, path] : paths) {
            foundNew = rings_[key].files.try_emplace(index, path).second || foundNew;
        }
    }
    return foundNew;
}

/// So that a file of the same name is read from its beginning.
void LogReader::forgetMissingFiles() {
    std::erase_if(rings_, [&](const auto& ring) { return !paths_.contains(ring.first); });
    for (auto& [key, ring] : rings_) {
        const auto& present = paths_.at(key);
        std::erase_if(ring.files, [&](const auto& file) { return !present.contains(file.first); });
    }
}

/// The newest file of a ring first: when its writer moves on meanwhile, what it still wrote to the file before is read,
/// too, and nothing is shown ahead of it.
void LogReader::forEachFile(const std::function<void(const std::wstring&, File&)>& body) {
    for (const auto& [key, paths] : paths_) {
        Ring& ring = rings_.at(key);
        const auto current = ring.current ? paths.lower_bound(*ring.current) : paths.begin();
        const auto backwards = [&](auto begin, auto end) {
            while (end != begin) {
                --end;
                body(end->second, ring.files.at(end->first));
            }
        };
        backwards(paths.begin(), current);
        backwards(current, paths.end());
    }
}

void LogReader::readFile(const std::wstring& path, File& file) {
    LogGrowth growth;
    try {
        growth = file.tail.read();
        file.failed = false;
    } catch (const Failure& failure) {
        if (!file.failed) {
            tell_(describe(failure));
        }
        file.failed = true;
        failed_ = true;
    }
    if (growth.leadIn != 0) {
        tell_(toUtf8(path) + ": the first " + std::to_string(growth.leadIn) + " bytes belong to no record");
    }
    std::ranges::move(growth.records, std::back_inserter(file.records));
    file.unfinished = std::move(growth.unfinished);
}

void LogReader::finishFiles() {
    forEachFile([&](const std::wstring& path, File& file) { finishFile(path, file); });
}

void LogReader::finishFile(const std::wstring& path, File& file) {
    if (file.unfinished.empty()) {
        return;
    }
    const auto head = readLogHead(file.unfinished);
    if (!head && file.records.empty()) {
        tell_(toUtf8(path) + ": the last " + std::to_string(file.unfinished.size()) + " bytes belong to no record");
        return;
    }
    tell_(toUtf8(path) + ": the last record is not complete");
    file.records.push_back({head ? *head : file.records.back().head, file.unfinished.append(logLineEnd), !head});
}

std::vector<LogRecord> LogReader::take() {
    std::vector<Placed> records;
    for (auto& [key, ring] : rings_) {
        takeRing(key.snapshots, ring, records);
    }
    std::ranges::stable_sort(records, {}, &Placed::place);
    std::vector<LogRecord> result;
    result.reserve(records.size());
    std::ranges::transform(records, std::back_inserter(result),
                           [](Placed& placed) { return std::move(placed.record); });
    return result;
}

void LogReader::takeRing(bool snapshots, Ring& ring, std::vector<Placed>& records) const {
    std::vector<std::optional<LogTime>> times;
    for (const auto& [index, file] : ring.files) {
        times.push_back(timeOf(file.records, snapshots));
    }
    auto next = ring.current ? ring.files.lower_bound(*ring.current)
                             : std::next(ring.files.begin(), static_cast<std::ptrdiff_t>(oldestInRing(times)));
    LogTime latest = LogTime::min();
    for (std::size_t count = 0; count < times.size(); ++count, ++next) {
        next = next == ring.files.end() ? ring.files.begin() : next;
        auto& [index, file] = *next;
        if (file.records.empty()) {
            continue;
        }
        ring.current = index;
        file.latest = snapshots ? std::max(file.latest, latest) : file.latest;
        takeFile(file, records);
        latest = file.latest;
    }
}

void LogReader::takeFile(File& file, std::vector<Placed>& records) const {
    for (LogRecord& record : file.records) {
        file.latest = std::max(file.latest, record.head.time);
        file.shown = record.more ? file.shown : selection_.filter.accepts(record);
        if (file.shown) {
            records.push_back({file.latest, std::move(record)});
        }
    }
    file.records.clear();
}

} // namespace JY::Tools
