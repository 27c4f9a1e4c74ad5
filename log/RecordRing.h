#pragma once

#include "log/Record.h"

#include <cstddef>
#include <string>
#include <vector>

namespace JY::Log2 {

/// The most recent records. Storage grows with the records and is used again, so that keeping one of ordinary length
/// allocates nothing once the ring has gone round. Not for use by two threads at once.
class RecordRing {
public:
    explicit RecordRing(std::size_t maxCount) : maxCount_(maxCount) {}

    /// Copies a record, whose source file must be a static string; the oldest one goes when there are too many. Throws
    /// for want of memory; the ring is then as it was.
    void keep(const Record& record);

    std::size_t size() const { return slots_.size(); }
    /// The record at `index`, counted from the oldest; it refers to the ring's text.
    Record operator[](std::size_t index) const;

private:
    struct Slot {
        Record record; ///< its message is unused
        std::string message;
    };

    std::size_t maxCount_;
    std::size_t oldest_ = 0;
    std::vector<Slot> slots_;
};

} // namespace JY::Log2
