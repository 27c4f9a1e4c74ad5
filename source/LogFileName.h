#pragma once

#include "util/TextBuffer.h"

#include <string>

namespace JY::Pictaro {

/// A file's name for records, which must not disclose what people watch: while the setting HideFileName is 1, the
/// file's identity (volume serial number and file index), or the path with every character complemented when the
/// identity cannot be read; else the path. The setting and the identity are read when the name is written. Refers to
/// the path it is made from.
class LogFileName {
public:
    explicit LogFileName(const std::wstring& path) : path_(path) {}

    friend TextBuffer& operator<<(TextBuffer& text, const LogFileName& name);

private:
    const std::wstring& path_;
};

} // namespace JY::Pictaro
