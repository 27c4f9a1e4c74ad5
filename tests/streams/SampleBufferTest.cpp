#include "streams/SampleBuffer.h"

#include "streams/CutDump.h"
#include "tests/streams/MediaFoundationCalls.h"
#include "tests/streams/StreamTest.h"
#include "util/ApiErrorException.h"

#include <numeric>

namespace {

using namespace JY;
using namespace JY::Test;
using namespace JY::Pictaro::Fs;

TEST(SampleBuffer, BecomesASampleOfAllItsBytes) {
    SampleBuffer buffer(300);
    ASSERT_EQ(buffer.bytes().size(), 300U);
    std::iota(buffer.bytes().begin(), buffer.bytes().end(), std::uint8_t{0});
    const ComPtr<IMFSample> sample = buffer.toSample();
    DWORD count = 0;
    EXPECT_EQ(sample->GetBufferCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ComPtr<IMFMediaBuffer> content;
    ASSERT_EQ(sample->GetBufferByIndex(0, content.GetAddressOf()), S_OK);
    BYTE* data = nullptr;
    DWORD length = 0;
    ASSERT_EQ(content->Lock(&data, nullptr, &length), S_OK);
    ASSERT_EQ(length, 300U);
    Bytes expected(300);
    std::iota(expected.begin(), expected.end(), std::uint8_t{0});
    EXPECT_EQ(Bytes(data, data + length), expected);
    EXPECT_EQ(content->Unlock(), S_OK);
}

TEST(SampleBuffer, MayBeEmpty) {
    SampleBuffer buffer(0);
    EXPECT_TRUE(buffer.bytes().empty());
    const ComPtr<IMFSample> sample = buffer.toSample();
    DWORD length = 1;
    EXPECT_EQ(sample->GetTotalLength(&length), S_OK);
    EXPECT_EQ(length, 0U);
}

TEST(SampleBuffer, NamesTheCallThatFails) {
    const struct {
        MediaFoundationCall call;
        const char* name;
    } rows[] = {{MediaFoundationCall::createMemoryBuffer, "MFCreateMemoryBuffer"},
                {MediaFoundationCall::lockBuffer, "Lock"},
                {MediaFoundationCall::unlockBuffer, "Unlock"},
                {MediaFoundationCall::setCurrentLength, "SetCurrentLenght"},
                {MediaFoundationCall::createSample, "MFCreateSample"},
                {MediaFoundationCall::addBuffer, "AddBuffer"}};
    for (const auto& [call, name] : rows) {
        const MediaFoundationFault fault(call, E_UNEXPECTED);
        EXPECT_EQ(thrownIn<ApiErrorException>([] { SampleBuffer(8).toSample(); }),
                  std::string(name) + ": (0x8000ffff) @SampleBuffer");
    }
}

TEST(CutDump, HoldsNoMoreBytesThanTheMaximumAndNoMoreThanThereAre) {
    const Bytes bytes = {1, 2, 3};
    EXPECT_EQ(cutDump(bytes, 2).size, 2U);
    EXPECT_EQ(cutDump(bytes, 2).data, bytes.data());
    EXPECT_EQ(cutDump(bytes, 3).size, 3U);
    EXPECT_EQ(cutDump(bytes, 0xFFFFFFFF).size, 3U);
    EXPECT_EQ(cutDump(bytes, 0).size, 0U);
}

} // namespace
