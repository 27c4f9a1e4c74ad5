#include "tests/fuzz/Mutator.h"

#include "tests/fuzz/FlvLayout.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

using namespace JY::Fuzz;

Bytes fileOf(std::uint64_t seed, std::uint64_t number) {
    static const Mutator mutator(buildCorpus());
    Random random = Random::ofCase(seed, number);
    return mutator.makeFile(random);
}

TEST(Random, GivesTheSameNumbersEverywhere) {
    Random random(1);
    EXPECT_EQ(random.next(), 0x910A2DEC89025CC1U);
    EXPECT_EQ(random.next(), 0xBEEB8DA1658EEC67U);
}

TEST(Random, HasItsOwnNumbersForEachCase) {
    std::set<std::uint64_t> seen;
    for (std::uint64_t seed = 0; seed < 30; ++seed) {
        for (std::uint64_t number = 0; number < 30; ++number) {
            seen.insert(Random::ofCase(seed, number).next());
        }
    }
    EXPECT_EQ(seen.size(), 900U);
}

TEST(Mutator, MakesTheSameFileOfTheSameCase) {
    for (std::uint64_t number = 0; number < 200; ++number) {
        EXPECT_EQ(fileOf(5, number), fileOf(5, number)) << number;
    }
}

TEST(Mutator, MakesDifferentFiles) {
    std::set<Bytes> files;
    for (std::uint64_t number = 0; number < 1000; ++number) {
        files.insert(fileOf(5, number));
    }
    EXPECT_GT(files.size(), 900U);
}

TEST(Mutator, KeepsFilesSmall) {
    for (std::uint64_t number = 0; number < 2000; ++number) {
        EXPECT_LE(fileOf(6, number).size(), Mutator::largestFile);
    }
}

TEST(Corpus, HasSmallFilesOfWholeTags) {
    for (const CorpusFile& file : buildCorpus()) {
        EXPECT_LT(file.bytes.size(), 8192U) << file.name;
        const FlvLayout layout = layoutOf(file.bytes);
        EXPECT_GE(layout.tags.size(), 3U) << file.name;
    }
}

/// Bytes of a file by the kind of the field that they are in.
TEST(FlvLayout, CoversEveryByteOfAFileOnce) {
    for (const CorpusFile& file : buildCorpus()) {
        std::vector<int> covers(file.bytes.size());
        for (const Field& field : layoutOf(file.bytes).fields) {
            for (std::size_t index = 0; index < field.size; ++index) {
                ++covers.at(field.offset + index);
            }
        }
        EXPECT_LE(*std::ranges::max_element(covers), 1) << file.name;
        EXPECT_LE(std::ranges::count(covers, 0), 24) << file.name; // the last tag's size, and what is behind it
    }
}

TEST(FlvLayout, StaysInsideDamagedFiles) {
    for (std::uint64_t number = 0; number < 2000; ++number) {
        const Bytes file = fileOf(7, number);
        for (const Field& field : layoutOf(file).fields) {
            ASSERT_NE(field.size, 0U);
            ASSERT_LE(field.offset + field.size, file.size());
        }
    }
}

TEST(FlvLayout, FindsWhatFilesAreMadeOf) {
    std::map<FieldKind, int> kinds;
    for (const Field& field : layoutOf(buildCorpus().front().bytes).fields) {
        ++kinds[field.kind];
    }
    EXPECT_EQ(kinds[FieldKind::tagType], 19); // script, two configurations, and eight of both
    EXPECT_EQ(kinds[FieldKind::real], 12);    // four values, and the times and positions of four key frames
}

} // namespace
