#pragma once

#include "tests/support/LogCapture.h"
#include "util/ClassName.h"

#include <windows.h>

#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <typeinfo>
#include <vector>

namespace JY::Test {

/// A method under the name that its records give it, and a call of it.
struct MethodCall {
    const char* method;
    std::function<void()> call;
};

/// Expects that everything that each call records on this thread lies between the method's ENTER and EXIT records,
/// which are traces and name `file` as their source.
inline void expectMethodTraces(LogCapture& log, const std::type_info& type, const std::string& file,
                               std::initializer_list<MethodCall> calls) {
    for (const MethodCall& each : calls) {
        log.clear();
        each.call();
        std::vector<CapturedRecord> own;
        for (const CapturedRecord& record : log.records()) {
            if (record.threadId == GetCurrentThreadId()) {
                own.push_back(record);
            }
        }
        const std::string name = std::string(bareClassName(type)) + "::" + each.method;
        ASSERT_GE(own.size(), 2U) << name;
        EXPECT_EQ(own.front().message, "ENTER: " + name);
        EXPECT_EQ(own.back().message, "EXIT: " + name);
        for (const CapturedRecord& end : {own.front(), own.back()}) {
            EXPECT_EQ(end.severity, Log2::Severity::trace) << name;
            EXPECT_EQ(end.file, file) << name;
        }
    }
}

} // namespace JY::Test
