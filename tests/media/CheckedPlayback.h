#pragma once

#include "tests/media/ExpectedSource.h"
#include "tests/module/LoadedModule.h"
#include "tests/support/Bytes.h"
#include "tests/support/ModuleSetting.h"
#include "tools/Session.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace JY::Test {

/// A sample as it was delivered. Times in 100 ns.
struct PlayedSample {
    Bytes bytes;
    LONGLONG time = 0;
    LONGLONG duration = 0;
    bool cleanPoint = false;

    bool operator==(const PlayedSample&) const = default;
};

/// Media Foundation and the library, for as long as it lives.
struct LoadedSession {
    Tools::Session session;
    LoadedModule module;
};

/// Opens a film with the library, in the place that Media Foundation's resolver has. Null when that fails.
Microsoft::WRL::ComPtr<IMFMediaSource> openFilm(const LoadedModule& module, const std::wstring& path, HRESULT& result);

/// A media source of a film and what it must do, side by side: each call goes to both, and every difference is a
/// failure of the test. One thread.
class CheckedPlayback {
public:
    /// The file must not be one whose opening never ends.
    CheckedPlayback(const LoadedModule& module, const std::wstring& path, const ExpectedSource& expected);
    CheckedPlayback(const CheckedPlayback&) = delete;
    CheckedPlayback& operator=(const CheckedPlayback&) = delete;
    ~CheckedPlayback();

    bool isOpen() const { return source_ != nullptr; }
    const ExpectedSource& expected() const { return expected_; }

    /// The settings of all seeks from here on, in the machine's registry.
    void set(const SeekSettings& settings);
    /// At a position in 100 ns, or, without one, where it stands.
    void start(std::optional<LONGLONG> position);
    void pause();
    void stop();
    Answer request(DWORD stream);
    /// Requests until the streams have met the end `ends` times each, in turns.
    void playToEnd(unsigned ends);

    /// What a stream has delivered since the last start.
    const std::vector<PlayedSample>& played(DWORD stream) { return played_[stream]; }

private:
    void compareOpening(HRESULT result);
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> presentation() const;
    void expectEvents(const ExpectedEvents& expected);
    void expectNoEvents();
    Answer takeAnswer(HRESULT result, IMFMediaStream& stream);
    std::optional<PlayedSample> sampleOf(IMFMediaStream& stream);
    static void compare(DWORD stream, const PlayedSample& sample, const ExpectedSample& expected);
    void tellFailure();

    ExpectedSource expected_;
    Microsoft::WRL::ComPtr<IMFMediaSource> source_;
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> presentation_;
    std::map<DWORD, Microsoft::WRL::ComPtr<IMFMediaStream>> streams_;
    std::map<DWORD, std::vector<PlayedSample>> played_;
    std::optional<PlayedSample> latest_;
    std::optional<ModuleSetting> seekByMetaData_;
    std::optional<ModuleSetting> tagTraverseThreshold_;
    std::string history_; ///< what has been called, for those who look into a difference
};

} // namespace JY::Test
