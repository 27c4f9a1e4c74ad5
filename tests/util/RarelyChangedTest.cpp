#include "util/RarelyChanged.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using JY::RarelyChanged;

/// Tells when it goes.
class Guarded {
public:
    explicit Guarded(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    ~Guarded() {
        whole_ = 0;
        --alive_;
    }

    bool isWhole() const { return whole_ == sound; }

private:
    static constexpr int sound = 12345;
    std::atomic<int>& alive_;
    volatile int whole_ = sound;
};

} // namespace

TEST(RarelyChanged, StartsWithNothing) {
    const RarelyChanged<Guarded> place;
    EXPECT_TRUE(place.read([](const Guarded* guarded) { return guarded == nullptr; }));
}

TEST(RarelyChanged, GivesBackWhatWasThere) {
    std::atomic<int> alive{0};
    RarelyChanged<Guarded> place;
    const auto first = boost::make_shared<Guarded>(alive);
    const auto second = boost::make_shared<Guarded>(alive);
    EXPECT_EQ(place.exchange(first), nullptr);
    EXPECT_EQ(place.exchange(second), first);
    EXPECT_TRUE(place.read([&](const Guarded* guarded) { return guarded == second.get(); }));
    EXPECT_EQ(place.exchange(nullptr), second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 1);
}

TEST(RarelyChanged, ReadersNestAndPassExceptionsOn) {
    std::atomic<int> alive{0};
    RarelyChanged<Guarded> place;
    place.exchange(boost::make_shared<Guarded>(alive));
    EXPECT_THROW(place.read([&](const Guarded*) { place.read([](const Guarded*) { throw 7; }); }), int);
    place.exchange(nullptr); // waits for no reader
    EXPECT_EQ(alive, 0);
}

TEST(RarelyChanged, NobodyReadsWhatHasGone) {
    std::atomic<int> alive{0};
    std::atomic<bool> stop{false};
    std::atomic<unsigned> reads{0};
    std::atomic<unsigned> broken{0};
    RarelyChanged<Guarded> place;
    place.exchange(boost::make_shared<Guarded>(alive));
    std::vector<std::jthread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                broken += place.read([](const Guarded* guarded) { return guarded->isWhole() ? 0U : 1U; });
                ++reads;
            }
        });
    }
    for (unsigned round = 0; round < 2'000 || reads < 2'000; ++round) {
        place.exchange(boost::make_shared<Guarded>(alive));
    }
    stop = true;
    readers.clear();
    EXPECT_EQ(broken, 0U);
    EXPECT_EQ(alive, 1);
}
