#include "tests/stress/StressClient.h"

#include "module/ClassId.h"
#include "tests/stress/Findings.h"

#include <mferror.h>

#include <array>
#include <atomic>
#include <string>
#include <utility>

namespace JY::Test {

using Findings::expectOneOf;
using Microsoft::WRL::ComPtr;

struct StressClient::Action {
    const char* name;
    unsigned weight;
    void (StressClient::*take)();
};

namespace {

constexpr std::size_t mostOwnSources = 3;
constexpr std::size_t mostKeptStreams = 6;
constexpr std::size_t mostActions = 32;
std::array<std::atomic<unsigned>, mostActions> taken{};

void expect(bool isRight, const char* what) {
    if (!isRight) {
        Findings::add(what);
    }
}

/// The methods of a stream whose source may be gone: what they give while it is there, or that it is shut down.
void callEveryMethod(IMFMediaStream& stream) {
    ComPtr<IMFMediaEvent> event;
    ComPtr<IMFMediaSource> source;
    ComPtr<IMFStreamDescriptor> descriptor;
    expectOneOf("GetEvent of a kept stream", stream.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()),
                {S_OK, MF_E_NO_EVENTS_AVAILABLE, MF_E_SHUTDOWN});
    expectOneOf("QueueEvent of a kept stream", stream.QueueEvent(MEExtendedType, GUID_NULL, S_OK, nullptr),
                {S_OK, MF_E_SHUTDOWN});
    expectOneOf("GetMediaSource of a kept stream", stream.GetMediaSource(source.GetAddressOf()), {S_OK, MF_E_SHUTDOWN});
    expectOneOf("GetStreamDescriptor of a kept stream", stream.GetStreamDescriptor(descriptor.GetAddressOf()),
                {S_OK, MF_E_SHUTDOWN});
    expectOneOf("RequestSample of a kept stream", stream.RequestSample(makeHeapObject<HeapToken>().Get()),
                {S_OK, MF_E_END_OF_STREAM, MF_E_SHUTDOWN});
}

} // namespace

const std::vector<StressClient::Action>& StressClient::actions() {
    static const std::vector<Action> all{
        {"openOwn", 6, &StressClient::openOwn},
        {"openShared", 3, &StressClient::openShared},
        {"openAndForget", 2, &StressClient::openAndForget},
        {"openBadFile", 1, &StressClient::openBadFile},
        {"openMissingFile", 1, &StressClient::openMissingFile},
        {"start", 30, &StressClient::start},
        {"startAgainAtOnce", 6, &StressClient::startAgainAtOnce},
        {"refusedStart", 2, &StressClient::refusedStart},
        {"stop", 10, &StressClient::stop},
        {"pause", 15, &StressClient::pause},
        {"request", 50, &StressClient::request},
        {"requestMany", 10, &StressClient::requestMany},
        {"takeEvents", 50, &StressClient::takeEvents},
        {"waitForEvents", 1, &StressClient::waitForEvents},
        {"ask", 10, &StressClient::ask},
        {"queueEvent", 5, &StressClient::queueEvent},
        {"shutDown", 3, &StressClient::shutDown},
        {"giveAway", 3, &StressClient::giveAway},
        {"releaseKeepingStreams", 3, &StressClient::releaseKeepingStreams},
        {"useKeptStreams", 5, &StressClient::useKeptStreams},
        {"releaseToCallback", 3, &StressClient::releaseToCallback},
        {"useFactory", 3, &StressClient::useFactory},
        {"lockServer", 2, &StressClient::lockServer},
        {"passNull", 1, &StressClient::passNull},
    };
    return all;
}

void StressClient::step() {
    static const unsigned total = [] {
        unsigned sum = 0;
        for (const Action& action : actions()) {
            sum += action.weight;
        }
        return sum;
    }();
    std::size_t chosen = below(total);
    std::size_t index = 0;
    while (chosen >= actions()[index].weight) {
        chosen -= actions()[index++].weight;
    }
    (this->*actions()[index].take)();
    ++taken[index];
}

std::string StressClient::account() {
    std::string text;
    for (std::size_t index = 0; index < actions().size(); ++index) {
        text += std::string("  ") + actions()[index].name + " " + std::to_string(taken[index]) + "\n";
    }
    return text;
}

void StressClient::leave() {
    while (!own_.empty()) {
        forget(own_.back());
    }
    keptStreams_.clear();
    keptHandler_.Reset();
}

// Making sources.

ComPtr<IClassFactory> StressClient::makeFactory() const {
    ComPtr<IClassFactory> factory;
    expectOneOf("DllGetClassObject",
                world_.module.find<GetClassObject>("DllGetClassObject")(
                    Pictaro::Fs::CLSID_FlvByteStreamHandler, IID_IClassFactory,
                    reinterpret_cast<void**>(factory.GetAddressOf())),
                {S_OK});
    return factory;
}

