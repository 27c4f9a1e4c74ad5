#pragma once

#include <gtest/gtest.h>

namespace JY::Tools {

/// Registers the module that stands beside this program before the first test, and takes it out after the last.
class ModuleRegistration : public testing::Environment {
public:
    void SetUp() override;
    void TearDown() override;
};

} // namespace JY::Tools
