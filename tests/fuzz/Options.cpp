#include "tests/fuzz/Options.h"

namespace JY::Fuzz {

namespace {

bool takeNumber(const std::wstring& text, std::uint64_t& number) {
    if (text.empty() || text.find_first_not_of(L"0123456789") != std::wstring::npos || text.size() > 19) {
        return false;
    }
    number = std::stoull(text);
    return true;
}

bool take(Options& options, const std::wstring& name, const std::wstring& value) {
    if (name == L"--seed") {
        return takeNumber(value, options.seed);
    }
    if (name == L"--from") {
        return takeNumber(value, options.first);
    }
    if (name == L"--cases") {
        return takeNumber(value, options.count);
    }
    if (name == L"--seconds") {
        return takeNumber(value, options.seconds);
    }
    if (name == L"--patience") {
        return takeNumber(value, options.patience);
    }
    if (name == L"--case") {
        options.count = 1;
        return takeNumber(value, options.first);
    }
    std::wstring* const text = name == L"--module"     ? &options.module
                               : name == L"--write"    ? &options.writeTo
                               : name == L"--progress" ? &options.progress
                                                       : nullptr;
    if (text != nullptr) {
        *text = value;
    }
    return text != nullptr;
}

} // namespace

std::optional<Options> parseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    for (std::size_t index = 0; index < arguments.size(); index += 2) {
        if (index + 1 == arguments.size() || !take(options, arguments[index], arguments[index + 1])) {
            return std::nullopt;
        }
    }
    return options;
}

std::wstring toArguments(const Options& options) {
    std::wstring text = L" --seed " + std::to_wstring(options.seed) + L" --from " + std::to_wstring(options.first) +
                        L" --cases " + std::to_wstring(options.count) + L" --seconds " +
                        std::to_wstring(options.seconds) + L" --module \"" + options.module + L'"';
    if (!options.progress.empty()) {
        text += L" --progress " + options.progress;
    }
    return text;
}

} // namespace JY::Fuzz