/// Sometimes a new one, sometimes one that is still at work on another request.
ComPtr<IMFByteStreamHandler> StressClient::handler() {
    if (keptHandler_ == nullptr || oneIn(4)) {
        expectOneOf("CreateInstance",
                    makeFactory()->CreateInstance(nullptr, __uuidof(IMFByteStreamHandler),
                                                  reinterpret_cast<void**>(keptHandler_.ReleaseAndGetAddressOf())),
                    {S_OK});
    }
    return keptHandler_;
}

std::shared_ptr<StressedSource> StressClient::open(StressedSource::Use use) {
    const Film& film = world_.films.good()[below(world_.films.good().size())];
    const auto creation = makeHeapObject<Creation>(handler(), Creation::Answer::handOver, true);
    creation->begin(film.url());
    auto source = creation->end();
    return source != nullptr ? std::make_shared<StressedSource>(film, std::move(source), use) : nullptr;
}

void StressClient::openOwn() {
    const bool hasPump = oneIn(3);
    auto source = open(hasPump ? StressedSource::Use::byCallback : StressedSource::Use::byOne);
    if (source == nullptr) {
        return;
    }
    if (own_.size() == mostOwnSources) {
        forget(own_[below(own_.size())]);
    }
    OwnSource& own = own_.emplace_back(OwnSource{std::move(source), nullptr});
    if (hasPump) {
        own.pump = makeHeapObject<EventPump>(own.source, random_());
        own.pump->run();
    }
    own.source->start(anyPosition(own.source->film()));
}

void StressClient::openShared() {
    const std::size_t place = below(SharedSources::places);
    if (world_.shared.find(place) == nullptr) {
        if (auto source = open(StressedSource::Use::byMany)) {
            world_.shared.put(place, std::move(source));
        }
    }
}

void StressClient::openAndForget() {
    static constexpr std::array answers{Creation::Answer::release, Creation::Answer::shutDown, Creation::Answer::start,
                                        Creation::Answer::leaveUnread};
    const Film& film = world_.films.good()[below(world_.films.good().size())];
    const auto creation = makeHeapObject<Creation>(handler(), answers[below(answers.size())], true);
    creation->begin(film.url());
    if (oneIn(2)) {
        creation->end();
    }
}

void StressClient::openBadFile() {
    const auto& urls = world_.films.badUrls();
    const auto creation = makeHeapObject<Creation>(handler(), Creation::Answer::handOver, false);
    creation->begin(urls[below(urls.size())]);
    expect(creation->end() == nullptr, "a bad file has become a source");
}

void StressClient::openMissingFile() {
    const auto token = makeHeapObject<HeapToken>();
    const auto creation = makeHeapObject<Creation>(nullptr, Creation::Answer::handOver, false);
    expectOneOf("BeginCreateObject of a missing file",
                handler()->BeginCreateObject(reinterpret_cast<IMFByteStream*>(static_cast<IUnknown*>(token.Get())),
                                             L"file://C:\\missing.flv", MF_RESOLUTION_MEDIASOURCE, nullptr, nullptr,
                                             creation.Get(), nullptr),
                {E_FAIL});
}

// Using them.

Position StressClient::anyPosition(const Film& film) {
    const auto within = [&] {
        return static_cast<LONGLONG>(random_() % static_cast<std::uint64_t>(film.samples.lastTime() + 1));
    };
    switch (below(16)) {
    case 0:
        return Position();
    case 1:
        return Position(0);
    case 2:
        return Position(film.samples.lastTime() + within());
    case 3:
        return Position(-within());
    case 4:
        return Position::ofType(VT_R8);
    default:
        return Position(within());
    }
}

StressClient::OwnSource* StressClient::ownSource() {
    return own_.empty() ? nullptr : &own_[below(own_.size())];
}

std::shared_ptr<StressedSource> StressClient::anySource() {
    if (oneIn(3)) {
        return world_.shared.find(below(SharedSources::places));
    }
    const OwnSource* const own = ownSource();
    return own != nullptr ? own->source : nullptr;
}

void StressClient::start() {
    if (const auto source = anySource()) {
        source->start(anyPosition(source->film()));
    }
}

void StressClient::startAgainAtOnce() {
    if (const auto source = anySource()) {
        source->start(anyPosition(source->film()));
        source->start(anyPosition(source->film()));
        source->stop();
        source->start(Position());
    }
}

void StressClient::refusedStart() {
    if (const auto source = anySource()) {
        if (oneIn(2)) {
            source->startWithUnknownTimeFormat();
        } else {
            source->startOneStream();
        }
    }
}

void StressClient::stop() {
    if (const auto source = anySource()) {
        source->stop();
    }
}

