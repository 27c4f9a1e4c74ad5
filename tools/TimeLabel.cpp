#include "tools/TimeLabel.h"

#include <algorithm>
#include <array>

namespace JY::Tools {

namespace {

constexpr unsigned glyphWidth = 5;
constexpr unsigned glyphHeight = 7;
/// In dots: around the text, and from one character to the next.
constexpr unsigned margin = 2;
constexpr unsigned advance = glyphWidth + 1;

constexpr Bgra ink{255, 255, 255};
constexpr Bgra paper{0, 0, 0};

/// A character in dots, a byte a row, the leftmost dot in bit 4.
struct Glyph {
    char character;
    std::array<std::uint8_t, glyphHeight> rows;
};

constexpr std::array glyphs{
    Glyph{'0', {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110}},
    Glyph{'1', {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110}},
    Glyph{'2', {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111}},
    Glyph{'3', {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110}},
    Glyph{'4', {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010}},
    Glyph{'5', {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110}},
    Glyph{'6', {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110}},
    Glyph{'7', {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000}},
    Glyph{'8', {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110}},
    Glyph{'9', {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100}},
    Glyph{':', {0b00000, 0b00100, 0b00100, 0b00000, 0b00100, 0b00100, 0b00000}},
    Glyph{'.', {0b00000, 0b00000, 0b00000, 0b00000, 0b00000, 0b01100, 0b01100}},
    Glyph{'-', {0b00000, 0b00000, 0b00000, 0b11111, 0b00000, 0b00000, 0b00000}},
};

void fill(Picture& picture, unsigned left, unsigned top, unsigned width, unsigned height, Bgra colour) {
    for (unsigned y = top; y < std::min(top + height, picture.height()); ++y) {
        for (unsigned x = left; x < std::min(left + width, picture.width()); ++x) {
            picture.at(x, y) = colour;
        }
    }
}

void drawGlyph(Picture& picture, char character, unsigned left, unsigned top, unsigned dot) {
    const auto* glyph = std::ranges::find(glyphs, character, &Glyph::character);
    if (glyph == glyphs.end()) {
        return;
    }
    for (unsigned row = 0; row < glyphHeight; ++row) {
        for (unsigned column = 0; column < glyphWidth; ++column) {
            if ((glyph->rows[row] >> (glyphWidth - 1 - column) & 1U) != 0) {
                fill(picture, left + column * dot, top + row * dot, dot, dot, ink);
            }
        }
    }
}

} // namespace

unsigned labelWidth(std::size_t characters, unsigned dot) {
    return (static_cast<unsigned>(characters) * advance - 1 + 2 * margin) * dot;
}

unsigned labelHeight(unsigned dot) {
    return (glyphHeight + 2 * margin) * dot;
}

void drawLabel(Picture& picture, std::string_view text, unsigned left, unsigned bottom, unsigned dot) {
    const unsigned top = bottom - std::min(bottom, labelHeight(dot));
    fill(picture, left, top, labelWidth(text.size(), dot), labelHeight(dot), paper);
    for (std::size_t index = 0; index < text.size(); ++index) {
        const unsigned offset = margin + static_cast<unsigned>(index) * advance;
        drawGlyph(picture, text[index], left + offset * dot, top + margin * dot, dot);
    }
}

} // namespace JY::Tools
