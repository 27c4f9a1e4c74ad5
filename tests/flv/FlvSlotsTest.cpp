// The places of the interfaces' operations are fixed.

#include "flv/FlvFileParser.h"
#include "flv/FlvMetaData.h"
#include "flv/FlvTagHandler.h"
#include "tests/support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace {

using JY::Pictaro::Fs::FlvFileParser;
using JY::Pictaro::Fs::FlvMetaData;
using JY::Pictaro::Fs::FlvTagHandler;
using JY::Test::slotOf;

} // namespace

TEST(FlvSlots, ParsersOperationsKeepTheirOrder) {
    EXPECT_EQ(slotOf(&FlvFileParser::clearHandler), 0U);
    EXPECT_EQ(slotOf(&FlvFileParser::addHandler), 1U);
    EXPECT_EQ(slotOf(&FlvFileParser::readOneTag), 2U);
    EXPECT_EQ(slotOf(&FlvFileParser::setFilePosition), 3U);
    EXPECT_EQ(slotOf(&FlvFileParser::seekPosition), 4U);
    EXPECT_EQ(slotOf(&FlvFileParser::getPosition), 5U);
    EXPECT_EQ(slotOf(&FlvFileParser::hasAudio), 6U);
    EXPECT_EQ(slotOf(&FlvFileParser::hasVideo), 7U);
}

TEST(FlvSlots, TagHandlersOperationsKeepTheirOrder) {
    EXPECT_EQ(slotOf(&FlvTagHandler::handleTag), 0U);
    EXPECT_EQ(slotOf(&FlvTagHandler::isRandomAccessPoint), 1U);
}

TEST(FlvSlots, MetadatasOperationsKeepTheirOrder) {
    EXPECT_EQ(slotOf(&FlvMetaData::parse), 0U);
    EXPECT_EQ(slotOf(&FlvMetaData::getMetaDatum), 1U);
    EXPECT_EQ(slotOf(&FlvMetaData::getNearlestLessKeyFrame), 2U);
}