void StressClient::pause() {
    if (const auto source = anySource()) {
        source->pause();
    }
}

void StressClient::request() {
    if (const auto source = anySource()) {
        source->requestSample(anyStream(), oneIn(2) ? makeHeapObject<HeapToken>().Get() : nullptr);
    }
}

void StressClient::requestMany() {
    if (const auto source = anySource()) {
        for (std::size_t count = below(40); count != 0; --count) {
            source->requestSample(anyStream(), nullptr);
        }
        source->takeEvents();
    }
}

void StressClient::takeEvents() {
    if (const auto source = anySource()) {
        source->takeEvents();
    }
}

void StressClient::waitForEvents() {
    if (const auto source = world_.shared.find(below(SharedSources::places))) {
        source->waitForEvents(oneIn(2) ? 0 : anyStream());
    }
}

void StressClient::ask() {
    if (const auto source = anySource()) {
        source->describe();
        source->askForInterfaces();
        source->askStream(anyStream());
    }
}

void StressClient::queueEvent() {
    if (const auto source = anySource()) {
        source->queueEvent();
    }
}

// Letting them go.

/// A callback that refers to a source is freed from it by the source's Shutdown.
void StressClient::forget(OwnSource& own) {
    if (own.pump != nullptr && !own.source->isShutDown()) {
        own.source->shutDown();
    }
    std::swap(own, own_.back());
    own_.pop_back();
}

void StressClient::shutDown() {
    if (const auto source = anySource()) {
        source->shutDown();
    }
}

void StressClient::giveAway() {
    if (OwnSource* const own = ownSource()) {
        forget(*own);
    }
}

void StressClient::releaseKeepingStreams() {
    if (OwnSource* const own = ownSource()) {
        for (const DWORD id : {FilmSamples::audioStream, FilmSamples::videoStream}) {
            if (auto stream = own->source->stream(id)) {
                keptStreams_.push_back(std::move(stream));
            }
        }
        if (oneIn(2)) {
            own->source->start(Position()); // is queued when the source goes
        }
        forget(*own);
    }
    if (keptStreams_.size() > mostKeptStreams) {
        keptStreams_.clear();
    }
}

void StressClient::useKeptStreams() {
    for (const auto& stream : keptStreams_) {
        callEveryMethod(*stream.Get());
    }
}

void StressClient::releaseToCallback() {
    OwnSource* const own = ownSource();
    if (own == nullptr || own->pump == nullptr) {
        return;
    }
    own->pump->letGo();
    own->source->queueEvent();
    std::swap(*own, own_.back());
    own_.pop_back();
}

// Around them.

void StressClient::useFactory() {
    const auto canUnloadNow = world_.module.find<CanUnloadNow>("DllCanUnloadNow");
    const auto factory = makeFactory();
    expectOneOf("DllCanUnloadNow beside a factory", canUnloadNow(), {S_FALSE});
    const auto outer = makeHeapObject<HeapToken>();
    ComPtr<IUnknown> none;
    expectOneOf("CreateInstance of a part",
                factory->CreateInstance(outer.Get(), IID_IUnknown, reinterpret_cast<void**>(none.GetAddressOf())),
                {CLASS_E_NOAGGREGATION});
    expectOneOf("CreateInstance of another interface",
                factory->CreateInstance(nullptr, IID_IMFMediaSource, reinterpret_cast<void**>(none.GetAddressOf())),
                {E_NOINTERFACE});
    expectOneOf("DllGetClassObject of another interface",
                world_.module.find<GetClassObject>("DllGetClassObject")(CLSID_NULL, IID_IMFMediaSource,
                                                                        reinterpret_cast<void**>(none.GetAddressOf())),
                {E_NOINTERFACE});
}

void StressClient::lockServer() {
    const auto canUnloadNow = world_.module.find<CanUnloadNow>("DllCanUnloadNow");
    auto factory = makeFactory();
    expectOneOf("LockServer", factory->LockServer(TRUE), {S_OK});
    const auto second = factory;
    factory.Reset();
    expectOneOf("DllCanUnloadNow with a server lock", canUnloadNow(), {S_FALSE});
    expectOneOf("LockServer", second->LockServer(FALSE), {S_OK});
}

/// Rarely, because each writes a snapshot.
void StressClient::passNull() {
    const auto source = anySource();
    if (source == nullptr || !oneIn(8)) {
        return;
    }
    expectOneOf("GetEvent without a place", source->source().GetEvent(0, nullptr), {E_INVALIDARG});
    expectOneOf("Start without a descriptor", source->source().Start(nullptr, nullptr, Position().get()),
                {E_INVALIDARG});
    expectOneOf("QueryInterface without a place", source->source().QueryInterface(IID_IUnknown, nullptr),
                {E_INVALIDARG});
}

} // namespace JY::Test
