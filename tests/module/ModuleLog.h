#pragma once

#include "tests/support/ModuleSetting.h"
#include "tests/support/TempFile.h"

#include <string>
#include <vector>

namespace JY::Test {

/// A log directory of its own, set as the module's "LogDir" for as long as the object lives.
class ModuleLog {
public:
    ModuleLog() : setting_(L"LogDir", folder_.path()) {}

    std::wstring path() const { return folder_.path(); }
    /// The names of all files, in alphabetical order.
    std::vector<std::string> fileNames() const;
    /// The content of one file; empty when there is none.
    std::string read(const std::string& fileName) const;

    /// What this process has written: its text files in the order of their names, and its snapshot files.
    std::string text() const;
    std::string snapshotText() const;
    /// Whether somebody has the file open for writing.
    bool isHeld(const std::string& fileName) const;
    /// How often `part` occurs in the text files.
    std::size_t count(const std::string& part) const;

private:
    TempFolder folder_;
    ModuleSetting setting_;
};

/// How often `part` occurs in `text`, overlaps not counted.
std::size_t countIn(const std::string& text, const std::string& part);

/// The names of this process's files with an index.
std::string logFileName(unsigned index);
std::string snapshotFileName(unsigned index);

} // namespace JY::Test
