// flvthumb: writes a picture of a film, decoded by Media Foundation, as a PNG file.

#include "tools/ContactSheet.h"
#include "tools/FrameGrabber.h"
#include "tools/OpenedSource.h"
#include "tools/PngFile.h"
#include "tools/Program.h"
#include "tools/Session.h"
#include "tools/Text.h"
#include "tools/ThumbOptions.h"

#include <iostream>

namespace JY::Tools {

namespace {

void tellWritten(const ThumbOptions& options, const Picture& picture, const std::string& what) {
    std::cout << toUtf8(options.png) << ": " << picture.width() << " x " << picture.height() << ", " << what << '\n';
}

int makeThumbnail(const CommandLine& line) {
    const ThumbOptions options = ThumbOptions::parse(line.arguments);
    const Session session;
    const OpenedSource source(options.file);
    FrameGrabber film(source.get());
    if (options.sheet) {
        const auto [columns, rows] = *options.sheet;
        const Picture sheet = makeContactSheet(film, columns, rows);
        writePng(sheet, options.png);
        tellWritten(options, sheet, std::to_string(columns * rows) + " pictures");
    } else {
        const Still still = film.stillAt(options.time);
        writePng(still.picture, options.png);
        tellWritten(options, still.picture, "the picture of " + timeText(still.time));
    }
    return exitSuccess;
}

} // namespace

} // namespace JY::Tools

int wmain(int argumentCount, wchar_t** arguments) {
    return JY::Tools::runProgram(argumentCount, arguments, JY::Tools::ThumbOptions::usage, JY::Tools::makeThumbnail);
}
