#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace JY::Fuzz {

/// What the program is to do.
struct Options {
    std::uint64_t seed = 1;
    std::uint64_t first = 0;                                        ///< the first case
    std::uint64_t count = std::numeric_limits<std::int64_t>::max(); ///< cases
    std::uint64_t seconds = 0;                                      ///< 0 for no limit
    std::uint64_t patience = 60;                                    ///< seconds on the clock that one case may take
    std::wstring module = L"JyFlvSource.dll";
    std::wstring writeTo;  ///< where the file of the first case is written, instead of opening it
    std::wstring progress; ///< the name of the shared progress: this is a worker
};

/// Nothing when the arguments are not understood.
std::optional<Options> parseOptions(const std::vector<std::wstring>& arguments);

/// The arguments that give these options.
std::wstring toArguments(const Options& options);

constexpr const char* usage = "fuzz [--seed S] [--from N] [--cases COUNT] [--seconds T] [--patience T] [--module DLL]\n"
                              "    opens damaged files through the module; case N of a seed is always the same file\n"
                              "fuzz --seed S --case N [--write FILE]\n"
                              "    one case; or writes its file without opening it\n";

} // namespace JY::Fuzz
