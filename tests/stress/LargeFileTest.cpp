#include "tests/stress/LargeFilm.h"
#include "tests/stress/ModuleClient.h"

#include <gtest/gtest.h>

namespace {

using namespace JY::Test;

constexpr std::uint64_t fourGibibytes = std::uint64_t{1} << 32;

/// The second that a sample tells of in its last byte.
unsigned lastByte(const std::optional<TakenSample>& sample) {
    return sample ? sample->bytes.back() : 999U;
}

void expectSamples(PlayedSource& played, unsigned second) {
    const auto video = takeSample(*played.video.Get());
    ASSERT_TRUE(video.has_value());
    EXPECT_EQ(video->milliseconds, second * 1000);
    EXPECT_EQ(lastByte(video), second & 0xFFU);
    const auto audio = takeSample(*played.audio.Get());
    ASSERT_TRUE(audio.has_value());
    EXPECT_EQ(audio->milliseconds, second * 1000);
    EXPECT_EQ(lastByte(audio), second & 0xFFU);
}

/// From a stop, so that samples of the old place are forgotten.
void startAt(PlayedSource& played, double seconds) {
    ASSERT_EQ(played.source->Stop(), S_OK);
    ASSERT_EQ(startSource(*played.source.Get(), Position::seconds(seconds)), S_OK);
    played.await(MESourceStarted);
}

TEST(LargeFile, LiesOnBothSidesOfTheBoundary) {
    const LargeFilm film(LargeFilm::Index::ofKeyFrames);
    EXPECT_GT(film.positionBehind(), fourGibibytes);
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    ASSERT_TRUE(GetFileAttributesExW(film.path().c_str(), GetFileExInfoStandard, &attributes));
    EXPECT_EQ((std::uint64_t{attributes.nFileSizeHigh} << 32) + attributes.nFileSizeLow, film.size());
}

TEST(LargeFile, IsReadAcrossTheBoundary) {
    const LargeFilm film(LargeFilm::Index::none);
    const ModuleClient client;
    PlayedSource played = client.play(film.path());
    for (unsigned second = 0; second <= LargeFilm::lastSecondBefore; ++second) {
        expectSamples(played, second);
    }
    for (unsigned second = LargeFilm::firstSecondBehind; second < LargeFilm::lastSecond; ++second) {
        expectSamples(played, second);
    }
    EXPECT_EQ(played.source->Shutdown(), S_OK);
}

TEST(LargeFile, IsSoughtInByItsIndexBehindTheBoundary) {
    const LargeFilm film(LargeFilm::Index::ofKeyFrames);
    const ModuleClient client;
    PlayedSource played = client.play(film.path());
    startAt(played, 305.5);
    expectSamples(played, 305);
    startAt(played, 1);
    expectSamples(played, 1);
    startAt(played, 300);
    expectSamples(played, 300);
    EXPECT_EQ(played.source->Shutdown(), S_OK);
}

TEST(LargeFile, IsWalkedThroughInBothDirections) {
    const LargeFilm film(LargeFilm::Index::none);
    const ModuleClient client;
    PlayedSource played = client.play(film.path());
    startAt(played, 304);
    expectSamples(played, 304);
    startAt(played, 302);
    EXPECT_EQ(lastByte(takeSample(*played.video.Get())), 302U & 0xFFU);
    startAt(played, 1);
    EXPECT_EQ(lastByte(takeSample(*played.video.Get())), 1U);
    EXPECT_EQ(played.source->Shutdown(), S_OK);
}

TEST(LargeFile, IsWalkedFromTheLastKeyFrameBeforeTheBoundaryOn) {
    const LargeFilm film(LargeFilm::Index::ofKeyFrames);
    const ModuleClient client;
    PlayedSource played = client.play(film.path());
    startAt(played, 250); // far behind the last key frame before it: the tags are walked
    EXPECT_EQ(takeSampleTime(*played.video.Get()), LargeFilm::lastSecondBefore * 1000);
    EXPECT_EQ(played.source->Shutdown(), S_OK);
}

} // namespace
