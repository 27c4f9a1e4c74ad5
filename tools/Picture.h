#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace JY::Tools {

/// One pixel as Windows keeps them.
struct Bgra {
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t alpha = 255;

    bool operator==(const Bgra&) const = default;
};
static_assert(sizeof(Bgra) == 4);

/// A picture, rows from the top down.
class Picture {
public:
    Picture(unsigned width, unsigned height, Bgra colour = {})
        : width_(width), height_(height), pixels_(std::size_t{width} * height, colour) {}

    unsigned width() const { return width_; }
    unsigned height() const { return height_; }
    const std::vector<Bgra>& pixels() const { return pixels_; }

    /// `x` < width, `y` < height.
    Bgra& at(unsigned x, unsigned y) { return pixels_[std::size_t{y} * width_ + x]; }
    const Bgra& at(unsigned x, unsigned y) const { return pixels_[std::size_t{y} * width_ + x]; }

private:
    unsigned width_;
    unsigned height_;
    std::vector<Bgra> pixels_;
};

} // namespace JY::Tools
