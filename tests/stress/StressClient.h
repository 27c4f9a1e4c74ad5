#pragma once

#include "tests/module/LoadedModule.h"
#include "tests/stress/Creation.h"
#include "tests/stress/EventPump.h"
#include "tests/stress/Film.h"
#include "tests/stress/SharedSources.h"
#include "tests/stress/StressedSource.h"

#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace JY::Test {

/// What the clients of one run work on.
struct StressWorld {
    const LoadedModule& module;
    const Films& films;
    SharedSources& shared;
};

/// A client that does the next thing that comes to its mind. One thread, which is decided by its seed alone.
class StressClient {
public:
    StressClient(StressWorld world, std::uint64_t seed) : world_(world), random_(seed) {}

    void step();
    /// Gives up all that the client has.
    void leave();

    /// How often each action was taken, by all clients, as a text.
    static std::string account();

private:
    struct Action;
    static const std::vector<Action>& actions();

    /// A source that belongs to this client, and what takes its events instead of the client.
    struct OwnSource {
        std::shared_ptr<StressedSource> source;
        Microsoft::WRL::ComPtr<EventPump> pump;
    };

    // The actions.
    void openOwn();
    void openShared();
    void openAndForget();
    void openBadFile();
    void openMissingFile();
    void start();
    void startAgainAtOnce();
    void refusedStart();
    void stop();
    void pause();
    void request();
    void requestMany();
    void takeEvents();
    void waitForEvents();
    void ask();
    void queueEvent();
    void shutDown();
    void giveAway();
    void releaseKeepingStreams();
    void useKeptStreams();
    void releaseToCallback();
    void useFactory();
    void lockServer();
    void passNull();

    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    DWORD anyStream() { return oneIn(2) ? FilmSamples::audioStream : FilmSamples::videoStream; }
    Position anyPosition(const Film& film);
    Microsoft::WRL::ComPtr<IClassFactory> makeFactory() const;
    Microsoft::WRL::ComPtr<IMFByteStreamHandler> handler();
    std::shared_ptr<StressedSource> open(StressedSource::Use use);
    /// One of its own sources; empty when there is none.
    OwnSource* ownSource();
    /// An own or a shared source; null when there is none.
    std::shared_ptr<StressedSource> anySource();
    void forget(OwnSource& own);

    StressWorld world_;
    std::mt19937_64 random_;
    std::vector<OwnSource> own_;
    std::vector<Microsoft::WRL::ComPtr<IMFMediaStream>> keptStreams_;
    Microsoft::WRL::ComPtr<IMFByteStreamHandler> keptHandler_;
};

} // namespace JY::Test
