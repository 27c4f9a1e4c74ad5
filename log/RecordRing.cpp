#include "log/RecordRing.h"

#include <algorithm>

namespace JY::Log2 {

namespace {

/// Bytes of storage that a slot keeps for messages to come.
constexpr std::size_t keptCapacity = 1024;

/// Uses the storage again unless it is far too large: one huge message must not cost its memory for ever.
void replaceText(std::string& storage, std::string_view text) {
    if (storage.capacity() > std::max(keptCapacity, 2 * text.size())) {
        std::string(text).swap(storage);
    } else {
        storage.assign(text);
    }
}

} // namespace

void RecordRing::keep(const Record& record) {
    if (slots_.size() < maxCount_) {
        slots_.push_back({record, std::string(record.message)});
        return;
    }
    if (maxCount_ == 0) {
        return;
    }
    Slot& slot = slots_[oldest_];
    replaceText(slot.message, record.message);
    slot.record = record;
    oldest_ = oldest_ + 1 < maxCount_ ? oldest_ + 1 : 0;
}

Record RecordRing::operator[](std::size_t index) const {
    const std::size_t place = oldest_ + index;
    const Slot& slot = slots_[place < slots_.size() ? place : place - slots_.size()];
    Record record = slot.record;
    record.message = slot.message;
    return record;
}

} // namespace JY::Log2
