#include "tools/PictureScale.h"

#include <algorithm>

namespace JY::Tools {

namespace {

/// The old pixels that new pixel `index` of `count` stands for: at least one, [first, last).
struct Range {
    unsigned first;
    unsigned last;

    Range(unsigned index, unsigned count, unsigned oldCount)
        : first(static_cast<unsigned>(std::uint64_t{index} * oldCount / count)),
          last(std::max(first + 1, static_cast<unsigned>((std::uint64_t{index} + 1) * oldCount / count))) {}

    std::uint64_t size() const { return last - first; }
};

std::uint8_t rounded(std::uint64_t sum, std::uint64_t count) {
    return static_cast<std::uint8_t>((sum + count / 2) / count);
}

Bgra average(const Picture& picture, Range columns, Range rows) {
    std::uint64_t blue = 0;
    std::uint64_t green = 0;
    std::uint64_t red = 0;
    for (unsigned y = rows.first; y < rows.last; ++y) {
        for (unsigned x = columns.first; x < columns.last; ++x) {
            const Bgra& pixel = picture.at(x, y);
            blue += pixel.blue;
            green += pixel.green;
            red += pixel.red;
        }
    }
    const std::uint64_t count = columns.size() * rows.size();
    return {rounded(blue, count), rounded(green, count), rounded(red, count)};
}

} // namespace

Picture scaled(const Picture& picture, unsigned width, unsigned height) {
    Picture result(width, height);
    for (unsigned y = 0; y < height; ++y) {
        const Range rows(y, height, picture.height());
        for (unsigned x = 0; x < width; ++x) {
            result.at(x, y) = average(picture, Range(x, width, picture.width()), rows);
        }
    }
    return result;
}

} // namespace JY::Tools
