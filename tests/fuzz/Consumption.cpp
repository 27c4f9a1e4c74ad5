#include "tests/fuzz/Consumption.h"

#include "tests/fuzz/Finding.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/PrivateMemory.h"

namespace JY::Fuzz {

namespace {

constexpr std::uint64_t lostByWorkItem = 256;                     ///< bytes that the system does not give back
constexpr std::uint64_t toleratedByCase = 64;                     ///< bytes
constexpr std::uint64_t toleratedMemory = std::uint64_t{8} << 20; ///< bytes, for a heap that is in disorder
constexpr std::size_t toleratedHandles = 8;

} // namespace

Consumption::Consumption(const Progress& progress)
    : progress_(progress), cases_(progress.cases), workItems_(progress.workItems), memory_(Test::privateBytes()),
      handles_(Test::countOpenHandles()) {}

void Consumption::check() const {
    const std::uint64_t tolerated = (progress_.workItems - workItems_) * lostByWorkItem +
                                    (progress_.cases - cases_) * toleratedByCase + toleratedMemory;
    require(Test::privateBytes() <= memory_ + tolerated, "memory is lost");
    require(Test::countOpenHandles() <= handles_ + toleratedHandles, "handles are lost");
}

} // namespace JY::Fuzz
