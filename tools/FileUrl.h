#pragma once

#include <string>
#include <vector>

namespace JY::Tools {

/// The file URLs of a path (absolute or relative) in the forms that media sources are known to take, the likeliest
/// first. Something that is a URL already is taken as it stands.
/// @throws Failure when the path cannot be made absolute.
std::vector<std::wstring> fileUrls(const std::wstring& path);

/// "C:\\movies\\a.flv" for "a.flv" in that folder.
/// @throws Failure
std::wstring fullPath(const std::wstring& path);

} // namespace JY::Tools
