#pragma once

#include "tools/Picture.h"

#include <string_view>

namespace JY::Tools {

/// Writes a time (digits, ':', '.' and '-') in white on black into the lower left corner of a part of the picture:
/// the part that begins at `left` and ends above `bottom`. What goes beyond the picture is cut.
void drawLabel(Picture& picture, std::string_view text, unsigned left, unsigned bottom);

/// The size in pixels that a label of so many characters takes.
unsigned labelWidth(std::size_t characters);
unsigned labelHeight();

} // namespace JY::Tools
