#include "streams/StreamDescription.h"

#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

class StreamDescription : public StreamTest {
protected:
    /// What describing a stream throws.
    std::string error() {
        return thrownIn<ApiErrorException>([&] { describeStream(*stream.Get(), type); });
    }

    ComPtr<RecordingStream> stream = createStream<RecordingStream>();
    ComPtr<IMFMediaType> type;
};

TEST_F(StreamDescription, NamesTheCallThatFails) {
    const struct {
        MediaFoundationCall call;
        const char* name;
    } rows[] = {{MediaFoundationCall::createStreamDescriptor, "MFCreateStreamDescriptor"},
                {MediaFoundationCall::getMediaTypeHandler, "GetMediaTypeHandler"},
                {MediaFoundationCall::setCurrentMediaType, "SetCurrentMediaType"}};
    ASSERT_EQ(MFCreateMediaType(type.GetAddressOf()), S_OK);
    ASSERT_EQ(type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio), S_OK);
    for (const auto& [call, name] : rows) {
        const MediaFoundationFault fault(call, E_UNEXPECTED);
        EXPECT_EQ(error(), std::string(name) + ": (0x8000ffff) @StreamDescription");
        EXPECT_TRUE(stream->descriptors.empty());
    }
    EXPECT_EQ(error(), "nothing was thrown");
    EXPECT_EQ(stream->descriptors.size(), 1U);
}

} // namespace
