#pragma once

#include "tools/Picture.h"

namespace JY::Tools {

/// The picture in another size; each new pixel is the average of the old ones that it stands for.
/// `width` and `height` are not 0, and neither is the picture's size.
Picture scaled(const Picture& picture, unsigned width, unsigned height);

} // namespace JY::Tools
