#pragma once

#include "tests/module/LoadedModule.h"
#include "tests/source/ClientObjects.h"
#include "tests/stress/ModuleUse.h"
#include "tests/support/Position.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace JY::Test {

using EventTypes = std::vector<DWORD>;

/// The types of the events that are there.
EventTypes takeEvents(IMFMediaEventGenerator& generator);

/// A sample's time and its bytes.
struct TakenSample {
    LONGLONG milliseconds = 0;
    std::vector<std::uint8_t> bytes;
};
/// Requests a sample and gives it; nothing when none came.
std::optional<TakenSample> takeSample(IMFMediaStream& stream);
/// The time alone.
std::optional<LONGLONG> takeSampleTime(IMFMediaStream& stream);

Microsoft::WRL::ComPtr<IMFPresentationDescriptor> describe(IMFMediaSource& source);
/// With all streams.
HRESULT startSource(IMFMediaSource& source, const Position& position);

/// A source that is started, with its streams.
struct PlayedSource {
    Microsoft::WRL::ComPtr<IMFMediaSource> source;
    Microsoft::WRL::ComPtr<IMFMediaStream> audio;
    Microsoft::WRL::ComPtr<IMFMediaStream> video;

    /// Takes the source's events up to one of this type; an event that does not come is a failure of the test.
    void await(DWORD type);
};

/// The module as it is shipped, in the hands of a client, who lets it go when nothing of it is in use any more; that
/// it stays in use is a failure of the test.
class ModuleClient {
public:
    ModuleClient() = default;
    ModuleClient(const ModuleClient&) = delete;
    ModuleClient& operator=(const ModuleClient&) = delete;
    ~ModuleClient() { EXPECT_TRUE(becomesUnused()); }

    const LoadedModule& module() const { return module_; }
    HRESULT canUnloadNow() const { return module_.find<CanUnloadNow>("DllCanUnloadNow")(); }
    bool becomesUnused() const { return Test::becomesUnused(module_); }
    /// Waits for the source.
    /// @throws std::runtime_error when there is none
    Microsoft::WRL::ComPtr<IMFMediaSource> open(const std::wstring& path) const;
    /// Started from the beginning.
    PlayedSource play(const std::wstring& path) const;

private:
    LoadedModule module_;
};

/// A film with a key frame and a sound every second, up to `lastSecond`; the second is the last byte of each. Without
/// an index.
std::vector<std::uint8_t> secondsFilm(unsigned lastSecond = 10);

} // namespace JY::Test
