#pragma once

#include <string>
#include <vector>

namespace JY::Tools {

/// What flvinfo is asked to do.
struct InfoOptions {
    std::wstring file;
    bool samples = false;
    bool json = false;

    static constexpr const char* usage = "FILE [--samples] [--json]\n"
                                         "\n"
                                         "Tells what a media file holds, as Media Foundation opens it.\n"
                                         "\n"
                                         "  --samples  also a row for every sample\n"
                                         "  --json     JSON, for programs\n";

    /// @param arguments without the program's name.
    /// @throws UsageError
    static InfoOptions parse(const std::vector<std::wstring>& arguments);
};

} // namespace JY::Tools
