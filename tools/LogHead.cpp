#include "tools/LogHead.h"

#include <algorithm>
#include <charconv>

namespace JY::Tools {

namespace {

constexpr std::size_t threadDigits = 8;
constexpr std::size_t severityColumns = 6;
constexpr std::size_t lineColumns = 5;
/// "-2147483648"
constexpr std::size_t mostLineColumns = 11;

bool isLowerHexDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isPrintable(char character) {
    return static_cast<unsigned char>(character) >= ' ';
}

/// Takes a head apart from its beginning on. What has been refused once stays refused.
class HeadReader {
public:
    explicit HeadReader(std::string_view text) : text_(text) {}

    std::optional<LogHead> read() {
        LogHead head;
        head.time = time();
        literal(" ");
        head.thread = thread();
        literal(" ");
        head.severity = severity();
        literal(" ");
        head.source = source();
        literal("(");
        lineNumber();
        literal(") ");
        head.length = position_;
        return good_ ? std::optional(head) : std::nullopt;
    }

private:
    /// The next characters; none when there are fewer.
    std::string_view take(std::size_t size) {
        if (!good_ || text_.size() - position_ < size) {
            return refused();
        }
        const std::string_view taken = text_.substr(position_, size);
        position_ += size;
        return taken;
    }

    std::string_view refused() {
        good_ = false;
        return {};
    }

    void literal(std::string_view wanted) {
        if (take(wanted.size()) != wanted) {
            refused();
        }
    }

    LogTime time() {
        const auto time = readLogTime(take(logTimeLength));
        good_ = good_ && time;
        return time.value_or(LogTime{});
    }

    DWORD thread() {
        const std::string_view digits = take(threadDigits);
        DWORD value = 0;
        if (!std::ranges::all_of(digits, isLowerHexDigit)) {
            refused();
        }
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
        return value;
    }

    /// A name that is longer than its columns moves the rest of the line.
    LogSeverity severity() {
        const std::string_view rest = text_.substr(std::min(position_, text_.size()));
        const std::string_view name = take(std::max(severityColumns, std::min(rest.find(' '), rest.size())));
        const auto severity = severityNamed(name.substr(0, name.find(' ')));
        if (!severity || name.find_first_not_of(' ', std::min(name.find(' '), name.size())) != std::string_view::npos) {
            refused();
        }
        return severity.value_or(LogSeverity::unknown);
    }

    std::string source() {
        const std::string_view column = take(logSourceLength);
        if (!std::ranges::all_of(column, isPrintable)) {
            refused();
        }
        return std::string(column.substr(0, column.find_last_not_of(' ') + 1));
    }

    /// "%5d" and nothing else.
    void lineNumber() {
        const std::string_view rest = text_.substr(std::min(position_, text_.size()), mostLineColumns + 1);
        const std::string_view column = take(std::min(rest.find(')'), rest.size()));
        const std::size_t blanks = std::min(column.find_first_not_of(' '), column.size());
        const bool filled = column.size() >= lineColumns && (blanks == 0 || column.size() == lineColumns);
        if (!filled || !isNumber(column.substr(blanks))) {
            refused();
        }
    }

    static bool isNumber(std::string_view text) {
        int value = 0;
        const char* const end = text.data() + text.size();
        const auto [parsedTo, error] = std::from_chars(text.data(), end, value);
        return error == std::errc() && parsedTo == end && std::to_string(value) == text;
    }

    std::string_view text_;
    std::size_t position_ = 0;
    bool good_ = true;
};

} // namespace

std::optional<LogHead> readLogHead(std::string_view text) {
    return HeadReader(text).read();
}

} // namespace JY::Tools
