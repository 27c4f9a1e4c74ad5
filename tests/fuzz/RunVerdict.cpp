#include "tests/fuzz/RunVerdict.h"

namespace JY::Fuzz {

namespace {

constexpr std::uint64_t casesThatGiveSamples = 100;
constexpr std::uint64_t casesThatAreChecked = 300;

} // namespace

std::vector<const char*> shortcomingsOf(const Progress& progress) {
    std::vector<const char*> shortcomings;
    if (progress.cases >= casesThatGiveSamples && progress.withSamples == 0) {
        shortcomings.push_back("no case gave samples");
    }
    if (progress.cases >= casesThatAreChecked && progress.consumptionChecks == 0) {
        shortcomings.push_back("memory and handles were never looked at");
    }
    return shortcomings;
}

} // namespace JY::Fuzz
