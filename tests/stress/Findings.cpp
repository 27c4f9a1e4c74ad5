#include "tests/stress/Findings.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace JY::Test::Findings {

namespace {
constexpr unsigned mostPrinted = 20;
std::atomic<unsigned> findings{0};
} // namespace

void add(const std::string& text) {
    if (++findings <= mostPrinted) {
        std::fprintf(stderr, "stress: thread %lu: %s\n", GetCurrentThreadId(), text.c_str());
    }
}

unsigned count() {
    return findings;
}

void clear() {
    findings = 0;
}

HRESULT expectOneOf(const char* method, HRESULT result, std::initializer_list<HRESULT> expected) {
    if (std::ranges::find(expected, result) == expected.end()) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08lx", static_cast<unsigned long>(result));
        add(std::string(method) + " gave " + code);
    }
    return result;
}

} // namespace JY::Test::Findings
