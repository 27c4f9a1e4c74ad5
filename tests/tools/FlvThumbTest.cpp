// flvthumb and PictaroSB on real films, by the pictures that ffmpeg draws of them.

#include "tests/support/ProgramRun.h"
#include "tests/tools/PngReader.h"
#include "tests/tools/TestFilm.h"
#include "tools/Session.h"
#include "tools/Text.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

using Test::ProgramRun;
using Test::runProgramBeside;

/// The file that the programs draw into, gone at the end.
struct FlvThumb : testing::Test {
    ComApartment apartment;
    std::filesystem::path png = std::filesystem::temp_directory_path() / "flvthumb-test.png";

    FlvThumb() { std::filesystem::remove(png); }
    ~FlvThumb() override { std::filesystem::remove(png); }

    ProgramRun draw(const std::wstring& program, const TestFilm& film, const std::wstring& option = {},
                    const std::wstring& value = {}) const {
        std::vector<std::wstring> arguments{film.path(), png.wstring()};
        if (!option.empty()) {
            arguments.insert(arguments.end(), {option, value});
        }
        return runProgramBeside(program, arguments);
    }
};

LONGLONG lastTimeUpTo(const TestFilm& film, LONGLONG milliseconds) {
    const auto times = film.pictureTimes();
    const auto later = std::ranges::upper_bound(times, milliseconds);
    return later == times.begin() ? times.front() : *std::prev(later);
}

std::string timeOf(LONGLONG milliseconds) {
    return "the picture of " + timeText(milliseconds * 10000) + "\n";
}

/// The likeness of two pictures of one size: the peak signal-to-noise ratio of their colours, in decibels.
double likeness(const Picture& left, const Picture& right) {
    double squares = 0;
    for (std::size_t index = 0; index < left.pixels().size(); ++index) {
        const Bgra& one = left.pixels()[index];
        const Bgra& other = right.pixels()[index];
        for (const int difference : {one.red - other.red, one.green - other.green, one.blue - other.blue}) {
            squares += difference * difference;
        }
    }
    const double mean = squares / (3.0 * static_cast<double>(left.pixels().size()));
    return 10 * std::log10(255.0 * 255.0 / std::max(mean, 1e-6));
}

/// A picture of a film, drawn by both.
struct DrawnPicture {
    const char* film;
    const char* seconds;
    unsigned width;
    unsigned height;
};

void PrintTo(const DrawnPicture& picture, std::ostream* out) {
    *out << picture.film << " at " << picture.seconds;
}

struct FlvThumbOnFilms : FlvThumb, testing::WithParamInterface<DrawnPicture> {};

TEST_P(FlvThumbOnFilms, DrawsThePictureThatFfmpegDraws) {
    const DrawnPicture& wanted = GetParam();
    const TestFilm film(wanted.film);
    const std::wstring seconds(wanted.seconds, wanted.seconds + std::string_view(wanted.seconds).size());
    const ProgramRun run = draw(L"flvthumb.exe", film, L"--at", seconds);
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith(timeOf(lastTimeUpTo(film, std::llround(std::stod(seconds) * 1000)))));
    const Picture picture = readPng(png.wstring());
    ASSERT_EQ(picture.width(), wanted.width);
    ASSERT_EQ(picture.height(), wanted.height);
    constexpr double alike = 35;
    EXPECT_GT(likeness(picture, film.pictureAt(wanted.seconds, wanted.width, wanted.height)), alike);
}

INSTANTIATE_TEST_SUITE_P(
    Films, FlvThumbOnFilms,
    testing::Values(DrawnPicture{"film", "2.000", 320, 180}, DrawnPicture{"film", "3.500", 320, 180},
                    DrawnPicture{"oddsize", "1.000", 322, 182}, DrawnPicture{"hd", "0.500", 1920, 1080},
                    DrawnPicture{"video", "1.500", 320, 180}),
    [](const auto& drawn) { return drawn.param.film + std::string(1, drawn.param.seconds[0]) + "s"; });

TEST_F(FlvThumb, DrawsTheFirstPictureWhenNoTimeIsGiven) {
    const TestFilm film("film");
    const ProgramRun run = draw(L"flvthumb.exe", film);
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith("320 x 180, " + timeOf(film.pictureTimes().front())));
}

