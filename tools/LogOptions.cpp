#include "tools/LogOptions.h"

#include "tools/Failure.h"
#include "tools/Text.h"

#include <cmath>
#include <cwchar>
#include <limits>

namespace JY::Tools {

namespace {

/// A day is enough for any script, and far from the end of what a wait can be.
constexpr double mostSeconds = 86400;

[[noreturn]] void refuse(const char* what, const std::wstring& text) {
    throw UsageError(std::string("not ") + what + ": " + toUtf8(text));
}

DWORD parseNumber(const std::wstring& text, int base, const char* what) {
    const std::wstring_view digits = base == 16 ? L"0123456789abcdefABCDEF" : L"0123456789";
    if (text.empty() || text.size() > 10 || text.find_first_not_of(digits) != std::wstring::npos) {
        refuse(what, text);
    }
    const unsigned long long number = std::wcstoull(text.c_str(), nullptr, base);
    if (number > std::numeric_limits<DWORD>::max()) {
        refuse(what, text);
    }
    return static_cast<DWORD>(number);
}

DWORD parseThread(const std::wstring& text) {
    const bool marked = text.starts_with(L"0x") || text.starts_with(L"0X");
    return parseNumber(marked ? text.substr(2) : text, 16, "a thread in hexadecimal digits");
}

LogSeverity parseSeverity(const std::wstring& text) {
    const auto severity = severityNamed(toUtf8(text));
    if (!severity) {
        refuse("a severity", text);
    }
    return *severity;
}

std::chrono::milliseconds parseSeconds(const std::wstring& text) {
    const wchar_t* const end = text.c_str() + text.size();
    wchar_t* parsedTo = nullptr;
    const double seconds = std::wcstod(text.c_str(), &parsedTo);
    if (text.empty() || parsedTo != end || !(seconds >= 0 && seconds <= mostSeconds)) {
        refuse("a time in seconds, up to a day", text);
    }
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

/// Goes through the arguments one by one.
class Parser {
public:
    Parser(const std::vector<std::wstring>& arguments, LogTime now) : arguments_(arguments), now_(now) {}

    LogOptions parse() {
        if (!arguments_.empty() && arguments_.front() == L"verify") {
            options_.verify = true;
            ++next_;
        }
        while (next_ < arguments_.size()) {
            take(arguments_[next_++]);
        }
        if (options_.followFor && !options_.follow) {
            throw UsageError("--for goes with --follow only");
        }
        return options_;
    }

private:
    void take(const std::wstring& argument) {
        if (!argument.starts_with(L'-')) {
            options_.selection.paths.push_back(argument);
        } else if (argument == L"--help" || argument == L"-h") {
            options_.help = true;
        } else if (options_.verify) {
            throw UsageError("verify takes no " + toUtf8(argument));
        } else if (!takeFlag(argument) && !takeValue(argument)) {
            throw UsageError("unknown option " + toUtf8(argument));
        }
    }

    bool takeFlag(const std::wstring& option) {
        if (option == L"--follow" || option == L"-f") {
            options_.follow = true;
        } else if (option == L"--snapshots") {
            options_.selection.kinds = LogKinds::both;
        } else {
            return false;
        }
        return true;
    }

    bool takeValue(const std::wstring& option) {
        if (option == L"--for") {
            options_.followFor = parseSeconds(valueOf(option));
        } else if (option == L"--process") {
            options_.selection.processes.push_back(parseNumber(valueOf(option), 10, "a process's number"));
        } else {
            return takeCondition(option, options_.selection.filter);
        }
        return true;
    }

    bool takeCondition(const std::wstring& option, LogFilter& filter) {
        if (option == L"--severity") {
            filter.severity = parseSeverity(valueOf(option));
        } else if (option == L"--thread") {
            filter.threads.push_back(parseThread(valueOf(option)));
        } else if (option == L"--source") {
            filter.sources.push_back(toAnsi(valueOf(option)));
        } else if (option == L"--text") {
            filter.text = toAnsi(valueOf(option));
        } else if (option == L"--since") {
            filter.since = parseTime(valueOf(option));
        } else if (option == L"--until") {
            filter.until = parseTime(valueOf(option));
        } else {
            return false;
        }
        return true;
    }

    LogTime parseTime(const std::wstring& text) const {
        const auto time = parseLogTime(text, now_);
        if (!time) {
            refuse("a time such as 2026/11/21 10:00:00", text);
        }
        return *time;
    }

    const std::wstring& valueOf(const std::wstring& option) {
        if (next_ == arguments_.size()) {
            throw UsageError("nothing follows " + toUtf8(option));
        }
        return arguments_[next_++];
    }

    const std::vector<std::wstring>& arguments_;
    LogTime now_;
    std::size_t next_ = 0;
    LogOptions options_;
};

} // namespace

LogOptions LogOptions::parse(const std::vector<std::wstring>& arguments, LogTime now) {
    return Parser(arguments, now).parse();
}

} // namespace JY::Tools
