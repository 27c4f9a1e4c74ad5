#pragma once

#include "tools/Picture.h"

#include <string>

namespace JY::Tools {

/// Writes the picture with Windows' imaging component. A file of that name is replaced.
/// @throws Failure
void writePng(const Picture& picture, const std::wstring& path);

} // namespace JY::Tools
