// The places of the streams' and the codec handlers' operations are fixed; how many a destructor takes in between is
// the compiler's matter.

#include "streams/AudioDataHandler.h"
#include "streams/FlvStream.h"
#include "streams/VideoDataHandler.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace {

using namespace JY;
using namespace JY::Pictaro::Fs;
using Test::slotOf;

TEST(StreamSlots, StreamsInterfaceComesFirst) {
    EXPECT_EQ(slotOf(&FlvStream::QueryInterface), 0U);
    EXPECT_EQ(slotOf(&FlvStream::AddRef), 1U);
    EXPECT_EQ(slotOf(&FlvStream::Release), 2U);
    EXPECT_EQ(slotOf(&FlvStream::GetEvent), 3U);
    EXPECT_EQ(slotOf(&FlvStream::BeginGetEvent), 4U);
    EXPECT_EQ(slotOf(&FlvStream::EndGetEvent), 5U);
    EXPECT_EQ(slotOf(&FlvStream::QueueEvent), 6U);
    EXPECT_EQ(slotOf(&FlvStream::GetMediaSource), 7U);
    EXPECT_EQ(slotOf(&FlvStream::GetStreamDescriptor), 8U);
    EXPECT_EQ(slotOf(&FlvStream::RequestSample), 9U);
}

TEST(StreamSlots, StreamsOwnOperationsFollowInTheirOrder) {
    const std::size_t first = slotOf(&FlvStream::initialize);
    EXPECT_GE(first, 10U);
    EXPECT_EQ(slotOf(&FlvStream::getStreamId), first + 1);
    EXPECT_EQ(slotOf(&FlvStream::isActivated), first + 2);
    EXPECT_EQ(slotOf(&FlvStream::setActivated), first + 3);
    EXPECT_EQ(slotOf(&FlvStream::purgeSamples), first + 4);
    EXPECT_EQ(slotOf(&FlvStream::shutdown), first + 5);
    EXPECT_EQ(slotOf(&FlvStream::checkShutdown), first + 6);
    EXPECT_EQ(slotOf(&FlvStream::setStreamDescriptor), first + 7);
    EXPECT_EQ(slotOf(&FlvStream::queueSample), first + 8);
    EXPECT_EQ(slotOf(&FlvStream::hasStreamDescriptor), first + 9);
}

TEST(StreamSlots, CodecHandlersOperationsKeepTheirOrder) {
    EXPECT_EQ(slotOf(&AudioDataHandler::handle), 0U);
    EXPECT_EQ(slotOf(&AudioDataHandler::getLastTimePosition), 1U);
    EXPECT_EQ(slotOf(&VideoDataHandler::handle), 0U);
    EXPECT_EQ(slotOf(&VideoDataHandler::getLastTimePosition), 1U);
}

} // namespace
