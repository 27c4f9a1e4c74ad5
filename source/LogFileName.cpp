#include "source/LogFileName.h"

#include "config/AppConfig.h"
#include "log/Core.h"
#include "util/Exception.h"
#include "util/File.h"

#include <optional>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"LogFileName"};

bool isHidden() {
    return AppConfig::getUInt(AppConfig::row(AppConfig::Id::hideFileName)) == 1;
}

std::optional<FileId> identify(const std::wstring& path) {
    try {
        return File::getFileId(path);
    } catch (const Exception&) {
        Log2::untraced().warn(here()) << "ResolveFile failed. ";
        return std::nullopt;
    }
}

} // namespace

TextBuffer& operator<<(TextBuffer& text, const LogFileName& name) {
    if (!isHidden()) {
        return text << name.path_;
    }
    if (const auto id = identify(name.path_)) {
        return text << toText(*id);
    }
    return text << obscurePath(name.path_);
}

} // namespace JY::Pictaro
