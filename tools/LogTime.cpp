#include "tools/LogTime.h"

#include "tools/Text.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace JY::Tools {

namespace {

constexpr std::string_view form = "0000/00/00 00:00:00.000";
constexpr std::size_t dateLength = 10;
constexpr std::size_t secondsLength = 19;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool hasForm(std::string_view text) {
    return std::ranges::equal(text, form, [](char character, char wanted) {
        return wanted == '0' ? isDigit(character) : character == wanted;
    });
}

/// Of digits only.
int number(std::string_view digits) {
    int value = 0;
    for (const char digit : digits) {
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<LogTime> timeOf(const SYSTEMTIME& parts) {
    using namespace std::chrono;
    const year_month_day date{year(parts.wYear), month(parts.wMonth), day(parts.wDay)};
    if (!date.ok() || parts.wHour > 23 || parts.wMinute > 59 || parts.wSecond > 59) {
        return std::nullopt;
    }
    return local_days(date) + hours(parts.wHour) + minutes(parts.wMinute) + seconds(parts.wSecond) +
           milliseconds(parts.wMilliseconds);
}

} // namespace

std::optional<LogTime> readLogTime(std::string_view text) {
    if (!hasForm(text)) {
        return std::nullopt;
    }
    const auto part = [&](std::size_t begin, std::size_t size) {
        return static_cast<WORD>(number(text.substr(begin, size)));
    };
    return timeOf({part(0, 4), part(5, 2), 0, part(8, 2), part(11, 2), part(14, 2), part(17, 2), part(20, 3)});
}

std::optional<LogTime> parseLogTime(const std::wstring& text, LogTime now) {
    std::string time = toUtf8(text);
    if (time.size() < secondsLength) {
        time.insert(0, logTimeText(now).substr(0, dateLength + 1));
    }
    if (time.size() == secondsLength) {
        time += ".000";
    }
    if (time.size() != logTimeLength) {
        return std::nullopt;
    }
    if (time[4] == '-' && time[7] == '-') {
        time[4] = time[7] = '/';
    }
    if (time[dateLength] == 'T') {
        time[dateLength] = ' ';
    }
    return readLogTime(time);
}

std::string logTimeText(LogTime time) {
    using namespace std::chrono;
    const auto days = floor<std::chrono::days>(time);
    const year_month_day date(days);
    const hh_mm_ss clock(time - days);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04d/%02u/%02u %02d:%02d:%02d.%03d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text.data();
}

LogTime currentLogTime() {
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    return timeOf(parts).value_or(LogTime{});
}

} // namespace JY::Tools
