#include "tools/InfoOptions.h"

#include "tools/Failure.h"
#include "tools/Text.h"

namespace JY::Tools {

InfoOptions InfoOptions::parse(const std::vector<std::wstring>& arguments) {
    InfoOptions options;
    for (const std::wstring& argument : arguments) {
        if (argument == L"--samples") {
            options.samples = true;
        } else if (argument == L"--json") {
            options.json = true;
        } else if (argument.starts_with(L"--")) {
            throw UsageError("unknown option " + toUtf8(argument));
        } else if (!options.file.empty()) {
            throw UsageError("more than one file");
        } else {
            options.file = argument;
        }
    }
    if (options.file.empty()) {
        throw UsageError("no file");
    }
    return options;
}

} // namespace JY::Tools
