#include "tools/LogPrinter.h"

#include "tests/tools/LogText.h"
#include "tools/Text.h"

#include <gtest/gtest.h>
#include <sstream>

namespace JY::Tools {
namespace {

std::string printed(std::string_view message, bool terminal) {
    const std::string text = recordText(message);
    std::ostringstream out;
    LogPrinter(out, terminal).print({{*readLogHead(text), text}});
    return out.str();
}

TEST(LogPrinter, WritesRecordsAsTheyStandInTheFile) {
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    EXPECT_EQ(printed(every, false), recordText(every));
}

TEST(LogPrinter, WritesUtf8ToATerminal) {
    const std::string ansi = toAnsi(L"caf\u00e9");
    EXPECT_EQ(printed(ansi, true), recordText(toUtf8(fromAnsi(ansi))));
}

TEST(LogPrinter, KeepsControlCharactersFromATerminal) {
    EXPECT_EQ(printed(std::string_view("a\x1b[2Jb\0c\x7f\a\b", 11), true), recordText("a.[2Jb.c..."));
    EXPECT_EQ(printed("a\n    b\tc", true), recordText("a\n    b\tc"));
}

} // namespace
} // namespace JY::Tools
