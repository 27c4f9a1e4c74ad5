#pragma once

#include "tools/Picture.h"

#include <string>

namespace JY::Tools {

/// The picture that a PNG file holds. COM is initialised on this thread.
/// @throws Failure
Picture readPng(const std::wstring& path);

} // namespace JY::Tools
