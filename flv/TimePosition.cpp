#include "flv/TimePosition.h"

#include "util/ErrorException.h"

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"JY::Pictaro::TimePosition::checkIsValid"};

} // namespace

void TimePosition::checkIsValid() const {
    if (!isValid()) {
        throw ErrorException(here.at(41), "Invalid value.");
    }
}

bool operator<=(TimePosition left, TimePosition right) {
    left.checkIsValid();
    right.checkIsValid();
    return left.microseconds_ <= right.microseconds_;
}

TimePosition operator-(TimePosition left, TimePosition right) {
    left.checkIsValid();
    right.checkIsValid();
    // Modulo 2^64: a time from a file's index may lie anywhere.
    const auto difference =
        static_cast<std::uint64_t>(left.microseconds_) - static_cast<std::uint64_t>(right.microseconds_);
    const TimePosition result(static_cast<std::int64_t>(difference));
    result.checkIsValid();
    return result;
}

TextBuffer& operator<<(TextBuffer& text, TimePosition position) {
    return position.isValid() ? text << position.microseconds() << "[microsec]" : text << "Invalid value.";
}

} // namespace JY::Pictaro
