#include "tools/LogFilter.h"

#include <algorithm>
#include <string_view>

namespace JY::Tools {

namespace {

char small(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool sameLetter(char one, char other) {
    return small(one) == small(other);
}

bool contains(std::string_view text, std::string_view word) {
    return std::search(text.begin(), text.end(), word.begin(), word.end(), sameLetter) != text.end() || word.empty();
}

/// Names are told apart by what the log shows of them.
bool sameSource(std::string_view shown, std::string_view name) {
    return std::ranges::equal(shown, name.substr(0, logSourceLength), sameLetter);
}

} // namespace

bool LogFilter::accepts(const LogRecord& record) const {
    const LogHead& head = record.head;
    const auto isSource = [&](const std::string& name) { return sameSource(head.source, name); };
    return head.severity >= severity && (!since || head.time >= *since) && (!until || head.time <= *until) &&
           (threads.empty() || std::ranges::find(threads, head.thread) != threads.end()) &&
           (sources.empty() || std::ranges::any_of(sources, isSource)) &&
           contains(std::string_view(record.text).substr(head.length), text);
}

} // namespace JY::Tools
