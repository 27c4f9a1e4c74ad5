#pragma once

#include <string_view>

namespace JY::Pictaro::Fs {

/// Whether a program is one of the product's own processes that make thumbnails and previews, by its file name. Those
/// are given a video stream only.
bool isThumbnailHost(std::wstring_view executablePath);

/// The same for the process that the module runs in.
bool isInThumbnailHost();

} // namespace JY::Pictaro::Fs
