#pragma once

#include "tools/LogTime.h"
#include "tools/SnapshotMarker.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// What was found of one snapshot block, or of bytes outside any.
struct SnapshotFinding {
    /// A place in the files.
    struct Place {
        /// Which of the files, from 0.
        std::size_t file = 0;
        /// In bytes.
        std::size_t offset = 0;
    };

    Place begin;
    /// Behind the last byte.
    Place end;
    /// In its file, from 1; 0 for bytes outside any block.
    std::size_t number = 0;
    /// As the begin record says.
    std::optional<LogTime> begun;
    /// Between the begin record and the end record.
    std::size_t records = 0;
    /// What is wrong with it; empty when it is intact.
    std::string damage;
};

/// Checks the snapshot blocks of the files of one ring against their digests.
///
/// A digest covers all bytes between the line of the begin record and that of the end record. The two lines themselves
/// are only checked for their form, and for the same thread in both: another time or line number in them goes
/// unnoticed.
///
/// A kept message may imitate either record. So a block ends at the first end record whose digest fits, and only when
/// none does, at the last one before the next begin record.
class SnapshotVerifier {
public:
    /// @param contents the files' bytes in the order in which they were written. A block may go on in the next one.
    explicit SnapshotVerifier(const std::vector<std::string>& contents);

    /// In the order of the files. Files without any begin or end record make none.
    /// @throws Failure when digests cannot be computed.
    std::vector<SnapshotFinding> verify();

private:
    SnapshotFinding::Place placeOf(std::size_t offset) const;
    /// The end record whose digest fits the block that `begin` begins; as many as there are marks when none does.
    std::size_t fittingEnd(std::size_t begin) const;
    std::size_t nextBegin(std::size_t mark) const;
    /// Takes the block that mark `begin` begins, and returns the mark behind it.
    std::size_t takeBlock(std::size_t begin);
    /// Takes a block of which the marks from `first` on are left, which are end records.
    std::size_t takeBlockWithoutBegin(std::size_t first);
    void takeStray(std::size_t end);
    void add(SnapshotFinding finding, std::size_t begin, std::size_t end);
    std::size_t countRecords(std::size_t begin, std::size_t end) const;

    std::string bytes_;
    /// Where each file begins.
    std::vector<std::size_t> starts_;
    std::vector<SnapshotMark> marks_;
    std::vector<SnapshotFinding> findings_;
    /// Up to where the bytes have been looked at.
    std::size_t done_ = 0;
};

} // namespace JY::Tools
