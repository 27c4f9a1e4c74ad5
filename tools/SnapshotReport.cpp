#include "tools/SnapshotReport.h"

#include "tools/FailureWords.h"
#include "tools/LogFile.h"
#include "tools/LogRings.h"
#include "tools/SnapshotVerifier.h"
#include "tools/Text.h"

#include <algorithm>

namespace JY::Tools {

namespace {

/// A ring's files in the order in which they were written.
struct RingContents {
    std::vector<std::wstring> paths;
    std::vector<std::string> contents;
};

class Reporter {
public:
    Reporter(std::ostream& out, const std::function<void(const std::string&)>& tell) : out_(out), tell_(tell) {}

    void report(const LogRingKey& key, const std::map<DWORD, std::wstring>& files) {
        const RingContents ring = inOrder(read(files));
        const auto findings = SnapshotVerifier(ring.contents).verify();
        for (const SnapshotFinding& finding : findings) {
            write(ring, finding);
        }
        for (std::size_t file = 0; file < ring.paths.size(); ++file) {
            const bool told = std::ranges::any_of(findings, [&](const SnapshotFinding& finding) {
                return finding.begin.file <= file && file <= finding.end.file;
            });
            if (!told) {
                writeWithoutBlock(ring.paths[file], key.snapshots && !ring.contents[file].empty());
            }
        }
    }

    SnapshotStatus status() const {
        if (damaged_) {
            return snapshotsDamaged;
        }
        return unread_ ? snapshotsUnread : snapshotsIntact;
    }

private:
    RingContents read(const std::map<DWORD, std::wstring>& files) {
        RingContents ring;
        for (const auto& [index, path] : files) {
            try {
                if (const auto file = LogFile::open(path)) {
                    ring.contents.push_back(file->readFrom(0));
                    ring.paths.push_back(path);
                }
            } catch (const Failure& failure) {
                tell_(describe(failure));
                unread_ = true;
            }
        }
        return ring;
    }

    static RingContents inOrder(RingContents ring) {
        std::vector<std::optional<LogTime>> times;
        for (const std::string& content : ring.contents) {
            const auto marks = findSnapshotMarks(content);
            times.push_back(marks.empty() ? std::nullopt : std::optional(marks.front().marker.head.time));
        }
        const auto oldest = static_cast<std::ptrdiff_t>(oldestInRing(times));
        std::rotate(ring.paths.begin(), ring.paths.begin() + oldest, ring.paths.end());
        std::rotate(ring.contents.begin(), ring.contents.begin() + oldest, ring.contents.end());
        return ring;
    }

    void write(const RingContents& ring, const SnapshotFinding& finding) {
        out_ << toUtf8(ring.paths[finding.begin.file]) << ": ";
        if (finding.number != 0) {
            out_ << "block " << finding.number << " at byte ";
        } else {
            out_ << "from byte ";
        }
        out_ << finding.begin.offset;
        if (finding.end.file != finding.begin.file) {
            out_ << " up to byte " << finding.end.offset << " of " << toUtf8(ring.paths[finding.end.file]);
        }
        if (finding.begun) {
            out_ << ", begun " << logTimeText(*finding.begun);
        }
        if (finding.number != 0) {
            out_ << ", " << finding.records << (finding.records == 1 ? " record" : " records");
        }
        out_ << ": " << (finding.damage.empty() ? "intact" : "damaged: " + finding.damage) << '\n';
        damaged_ = damaged_ || !finding.damage.empty();
    }

    /// A snapshot's file that holds anything holds a block, or is damaged.
    void writeWithoutBlock(const std::wstring& path, bool damaged) {
        out_ << toUtf8(path) << ": " << (damaged ? "damaged: " : "") << "no snapshot block\n";
        damaged_ = damaged_ || damaged;
    }

    std::ostream& out_;
    const std::function<void(const std::string&)>& tell_;
    bool damaged_ = false;
    bool unread_ = false;
};

} // namespace

SnapshotStatus reportSnapshots(const std::vector<std::wstring>& paths, std::ostream& out,
                               const std::function<void(const std::string&)>& tell) {
    Reporter reporter(out, tell);
    for (const auto& [key, files] : findLogs(paths, LogKinds::snapshots)) {
        reporter.report(key, files);
    }
    return reporter.status();
}

} // namespace JY::Tools
