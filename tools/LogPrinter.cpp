#include "tools/LogPrinter.h"

#include "tools/Text.h"

#include <algorithm>

namespace JY::Tools {

namespace {

bool isControl(wchar_t character) {
    return (character < L' ' && character != L'\n' && character != L'\r' && character != L'\t') ||
           (character >= 0x7F && character <= 0x9F);
}

std::string forTerminal(const std::string& text) {
    std::wstring characters = fromAnsi(text);
    std::ranges::replace_if(characters, isControl, L'.');
    return toUtf8(characters);
}

} // namespace

void LogPrinter::print(const std::vector<LogRecord>& records) {
    for (const LogRecord& record : records) {
        out_ << (terminal_ ? forTerminal(record.text) : record.text);
    }
    out_.flush();
}

} // namespace JY::Tools
