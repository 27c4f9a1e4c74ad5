#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace JY::Test {

/// Keeps what this process sends to the debugger's narrow output for as long as it lives. One at a time.
class DebugOutputCapture {
public:
    DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture&) = delete;
    DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;
    ~DebugOutputCapture();

    /// The texts in order. Any thread.
    static std::vector<std::string> lines();
    /// How many texts contain `part`.
    static std::size_t count(const std::string& part);

private:
    void* handler_;
};

} // namespace JY::Test
