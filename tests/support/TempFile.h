#pragma once

#include "tests/support/Bytes.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace JY::Test {

/// A file of its own in the temporary folder, removed at the end of the scope.
class TempFile {
public:
    explicit TempFile(const Bytes& content = {}, std::wstring_view extension = L".flv");
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile();

    std::wstring path() const { return path_.wstring(); }
    /// Replaces the content.
    void write(const Bytes& content) const;
    void append(const Bytes& content) const;
    void remove() const;

private:
    std::filesystem::path path_;
};

/// An empty folder of its own in the temporary folder, removed with all its content at the end of the scope.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    /// Without a backslash at the end.
    std::wstring path() const { return path_.wstring(); }

private:
    std::filesystem::path path_;
};

} // namespace JY::Test
