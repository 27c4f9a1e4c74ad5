#pragma once

#include "tools/VideoFormat.h"

#include <windows.h>

#include <vector>

namespace JY::Tools {

/// Where the pictures of a contact sheet stand: a grid of equal cells with gaps between and around them.
struct SheetLayout {
    unsigned columns = 1;
    unsigned rows = 1;
    FrameSize cell;
    FrameSize sheet;

    static constexpr unsigned gap = 8;
    static constexpr unsigned widestCell = 320;

    /// Cells have the pictures' proportions and are no larger than the pictures.
    /// @param picture not empty.
    static SheetLayout make(unsigned columns, unsigned rows, FrameSize picture);

    unsigned cells() const { return columns * rows; }
    /// The upper left corner of a cell; cells are counted from 0, row by row.
    unsigned left(unsigned index) const { return gap + index % columns * (cell.width + gap); }
    unsigned top(unsigned index) const { return gap + index / columns * (cell.height + gap); }
};

/// `count` times spread evenly over `duration`, each in the middle of its share. 100 ns.
std::vector<LONGLONG> evenlySpaced(unsigned count, LONGLONG duration);

} // namespace JY::Tools
