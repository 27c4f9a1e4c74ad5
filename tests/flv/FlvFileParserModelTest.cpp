// The parser over files of all kinds, in all orders of calls, against the rules of its walks.

#include "flv/FlvFileParserImpl.h"
#include "tests/flv/RecordingHandler.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/TempFile.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sstream>
#include <vector>

namespace {

using namespace JY::Pictaro::Fs;
using JY::Pictaro::TimePosition;
using JY::Test::AudioHandler;
using JY::Test::Bytes;
using JY::Test::FlvBuilder;
using JY::Test::TempFile;
using JY::Test::VideoHandler;

constexpr std::uint8_t h263 = 2;

struct ModelTag {
    std::uint8_t type;
    std::uint32_t milliseconds;
    bool isKeyFrame;
};

/// What the parser does, over a list of tags.
class Model {
public:
    Model(std::vector<ModelTag> tags, bool hasVideoHandler)
        : tags_(std::move(tags)), hasVideoHandler_(hasVideoHandler) {}

    bool readOneTag() {
        position_ = static_cast<std::uint32_t>(tags_[place_].milliseconds * 1000U);
        const bool follows = place_ + 1 < tags_.size();
        place_ += follows ? 1 : 0;
        return follows;
    }
    void setFilePosition(std::size_t tag) { place_ = tag; }
    void seekPosition(std::int64_t target) {
        const std::uint32_t milliseconds = static_cast<std::uint32_t>(target) / 1000U;
        if (target > position_) {
            place_ = forward(milliseconds);
        } else if (target < position_) {
            place_ = backward(milliseconds);
        }
    }
    std::int64_t position() const { return position_; }
    std::size_t place() const { return place_; }

private:
    bool isSeekPoint(std::size_t tag) const { return !hasVideoHandler_ || tags_[tag].isKeyFrame; }
    std::size_t backward(std::uint32_t milliseconds) const {
        std::size_t tag = place_;
        while (tag != 0 && !(tags_[tag].milliseconds <= milliseconds && isSeekPoint(tag))) {
            --tag;
        }
        return tag;
    }
    std::size_t forward(std::uint32_t milliseconds) const {
        std::size_t tag = place_;
        while (tag != 0 && !isSeekPoint(tag)) {
            --tag;
        }
        std::size_t candidate = tag;
        for (;; ++tag) {
            candidate = isSeekPoint(tag) ? tag : candidate;
            if (tags_[tag].milliseconds >= milliseconds || tag + 1 == tags_.size()) {
                return candidate;
            }
        }
    }

    std::vector<ModelTag> tags_;
    bool hasVideoHandler_;
    std::size_t place_ = 0;
    std::int64_t position_ = 0;
};

/// The bodies of a few sizes are small, of some large, and most of one size.
std::size_t bodySize(std::mt19937& random) {
    switch (random() % 8) {
    case 0:
        return 0;
    case 1:
        return random() % 20'000;
    case 2:
        return random() % 64;
    default:
        return 400;
    }
}

class RandomFile {
public:
    explicit RandomFile(std::mt19937& random) {
        const std::size_t count = 1 + random() % 60;
        std::uint32_t time = random() % 8 == 0 ? 4'294'000 : 0; // near where positions wrap
        for (std::size_t index = 0; index < count; ++index) {
            addTag(random, time + random() % 30);
            time += random() % 80;
        }
        if (random() % 2 == 0) {
            builder.withoutTrailer();
        }
    }

