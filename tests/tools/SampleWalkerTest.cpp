#include "tools/SampleWalker.h"

#include "tests/tools/FakeStream.h"
#include "tools/Session.h"

#include <algorithm>
#include <deque>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

/// What a walk has seen: stream and time.
using Seen = std::vector<std::pair<DWORD, LONGLONG>>;

struct WalkSamples : testing::Test {
    Session session;
    Seen seen;

    std::vector<StreamAccount> walk(FakeStream& first, FakeStream& second) {
        const PlayingStreams streams{{1, &first}, {2, &second}};
        return walkSamples(streams,
                           [&](DWORD stream, const SampleFacts& sample) { seen.emplace_back(stream, sample.time); });
    }
};

TEST_F(WalkSamples, AsksTheStreamThatIsFurthestBehind) {
    FakeStream first({FakeStream::sample(10, 0), FakeStream::sample(40, 0), FakeStream::end(), FakeStream::end()});
    FakeStream second({FakeStream::sample(20, 0), FakeStream::sample(30, 0), FakeStream::sample(50, 0),
                       FakeStream::end(), FakeStream::end()});
    const auto accounts = walk(first, second);
    EXPECT_EQ(seen, (Seen{{1, 10}, {2, 20}, {1, 40}, {2, 30}, {2, 50}}));
    ASSERT_EQ(accounts.size(), 2U);
    EXPECT_EQ(accounts[0].identifier, 1U);
    EXPECT_EQ(accounts[0].samples, 2U);
    EXPECT_EQ(accounts[1].identifier, 2U);
    EXPECT_EQ(accounts[1].samples, 3U);
}

TEST_F(WalkSamples, GivesUpAFailedStreamAndReadsTheOther) {
    FakeStream first({FakeStream::sample(10, 0), FakeStream::result(E_FAIL)});
    FakeStream second({FakeStream::sample(20, 0), FakeStream::sample(30, 0), FakeStream::end(), FakeStream::end()});
    const auto accounts = walk(first, second);
    EXPECT_EQ(seen, (Seen{{1, 10}, {2, 20}, {2, 30}}));
    EXPECT_EQ(accounts[0].failure, "IMFMediaStream::RequestSample: E_FAIL (0x80004005): it failed for a reason that "
                                   "was not given");
    EXPECT_FALSE(accounts[1].failure);
}

/// A file of which both streams read: tags of either stream in one row. A request that finds its stream's queue empty
/// reads on; the end is announced together with the last tag, which stays queued, and is read again by each further
/// request that reaches it.
class SharedFile {
public:
    explicit SharedFile(std::vector<DWORD> tags) : tags_(std::move(tags)) {}

    FakeStream::Answer answerFor(DWORD stream) {
        return [this, stream](FakeStream& fake) {
            std::deque<LONGLONG>& queue = queues_[stream];
            while (queue.empty()) {
                queues_[tags_[next_]].push_back(static_cast<LONGLONG>(next_) * 10);
                if (next_ + 1 == tags_.size()) {
                    fake.queue(MEEndOfStream);
                    return MF_E_END_OF_STREAM;
                }
                ++next_;
            }
            const LONGLONG time = queue.front();
            queue.pop_front();
            return fake.queueSample(time, static_cast<BYTE>(stream));
        };
    }

private:
    std::vector<DWORD> tags_;
    std::size_t next_ = 0;
    std::map<DWORD, std::deque<LONGLONG>> queues_;
};

struct WalkToTheEnd : testing::TestWithParam<std::vector<DWORD>> {
    Session session;
};

TEST_P(WalkToTheEnd, OfAFileThatRepeatsItsLastTagDeliversEveryTagOnce) {
    SharedFile file(GetParam());
    FakeStream first(std::vector<FakeStream::Answer>(30, file.answerFor(1)));
    FakeStream second(std::vector<FakeStream::Answer>(30, file.answerFor(2)));
    Seen seen;
    walkSamples({{1, &first}, {2, &second}},
                [&](DWORD stream, const SampleFacts& sample) { seen.emplace_back(stream, sample.time); });
    Seen expected;
    for (std::size_t tag = 0; tag < GetParam().size(); ++tag) {
        expected.emplace_back(GetParam()[tag], static_cast<LONGLONG>(tag) * 10);
    }
    std::ranges::sort(seen, {}, &Seen::value_type::second);
    EXPECT_EQ(seen, expected);
}

INSTANTIATE_TEST_SUITE_P(AnyOrderOfTags, WalkToTheEnd,
                         testing::Values(std::vector<DWORD>{1, 2, 1, 2}, std::vector<DWORD>{1, 2, 2, 1},
                                         std::vector<DWORD>{2, 1, 1, 1}, std::vector<DWORD>{1, 1, 2},
                                         std::vector<DWORD>{2}, std::vector<DWORD>{1, 1, 1, 1}));

} // namespace
} // namespace JY::Tools
