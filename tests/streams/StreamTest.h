#pragma once

#include "com/ModuleUsageCounter.h"
#include "flv/FlvAudioTag.h"
#include "flv/FlvVideoTag.h"
#include "streams/FlvAudioStream.h"
#include "streams/FlvVideoStream.h"
#include "tests/streams/FakeSource.h"
#include "tests/streams/MemoryParser.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Thrown.h"
#include "util/Lock.h"

#include <mfapi.h>
#include <mferror.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace JY::Test {

using Microsoft::WRL::ComPtr;

/// What a sample holds, in the units of Media Foundation.
struct SampleContent {
    Bytes bytes;
    LONGLONG time;
    LONGLONG duration;
    bool cleanPoint;

    friend bool operator==(const SampleContent&, const SampleContent&) = default;
};
void PrintTo(const SampleContent& sample, std::ostream* out);

SampleContent contentOf(IMFSample& sample);

/// The next event of a stream; null when there is none.
ComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator& generator);
MediaEventType typeOf(IMFMediaEvent& event);
/// The types of all events that wait, in order.
std::vector<MediaEventType> eventTypes(IMFMediaEventGenerator& generator);
/// The object that an event carries.
ComPtr<IUnknown> objectOf(IMFMediaEvent& event);
/// The sample of an MEMediaSample event.
ComPtr<IMFSample> sampleOf(IMFMediaEvent& event);

/// The attributes of a media type that a stream has published.
ComPtr<IMFMediaType> currentMediaType(IMFStreamDescriptor& descriptor);
GUID guidOf(IMFAttributes& attributes, const GUID& key);
UINT32 uint32Of(IMFAttributes& attributes, const GUID& key);
Bytes blobOf(IMFAttributes& attributes, const GUID& key);
/// How many attributes there are.
UINT32 attributeCount(IMFAttributes& attributes);

/// A fake source and a parser in memory, and a lock that the streams share. At the end every COM object must be gone.
class StreamTest : public testing::Test {
protected:
    ~StreamTest() override {
        source.reset();
        waitForWorkQueues();
        EXPECT_EQ(counter.count(), 0U) << "COM objects are still alive.";
    }

    template <class S>
    ComPtr<S> createStream() {
        return Pictaro::createObject<S>(counter, *source, parser, lock);
    }

    /// Work queues release a callback only after it has returned.
    void waitForWorkQueues() const {
        for (int wait = 0; wait < 500 && counter.count() != 0; ++wait) {
            Sleep(10);
        }
    }

    Pictaro::ModuleUsageCounter counter;
    LogCapture log;
    boost::shared_ptr<LockImpl> lock = boost::make_shared<LockImpl>();
    std::unique_ptr<FakeSource> source = std::make_unique<FakeSource>(counter);
    MemoryParser parser;
};

/// A stream that only keeps what a codec handler gives it.
class RecordingStream final : public Pictaro::Fs::FlvStream {
public:
    static constexpr DWORD id = 77;

    RecordingStream(Pictaro::ModuleUsageCounter& counter, Pictaro::Fs::StreamSource& source,
                    Pictaro::Fs::FlvFileParser& parser, boost::shared_ptr<Lock> sourceLock)
        : FlvStream(counter, source, parser, std::move(sourceLock), id) {}

    void initialize() override {}
    bool handleTag(Stream&, const Pictaro::Fs::FlvTag&) override { return false; }
    bool isRandomAccessPoint(Stream&, const Pictaro::Fs::FlvTag&) override { return true; }
    void setStreamDescriptor(ComPtr<IMFStreamDescriptor> descriptor) override { descriptors.push_back(descriptor); }
    bool hasStreamDescriptor() const override { return !descriptors.empty(); }
    void queueSample(ComPtr<IMFSample> sample, std::int64_t surplus) override {
        samples.push_back(sample);
        surpluses.push_back(surplus);
    }

    std::vector<SampleContent> contents() const;

    std::vector<ComPtr<IMFStreamDescriptor>> descriptors;
    std::vector<ComPtr<IMFSample>> samples;
    std::vector<std::int64_t> surpluses; ///< of the samples
};

/// A codec handler alone: tags go straight to it, and a RecordingStream keeps what it makes.
template <class Handler, class Header>
class HandlerTest : public StreamTest {
protected:
    /// Hands the first tag of a file over as a stream would.
    void handle(const FlvBuilder& file) {
        MemoryStream bytes(file.build());
        handle(bytes);
    }
    /// The stream is left where the handler leaves it.
    void handle(Stream& file) {
        file.seek(9);
        Pictaro::Fs::FlvTag tag(file);
        tag.read();
        file.setLimit(tag.getDataSize());
        Header header;
        header.read(file);
        handler.handle(file, *source, *stream.Get(), tag, header);
    }
    /// Hands the first tag over without a fence, or even without having read it.
    void handleUnfenced(const FlvBuilder& builder, bool isRead = true) {
        constexpr std::int64_t body = 9 + 15;
        MemoryStream file(builder.build());
        file.seek(9);
        Pictaro::Fs::FlvTag tag(file);
        if (isRead) {
            tag.read();
        }
        file.seek(body);
        Header header;
        header.read(file);
        handler.handle(file, *source, *stream.Get(), tag, header);
    }
    ComPtr<IMFMediaType> mediaType() const {
        EXPECT_FALSE(stream->descriptors.empty());
        return stream->descriptors.empty() ? nullptr : currentMediaType(*stream->descriptors.back().Get());
    }

    ComPtr<RecordingStream> stream = createStream<RecordingStream>();
    Handler handler;
};

} // namespace JY::Test
