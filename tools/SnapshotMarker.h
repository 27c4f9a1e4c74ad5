#pragma once

#include "tools/LogHead.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Tools {

/// The record in front of a snapshot's records, or the one behind them with their digest.
struct SnapshotMarker {
    LogHead head;
    bool begin = false;
    /// In the end record, as it is written; empty in the begin record.
    std::string digest;
    /// Bytes of the record with its line end.
    std::size_t length = 0;

    /// @param text begins with the record; what stands behind its line end does not count.
    /// @returns none when it is neither record, written just so.
    static std::optional<SnapshotMarker> read(std::string_view text);
};

/// A begin or end record and its place.
struct SnapshotMark {
    SnapshotMarker marker;
    /// In bytes.
    std::size_t offset = 0;

    std::size_t end() const { return offset + marker.length; }
};

/// The begin and end records in a log's bytes, wherever a line begins with one.
std::vector<SnapshotMark> findSnapshotMarks(std::string_view content);

} // namespace JY::Tools
