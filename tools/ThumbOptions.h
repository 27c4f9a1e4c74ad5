#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// What flvthumb is asked to do.
struct ThumbOptions {
    /// The grid of a contact sheet.
    struct Sheet {
        unsigned columns;
        unsigned rows;
    };

    std::wstring file;
    std::wstring png;
    /// 100 ns.
    LONGLONG time = 0;
    /// A contact sheet instead of one picture.
    std::optional<Sheet> sheet;

    static constexpr const char* usage =
        "FILE OUT.png [--at SECONDS] [--sheet COLUMNSxROWS]\n"
        "\n"
        "Writes a picture of a film, decoded by Media Foundation, as a PNG file.\n"
        "\n"
        "  --at SECONDS          the picture to be seen at that time; the first one if not given\n"
        "  --sheet COLUMNSxROWS  a sheet of small pictures spread evenly over the film, with their times\n";

    /// @param arguments without the program's name.
    /// @throws UsageError
    static ThumbOptions parse(const std::vector<std::wstring>& arguments);
};

} // namespace JY::Tools
