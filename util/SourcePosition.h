#pragma once

#include <source_location>

namespace JY {

/// A place in the source as log records and exceptions name it. `file` is a static string, not owned.
struct SourcePosition {
    const char* file;
    int line;
};

/// The bare name under which a source file appears in records and exceptions. Each source file that logs or throws has
/// one constant of this type named `here`: `here()` is the current line, `here.at(65)` a position number that support
/// relies on and that stays the same when the file changes.
class SourceFile {
public:
    /// `name` must live for ever; a string literal is meant.
    explicit constexpr SourceFile(const char* name) : name_(name) {}

    constexpr SourcePosition operator()(const std::source_location& where = std::source_location::current()) const {
        return {name_, static_cast<int>(where.line())};
    }
    constexpr SourcePosition at(int line) const { return {name_, line}; }
    constexpr const char* name() const { return name_; }

private:
    const char* name_;
};

} // namespace JY
