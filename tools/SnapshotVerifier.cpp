#include "tools/SnapshotVerifier.h"

#include "tools/LogPieces.h"
#include "tools/Sha1.h"
#include "tools/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

namespace JY::Tools {

namespace {

constexpr const char* noBegin = "begin record is missing";
constexpr const char* noEnd = "end record is missing";
constexpr const char* otherDigest = "digest differs";
constexpr const char* otherThread = "threads of begin record and end record differ";
constexpr const char* outside = "bytes outside any block";

/// As the log writes it, each byte rotated left by one bit.
std::string writtenDigest(const Sha1Digest& digest) {
    std::string text;
    for (const BYTE byte : digest) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", std::rotl(byte, 1));
        text += digits.data();
    }
    return text;
}

const char* damageBetween(const SnapshotMarker& begin, const SnapshotMarker& end) {
    return begin.head.thread == end.head.thread ? otherDigest : otherThread;
}

} // namespace

SnapshotVerifier::SnapshotVerifier(const std::vector<std::string>& contents) {
    for (const std::string& content : contents) {
        starts_.push_back(bytes_.size());
        bytes_ += content;
        for (SnapshotMark& mark : findSnapshotMarks(content)) {
            mark.offset += starts_.back();
            marks_.push_back(std::move(mark));
        }
    }
}

std::vector<SnapshotFinding> SnapshotVerifier::verify() {
    for (std::size_t next = 0; next < marks_.size();) {
        if (marks_[next].marker.begin) {
            takeStray(marks_[next].offset);
            next = takeBlock(next);
        } else {
            next = takeBlockWithoutBegin(next);
        }
    }
    if (!marks_.empty()) {
        takeStray(bytes_.size());
    }
    return findings_;
}

std::size_t SnapshotVerifier::fittingEnd(std::size_t begin) const {
    Sha1 hash;
    std::size_t hashed = marks_[begin].end();
    for (std::size_t end = begin + 1; end < marks_.size(); ++end) {
        const SnapshotMark& mark = marks_[end];
        if (mark.marker.begin || mark.marker.head.thread != marks_[begin].marker.head.thread) {
            continue;
        }
        hash.update(std::string_view(bytes_).substr(hashed, mark.offset - hashed));
        hashed = mark.offset;
        if (writtenDigest(hash.digest()) == mark.marker.digest) {
            return end;
        }
    }
    return marks_.size();
}

std::size_t SnapshotVerifier::nextBegin(std::size_t mark) const {
    while (mark < marks_.size() && !marks_[mark].marker.begin) {
        ++mark;
    }
    return mark;
}

std::size_t SnapshotVerifier::takeBlock(std::size_t begin) {
    const SnapshotMark& first = marks_[begin];
    const std::size_t fitting = fittingEnd(begin);
    const bool intact = fitting < marks_.size();
    const std::size_t next = intact ? fitting + 1 : nextBegin(begin + 1);
    SnapshotFinding finding;
    finding.begun = first.marker.head.time;
    if (next == begin + 1) {
        const std::size_t end = next < marks_.size() ? marks_[next].offset : bytes_.size();
        finding.damage = noEnd;
        finding.records = countRecords(first.end(), end);
        add(finding, first.offset, end);
    } else {
        const SnapshotMark& last = marks_[next - 1];
        finding.damage = intact ? "" : damageBetween(first.marker, last.marker);
        finding.records = countRecords(first.end(), last.offset);
        add(finding, first.offset, last.end());
    }
    return next;
}

std::size_t SnapshotVerifier::takeBlockWithoutBegin(std::size_t first) {
    const std::size_t next = nextBegin(first);
    const SnapshotMark& last = marks_[next - 1];
    SnapshotFinding finding;
    finding.damage = noBegin;
    finding.records = countRecords(done_, last.offset);
    add(finding, done_, last.end());
    return next;
}

void SnapshotVerifier::takeStray(std::size_t end) {
    if (end > done_) {
        SnapshotFinding finding;
        finding.damage = outside;
        add(finding, done_, end);
        findings_.back().number = 0;
    }
}

void SnapshotVerifier::add(SnapshotFinding finding, std::size_t begin, std::size_t end) {
    finding.begin = placeOf(begin);
    finding.end = placeOf(end - 1);
    ++finding.end.offset;
    finding.number = 1 + static_cast<std::size_t>(std::ranges::count_if(findings_, [&](const SnapshotFinding& other) {
                         return other.number != 0 && other.begin.file == finding.begin.file;
                     }));
    findings_.push_back(std::move(finding));
    done_ = end;
}

SnapshotFinding::Place SnapshotVerifier::placeOf(std::size_t offset) const {
    const auto next = std::ranges::upper_bound(starts_, offset);
    const auto file = static_cast<std::size_t>(next - starts_.begin()) - 1;
    return {file, offset - starts_[file]};
}

std::size_t SnapshotVerifier::countRecords(std::size_t begin, std::size_t end) const {
    return LogPieces(std::string_view(bytes_).substr(begin, end - begin)).records.size();
}

} // namespace JY::Tools
