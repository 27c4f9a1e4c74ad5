#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace JY::Tools {

/// A JSON value that has been read.
struct Json {
    enum class Kind { null, boolean, number, string, array, object };

    Kind kind = Kind::null;
    bool yes = false;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> members;

    /// @throws std::out_of_range
    const Json& operator[](const std::string& name) const { return members.at(name); }
    bool has(const std::string& name) const { return members.contains(name); }
};

/// Reads a whole JSON document, strictly.
/// @throws std::runtime_error when it is none.
Json readJson(std::string_view document);

} // namespace JY::Tools
