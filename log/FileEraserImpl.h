#pragma once

#include "log/FileEraser.h"

#include <cstdint>
#include <string>

namespace JY::Log2 {

/// Keeps the files of one folder that match a pattern within a budget, those of other processes included. Holds nothing
/// that changes, so several sinks may share it.
class FileEraserImpl final : public FileEraser {
public:
    /// Tokens and environment variables in `directory` are replaced here. `budget` is in bytes.
    FileEraserImpl(const std::wstring& directory, std::wstring pattern, std::uint64_t budget);

    /// Removes files in the order in which the system lists them until the sizes of the others together are within the
    /// budget. Folders, and files that do not match, are never touched; a file that is in use stays, and counts as
    /// removed. Throws for want of memory only.
    void erase() override;

private:
    std::wstring directory_;
    std::wstring pattern_;
    std::uint64_t budget_;
};

} // namespace JY::Log2
