#include "tests/support/DebugOutputCapture.h"

#include <windows.h>

#include <algorithm>

namespace JY::Test {

namespace {

std::mutex linesMutex;
std::vector<std::string> keptLines;

LONG CALLBACK keep(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == DBG_PRINTEXCEPTION_C) {
        const std::lock_guard guard(linesMutex);
        keptLines.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

DebugOutputCapture::DebugOutputCapture() : handler_(AddVectoredExceptionHandler(1, &keep)) {
    const std::lock_guard guard(linesMutex);
    keptLines.clear();
}

DebugOutputCapture::~DebugOutputCapture() {
    RemoveVectoredExceptionHandler(handler_);
}

std::vector<std::string> DebugOutputCapture::lines() {
    const std::lock_guard guard(linesMutex);
    return keptLines;
}

std::size_t DebugOutputCapture::count(const std::string& part) {
    const auto all = lines();
    return static_cast<std::size_t>(
        std::ranges::count_if(all, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
}

} // namespace JY::Test
