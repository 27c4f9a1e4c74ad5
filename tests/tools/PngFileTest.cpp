#include "tools/PngFile.h"

#include "tests/tools/PngReader.h"
#include "tools/Failure.h"
#include "tools/Session.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

struct PngFile : testing::Test {
    ComApartment apartment;
    std::filesystem::path path = std::filesystem::temp_directory_path() / "jy-png-file-test.png";
    Picture picture{3, 2, {1, 2, 3}};

    PngFile() {
        picture.at(0, 0) = {255, 0, 0};
        picture.at(2, 1) = {0, 0, 255};
    }
    ~PngFile() override { std::filesystem::remove(path); }
};

TEST_F(PngFile, HoldsEveryPixelWhereItWas) {
    writePng(picture, path.wstring());
    const Picture read = readPng(path.wstring());
    EXPECT_EQ(read.width(), 3U);
    EXPECT_EQ(read.height(), 2U);
    EXPECT_EQ(read.pixels(), picture.pixels());
}

TEST_F(PngFile, ReplacesAFileOfThatName) {
    writePng(Picture(50, 50), path.wstring());
    writePng(picture, path.wstring());
    EXPECT_EQ(readPng(path.wstring()).pixels(), picture.pixels());
}

TEST_F(PngFile, CannotBeMadeInAFolderThatIsMissing) {
    EXPECT_THROW(writePng(picture, (path.parent_path() / "no such folder" / "a.png").wstring()), Failure);
}

} // namespace
} // namespace JY::Tools
