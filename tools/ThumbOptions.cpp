#include "tools/ThumbOptions.h"

#include "tools/Failure.h"
#include "tools/Text.h"

#include <cmath>
#include <cwchar>

namespace JY::Tools {

namespace {

constexpr double unitsPerSecond = 10'000'000;
/// Some thirty years: beyond any film, and far from the end of what a position can be.
constexpr double mostSeconds = 1e9;
constexpr unsigned mostInOneDirection = 32;

LONGLONG parseTime(const std::wstring& text) {
    const wchar_t* const end = text.c_str() + text.size();
    wchar_t* parsedTo = nullptr;
    const double seconds = std::wcstod(text.c_str(), &parsedTo);
    if (text.empty() || parsedTo != end || !(seconds >= 0 && seconds <= mostSeconds)) {
        throw UsageError("not a time in seconds: " + toUtf8(text));
    }
    return std::llround(seconds * unitsPerSecond);
}

/// 0 when the text is no number from 1 to `mostInOneDirection`.
unsigned parseCount(const std::wstring& text) {
    if (text.empty() || text.size() > 2 || text.find_first_not_of(L"0123456789") != std::wstring::npos) {
        return 0;
    }
    const unsigned long count = std::wcstoul(text.c_str(), nullptr, 10);
    return count <= mostInOneDirection ? static_cast<unsigned>(count) : 0;
}

ThumbOptions::Sheet parseSheet(const std::wstring& text) {
    const std::size_t cross = text.find(L'x');
    ThumbOptions::Sheet sheet{};
    if (cross != std::wstring::npos) {
        sheet = {parseCount(text.substr(0, cross)), parseCount(text.substr(cross + 1))};
    }
    if (sheet.columns == 0 || sheet.rows == 0) {
        throw UsageError("not a grid such as 4x3, up to 32x32: " + toUtf8(text));
    }
    return sheet;
}

/// Goes through the arguments one by one.
class Parser {
public:
    explicit Parser(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}

    ThumbOptions parse() {
        while (next_ < arguments_.size()) {
            take(arguments_[next_++]);
        }
        if (options_.png.empty()) {
            throw UsageError(options_.file.empty() ? "no file" : "no PNG file to write");
        }
        if (timeGiven_ && options_.sheet) {
            throw UsageError("--at and --sheet do not go together");
        }
        return options_;
    }

private:
    void take(const std::wstring& argument) {
        if (argument == L"--at") {
            options_.time = parseTime(valueOf(argument));
            timeGiven_ = true;
        } else if (argument == L"--sheet") {
            options_.sheet = parseSheet(valueOf(argument));
        } else if (argument.starts_with(L"--")) {
            throw UsageError("unknown option " + toUtf8(argument));
        } else if (options_.file.empty()) {
            options_.file = argument;
        } else if (options_.png.empty()) {
            options_.png = argument;
        } else {
            throw UsageError("too many files");
        }
    }

    const std::wstring& valueOf(const std::wstring& option) {
        if (next_ == arguments_.size()) {
            throw UsageError("nothing follows " + toUtf8(option));
        }
        return arguments_[next_++];
    }

    const std::vector<std::wstring>& arguments_;
    std::size_t next_ = 0;
    ThumbOptions options_;
    bool timeGiven_ = false;
};

} // namespace

ThumbOptions ThumbOptions::parse(const std::vector<std::wstring>& arguments) {
    return Parser(arguments).parse();
}

} // namespace JY::Tools
