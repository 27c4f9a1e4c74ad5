#pragma once

#include "tools/Picture.h"

#include <string_view>

namespace JY::Tools {

/// Writes a time (digits, ':', '.' and '-') in white on black into the lower left corner of a part of the picture:
/// the part that begins at `left` and ends above `bottom`. What goes beyond the picture is cut.
/// @param dot the characters are drawn in squares of so many pixels, 5 by 7 of them.
void drawLabel(Picture& picture, std::string_view text, unsigned left, unsigned bottom, unsigned dot);

/// The size in pixels that a label of so many characters takes.
unsigned labelWidth(std::size_t characters, unsigned dot);
unsigned labelHeight(unsigned dot);

} // namespace JY::Tools
