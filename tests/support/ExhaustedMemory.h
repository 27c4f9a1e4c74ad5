#pragma once

namespace JY::Test {

/// Leaves no memory for COM objects as long as it lives: operator new(std::nothrow), by which they are made, gives
/// null. Replaces that operator: only for test programs that list ExhaustedMemory.cpp among their sources.
class ExhaustedMemory {
public:
    ExhaustedMemory();
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;
    ~ExhaustedMemory();
};

} // namespace JY::Test