TEST_F(FlvThumb, DrawsTheLastPictureForATimeBeyondTheEnd) {
    const TestFilm film("film");
    const ProgramRun run = draw(L"flvthumb.exe", film, L"--at", L"500");
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith(timeOf(film.pictureTimes().back())));
}

TEST_F(FlvThumb, FindsAPictureFarBehindItsKeyFrame) {
    const TestFilm film("sparse");
    const ProgramRun run = draw(L"flvthumb.exe", film, L"--at", L"29.5");
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith(timeOf(lastTimeUpTo(film, 29500))));
}

TEST_F(FlvThumb, FindsAPictureWithoutAnIndex) {
    const TestFilm film("noindex");
    const ProgramRun run = draw(L"flvthumb.exe", film, L"--at", L"4.7");
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith(timeOf(lastTimeUpTo(film, 4700))));
}

/// Whether a cell of 320 x 180 has red on its left side and cyan on its right side, as the film has for the most part.
bool showsTheFilm(const Picture& sheet, unsigned left, unsigned top) {
    unsigned red = 0;
    unsigned cyan = 0;
    for (unsigned y = top; y < top + 180; ++y) {
        const Bgra& first = sheet.at(left + 2, y);
        const Bgra& last = sheet.at(left + 317, y);
        red += first.red > 200 && first.green < 60 && first.blue < 60 ? 1 : 0;
        cyan += last.red < 60 && last.green > 200 && last.blue > 200 ? 1 : 0;
    }
    return red > 60 && cyan > 60;
}

TEST_F(FlvThumb, DrawsASheet) {
    const ProgramRun run = draw(L"flvthumb.exe", TestFilm("film"), L"--sheet", L"3x2");
    ASSERT_EQ(run.status, 0U) << run.errors;
    EXPECT_THAT(run.output, testing::EndsWith("992 x 384, 6 pictures\n"));
    const Picture sheet = readPng(png.wstring());
    EXPECT_EQ(sheet.width(), 992U);
    EXPECT_EQ(sheet.height(), 384U);
    for (const unsigned left : {8U, 336U, 664U}) {
        for (const unsigned top : {8U, 196U}) {
            EXPECT_TRUE(showsTheFilm(sheet, left, top)) << left << ", " << top;
        }
    }
}

TEST_F(FlvThumb, SaysThatThereIsNoVideo) {
    const ProgramRun run = draw(L"flvthumb.exe", TestFilm("audio"));
    EXPECT_EQ(run.status, 1U);
    EXPECT_THAT(run.errors, testing::StartsWith("flvthumb: looking for a video stream: MF_E_NOT_FOUND"));
    EXPECT_FALSE(std::filesystem::exists(png));
}

TEST_F(FlvThumb, ShowsItsUsageWhenItIsCalledWrongly) {
    const ProgramRun run = draw(L"flvthumb.exe", TestFilm("film"), L"--at", L"noon");
    EXPECT_EQ(run.status, 2U);
    EXPECT_THAT(run.errors, testing::HasSubstr("usage: flvthumb FILE OUT.png [--at SECONDS]"));
}

TEST_F(FlvThumb, DrawsTheSameAsTheApplicationsProcess) {
    const TestFilm film("film");
    ASSERT_EQ(draw(L"flvthumb.exe", film, L"--at", L"3.5").status, 0U);
    const Picture picture = readPng(png.wstring());
    ASSERT_EQ(draw(L"PictaroSB.exe", film, L"--at", L"3.5").status, 0U);
    EXPECT_EQ(readPng(png.wstring()).pixels(), picture.pixels());
}

TEST_F(FlvThumb, GetsNothingFromAFilmOfSoundAloneInTheApplicationsProcess) {
    const ProgramRun run = draw(L"PictaroSB.exe", TestFilm("audio"));
    EXPECT_EQ(run.status, 1U);
    EXPECT_THAT(run.errors, testing::StartsWith("PictaroSB: opening the file: "));
}

} // namespace
} // namespace JY::Tools
