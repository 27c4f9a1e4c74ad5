#pragma once

#include "tests/support/TempFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace JY::Test {

/// A folder for a sink's files, removed at the end of the scope.
class LogFolder {
public:
    std::wstring path() const { return folder_.path(); }
    std::wstring path(const std::string& name) const { return (location() / name).wstring(); }

    /// Makes or replaces a file.
    void make(const std::string& name, const std::string& content) const {
        std::ofstream(location() / name, std::ios::binary) << content;
    }
    bool has(const std::string& name) const { return std::filesystem::exists(location() / name); }
    std::string content(const std::string& name) const {
        std::ifstream file(location() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// Without the line ends.
    std::vector<std::string> lines(const std::string& name) const {
        std::vector<std::string> result;
        const std::string text = content(name);
        for (std::size_t start = 0, end = 0; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2) {
            result.push_back(text.substr(start, end - start));
        }
        return result;
    }
    /// In alphabetical order.
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(location())) {
            result.push_back(entry.path().filename().string());
        }
        std::ranges::sort(result);
        return result;
    }

private:
    std::filesystem::path location() const { return folder_.path(); }

    TempFolder folder_;
};

} // namespace JY::Test
