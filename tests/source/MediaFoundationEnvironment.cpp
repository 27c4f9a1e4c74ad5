#include <mfapi.h>

#include <gtest/gtest.h>

namespace {

/// Media Foundation runs for as long as the tests do.
class MediaFoundationEnvironment final : public testing::Environment {
public:
    void SetUp() override { ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK); }
    void TearDown() override { MFShutdown(); }
};

const auto* const environment = testing::AddGlobalTestEnvironment(new MediaFoundationEnvironment);

} // namespace
