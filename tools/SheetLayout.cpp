#include "tools/SheetLayout.h"

#include <algorithm>

namespace JY::Tools {

SheetLayout SheetLayout::make(unsigned columns, unsigned rows, FrameSize picture) {
    SheetLayout layout;
    layout.columns = columns;
    layout.rows = rows;
    layout.cell.width = std::min(picture.width, widestCell);
    layout.cell.height = std::max(1U, (picture.height * layout.cell.width + picture.width / 2) / picture.width);
    layout.sheet = {gap + columns * (layout.cell.width + gap), gap + rows * (layout.cell.height + gap)};
    return layout;
}

std::vector<LONGLONG> evenlySpaced(unsigned count, LONGLONG duration) {
    std::vector<LONGLONG> times;
    const double share = static_cast<double>(duration) / count;
    for (unsigned index = 0; index < count; ++index) {
        times.push_back(static_cast<LONGLONG>(share * (index + 0.5)));
    }
    return times;
}

} // namespace JY::Tools