    FlvBuilder builder;
    std::vector<ModelTag> tags;

private:
    /// The first two bytes of a body tell which tag it is.
    void addTag(std::mt19937& random, std::uint32_t milliseconds) {
        const unsigned kind = random() % 8;
        const auto number = static_cast<std::uint8_t>(tags.size());
        const bool isKeyFrame = kind == 0;
        const Bytes payload = JY::Test::join({{number}, Bytes(bodySize(random), number)});
        if (kind == 7) {
            builder.script(milliseconds, payload);
            tags.push_back({TagType::scriptData, milliseconds, false});
        } else if (kind > 3) {
            builder.mp3(milliseconds, payload);
            tags.push_back({TagType::audio, milliseconds, false});
        } else {
            builder.videoTag(milliseconds, isKeyFrame ? FlvBuilder::key : FlvBuilder::inter, h263, payload);
            tags.push_back({TagType::video, milliseconds, isKeyFrame});
        }
    }
};

/// The parser and its model, with an audio handler, a video handler, both or none.
class Pair {
public:
    Pair(const RandomFile& file, unsigned handlers)
        : file_(file), temp_(file.builder.build()), parser_(temp_.path()), model_(file.tags, (handlers & 2) != 0) {
        if ((handlers & 1) != 0) {
            parser_.addHandler(audio_);
        }
        if ((handlers & 2) != 0) {
            parser_.addHandler(video_);
        }
        hasAudio_ = (handlers & 1) != 0;
        hasVideo_ = (handlers & 2) != 0;
    }

    void readOneTag() {
        const std::size_t tag = model_.place();
        audio_.taken.clear();
        video_.taken.clear();
        EXPECT_EQ(parser_.readOneTag(), model_.readOneTag());
        EXPECT_EQ(parser_.getPosition(), TimePosition(model_.position()));
        const std::uint8_t type = file_.tags[tag].type;
        expectTaken(audio_, tag, hasAudio_ && type == TagType::audio);
        expectTaken(video_, tag, hasVideo_ && type == TagType::video);
    }
    void setFilePosition(std::size_t tag) {
        parser_.setFilePosition(file_.builder.recordPosition(tag));
        model_.setFilePosition(tag);
    }
    void seekPosition(std::int64_t target) {
        parser_.seekPosition(TimePosition(target));
        model_.seekPosition(target);
        EXPECT_EQ(parser_.getPosition(), TimePosition(model_.position()));
    }

private:
    static void expectTaken(const JY::Test::RecordingHandler& handler, std::size_t tag, bool isTaken) {
        ASSERT_EQ(handler.taken.size(), isTaken ? 1U : 0U);
        if (isTaken) {
            const Bytes& body = handler.taken[0].body;
            ASSERT_GE(body.size(), 2U);
            EXPECT_TRUE(std::all_of(body.begin() + 1, body.end(), [&](std::uint8_t byte) { return byte == tag; }));
        }
    }

    const RandomFile& file_;
    TempFile temp_;
    FlvFileParserImpl parser_;
    Model model_;
    AudioHandler audio_;
    VideoHandler video_;
    bool hasAudio_ = false;
    bool hasVideo_ = false;
};

} // namespace

TEST(FlvFileParserModel, ReadsAndWalksAsItsRulesSay) {
    std::mt19937 random(20); // the same files in every run
    for (int round = 0; round < 400 && !testing::Test::HasFailure(); ++round) {
        const RandomFile file(random);
        const unsigned handlers = random() % 4;
        Pair pair(file, handlers);
        std::ostringstream calls;
        for (int call = 0; call < 40 && !testing::Test::HasFailure(); ++call) {
            switch (random() % 6) {
            case 0: {
                const std::size_t tag = random() % file.tags.size();
                calls << " set " << tag;
                pair.setFilePosition(tag);
                break;
            }
            case 1:
            case 2: {
                const std::uint32_t around = file.tags[random() % file.tags.size()].milliseconds;
                const std::int64_t target =
                    (static_cast<std::int64_t>(around) + random() % 5 - 2) * 1000 + random() % 3;
                calls << " seek " << target;
                pair.seekPosition(target);
                break;
            }
            default:
                calls << " read";
                pair.readOneTag();
            }
        }
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "round " << round << ", handlers " << handlers << ", " << file.tags.size()
                          << " tags:" << calls.str();
        }
    }
}
