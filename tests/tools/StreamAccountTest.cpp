#include "tools/StreamAccount.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

SampleFacts sample(LONGLONG time, DWORD bytes, bool cleanPoint) {
    SampleFacts facts;
    facts.time = time;
    facts.bytes = bytes;
    facts.cleanPoint = cleanPoint;
    return facts;
}

TEST(StreamAccount, CountsSamplesAndBytes) {
    StreamAccount account;
    account.add(sample(0, 10, true));
    account.add(sample(5, 20, false));
    EXPECT_EQ(account.samples, 2U);
    EXPECT_EQ(account.bytes, 30U);
    EXPECT_EQ(account.frames, 2U);
    EXPECT_EQ(account.keyFrames, 1U);
}

TEST(StreamAccount, CountsThePiecesOfOnePictureOnce) {
    StreamAccount account;
    for (int slice = 0; slice < 4; ++slice) {
        account.add(sample(0, 10, true));
    }
    account.add(sample(7, 10, false));
    account.add(sample(7, 10, false));
    EXPECT_EQ(account.samples, 6U);
    EXPECT_EQ(account.frames, 2U);
    EXPECT_EQ(account.keyFrames, 1U);
}

TEST(StreamAccount, TellsTheEarliestAndTheLatestTimeWhateverTheOrder) {
    StreamAccount account;
    for (const LONGLONG time : {80, 240, 120, 160}) {
        account.add(sample(time, 1, false));
    }
    EXPECT_EQ(account.firstTime, 80);
    EXPECT_EQ(account.lastTime, 240);
}

} // namespace
} // namespace JY::Tools
