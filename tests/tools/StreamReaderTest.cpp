#include "tools/StreamReader.h"

#include "tests/tools/FakeStream.h"
#include "tools/Session.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

struct StreamReaderOf : testing::Test {
    Session session;
    PlaybackEnd end;

    /// The times of all samples, in order.
    std::vector<LONGLONG> times(FakeStream& stream) {
        StreamReader reader(stream, end);
        std::vector<LONGLONG> result;
        while (const auto delivered = reader.next()) {
            result.push_back(delivered->facts.time);
        }
        return result;
    }
};

TEST_F(StreamReaderOf, ReadsUntilTheEndIsAnnouncedTwice) {
    FakeStream stream({FakeStream::sample(1, 0), FakeStream::sample(2, 0), FakeStream::end(), FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1, 2}));
    EXPECT_EQ(stream.requests(), 4U);
    EXPECT_TRUE(end.met);
}

TEST_F(StreamReaderOf, ReadsSamplesThatComeBehindTheEnd) {
    FakeStream stream({FakeStream::sample(1, 0), FakeStream::end(), FakeStream::sample(2, 0), FakeStream::sample(2, 1),
                       FakeStream::end(), FakeStream::sample(2, 0)});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1, 2, 2}));
    EXPECT_EQ(stream.requests(), 5U);
}

TEST_F(StreamReaderOf, PassesOverRepeatsBehindTheEnd) {
    FakeStream stream({FakeStream::sample(1, 0), FakeStream::sample(2, 0), FakeStream::sample(2, 1), FakeStream::end(),
                       FakeStream::sample(2, 0), FakeStream::sample(2, 1), FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1, 2, 2}));
}

TEST_F(StreamReaderOf, PassesOverRepeatsAfterAnotherStreamHasMetTheEnd) {
    end.met = true;
    FakeStream stream({FakeStream::sample(1, 0), FakeStream::sample(2, 0), FakeStream::sample(2, 0), FakeStream::end(),
                       FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1, 2}));
}

TEST_F(StreamReaderOf, KeepsEqualSamplesBeforeTheEnd) {
    FakeStream stream({FakeStream::sample(2, 0), FakeStream::sample(2, 0), FakeStream::end(), FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{2, 2}));
}

TEST_F(StreamReaderOf, TakesTheEndFromItsEventAlone) {
    const FakeStream::Answer lateEnd = [](FakeStream& stream) {
        stream.queue(MEEndOfStream);
        return S_OK;
    };
    FakeStream stream({FakeStream::sample(1, 0), lateEnd, FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1}));
}

TEST_F(StreamReaderOf, PassesOverEventsThatAreNoAnswer) {
    const FakeStream::Answer startedFirst = [](FakeStream& stream) {
        stream.queue(MEStreamStarted);
        return stream.queueSample(1, 0);
    };
    FakeStream stream({startedFirst, FakeStream::end(), FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1}));
}

TEST_F(StreamReaderOf, AsksAgainAfterAGap) {
    const FakeStream::Answer gap = [](FakeStream& stream) {
        stream.queue(MEStreamTick);
        return S_OK;
    };
    FakeStream stream({gap, FakeStream::sample(1, 0), gap, FakeStream::end(), FakeStream::end()});
    EXPECT_EQ(times(stream), (std::vector<LONGLONG>{1}));
}

TEST_F(StreamReaderOf, FailsWithTheResultOfTheRequest) {
    FakeStream stream({FakeStream::result(MF_E_SHUTDOWN)});
    try {
        times(stream);
        FAIL() << "no failure";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), MF_E_SHUTDOWN);
    }
}

TEST_F(StreamReaderOf, FailsWithTheStatusOfAnEvent) {
    const FakeStream::Answer error = [](FakeStream& stream) {
        stream.queue(MEError, E_OUTOFMEMORY);
        return S_OK;
    };
    FakeStream stream({error});
    try {
        times(stream);
        FAIL() << "no failure";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), E_OUTOFMEMORY);
    }
}

} // namespace
} // namespace JY::Tools
