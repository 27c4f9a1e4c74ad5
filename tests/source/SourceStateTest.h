#pragma once

#include "tests/source/SourceTest.h"

#include <gtest/gtest.h>
#include <string>

namespace JY::Test {

/// A source that walks tags when it seeks, with the streams that it has announced.
class SourceStateTest : public SourceTest {
protected:
    void SetUp() override {
        settings.set(L"SeekByMetaData", 0);
        source = open(media());
    }
    void TearDown() override {
        streams.clear();
        audio.Reset();
        video.Reset();
        source.Reset();
        SourceTest::TearDown();
    }

    /// Starts from the stopped state and keeps the streams; the events so far are forgotten.
    void play(const Position& position = Position(0)) {
        ASSERT_EQ(start(*source.Get(), position), S_OK);
        ASSERT_EQ(source->getStateId(), Pictaro::Fs::SourceStateId::started);
        audio = announcedStream(*source.Get(), audioId);
        video = announcedStream(*source.Get(), videoId);
        streams = {dynamic_cast<Pictaro::Fs::FlvStream*>(audio.Get()),
                   dynamic_cast<Pictaro::Fs::FlvStream*>(video.Get())};
        forget();
    }
    void pause() {
        play();
        ASSERT_EQ(source->Pause(), S_OK);
        forget();
    }
    void forget() {
        events.take();
        log.clear();
    }
    /// Has both kinds of tags of the first second read, so that the audio stream has a sample queued.
    void queueAudioSample() {
        ASSERT_EQ(requestSample(*video.Get()), 0);
        ASSERT_EQ(requestSample(*video.Get()), 1000);
        forget();
    }
    Pictaro::Fs::SourceStateId state() const { return source->getStateId(); }
    /// Expects the record of an operation that failed on a call.
    void expectFailure(const std::string& failure) {
        const CapturedRecord record = log.find(failure);
        EXPECT_EQ(record.severity, Log2::Severity::error) << failure;
        EXPECT_TRUE(record.message.starts_with("Exception caught. class JY::ApiErrorException, " + failure));
    }

    Source source;
    Stream audio;
    Stream video;
    Pictaro::Fs::StreamList streams;
};

} // namespace JY::Test
