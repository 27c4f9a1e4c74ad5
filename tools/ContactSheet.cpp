#include "tools/ContactSheet.h"

#include "tools/Failure.h"
#include "tools/PictureScale.h"
#include "tools/SheetLayout.h"
#include "tools/Text.h"
#include "tools/TimeLabel.h"

#include <mferror.h>

#include <algorithm>

namespace JY::Tools {

namespace {

/// Pictures at least so wide take a label of double size.
constexpr unsigned wideCell = 240;

constexpr Bgra background{48, 48, 48};

void copyInto(Picture& sheet, const Picture& part, unsigned left, unsigned top) {
    for (unsigned y = 0; y < part.height(); ++y) {
        for (unsigned x = 0; x < part.width(); ++x) {
            sheet.at(left + x, top + y) = part.at(x, y);
        }
    }
}

void placeStill(Picture& sheet, const SheetLayout& layout, unsigned index, const Still& still) {
    Picture cell = scaled(still.picture, layout.cell.width, layout.cell.height);
    const unsigned dot = cell.width() >= wideCell ? 2 : 1;
    drawLabel(cell, timeText(still.time), 0, cell.height(), dot);
    copyInto(sheet, cell, layout.left(index), layout.top(index));
}

} // namespace

Picture makeContactSheet(FrameGrabber& film, unsigned columns, unsigned rows) {
    const std::optional<LONGLONG> duration = film.duration();
    if (!duration) {
        throw Failure(MF_E_NOT_FOUND, "the duration of the film, which a sheet needs");
    }
    const std::vector<LONGLONG> times = evenlySpaced(columns * rows, *duration);
    const Still first = film.stillAt(times.front());
    const SheetLayout layout = SheetLayout::make(columns, rows, {first.picture.width(), first.picture.height()});
    Picture sheet(layout.sheet.width, layout.sheet.height, background);
    placeStill(sheet, layout, 0, first);
    for (unsigned index = 1; index < layout.cells(); ++index) {
        placeStill(sheet, layout, index, film.stillAt(times[index]));
    }
    return sheet;
}

} // namespace JY::Tools
