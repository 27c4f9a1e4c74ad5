#pragma once

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace JY::Bench {

/// Plays one film: what a player does, without a decoder and without anything that costs time of its own.
class FilmClient {
public:
    /// Takes the source over and shuts it down at the end.
    explicit FilmClient(Microsoft::WRL::ComPtr<IMFMediaSource> source);
    FilmClient(const FilmClient&) = delete;
    FilmClient& operator=(const FilmClient&) = delete;
    ~FilmClient();

    /// Starts every stream at a position (100 ns) and waits until it is done.
    /// @throws Failure
    void start(LONGLONG position);
    /// Asks for a sample of the last stream, which is the video where there is one, and waits for it.
    /// @throws Failure
    Microsoft::WRL::ComPtr<IMFSample> firstPicture();
    /// Takes every sample to the end of the film, the earliest stream's first, and tells its size in bytes.
    /// @throws Failure
    void takeAll(const std::function<void(std::uint32_t)>& visit);

private:
    struct Stream {
        Microsoft::WRL::ComPtr<IMFMediaStream> stream;
        LONGLONG time = 0; ///< that its latest sample's time stands for, 100 ns
    };

    static Microsoft::WRL::ComPtr<IMFSample> next(Stream& stream);

    Microsoft::WRL::ComPtr<IMFMediaSource> source_;
    std::vector<Stream> streams_;
};

} // namespace JY::Bench
