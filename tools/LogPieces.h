#pragma once

#include "tools/LogHead.h"

#include <string_view>
#include <vector>

namespace JY::Tools {

/// The end of a record in a log.
constexpr std::string_view logLineEnd = "\r\n";

/// Where the line behind `position` begins; the end of the content when there is none.
std::size_t nextLogLine(std::string_view content, std::size_t position);

/// The records in a log's bytes. A message may hold line ends itself, so a record goes on until a line end with another
/// record's head behind it, or to the end of the bytes.
struct LogPieces {
    struct Piece {
        LogHead head;
        /// From the head to the line end.
        std::string_view text;
    };

    /// What stands in front of the first record's head and belongs to none.
    std::string_view leadIn;
    std::vector<Piece> records;

    /// @param content begins at a record's head, or where its end is not to be seen. It is not copied.
    explicit LogPieces(std::string_view content);
};

} // namespace JY::Tools
