#include "tests/fuzz/SourceUse.h"

#include "tests/fuzz/Finding.h"
#include "tests/fuzz/Patience.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <array>
#include <limits>

namespace JY::Fuzz {

using Microsoft::WRL::ComPtr;

namespace {

constexpr DWORD audioId = 1001;
constexpr DWORD videoId = 1002;
constexpr std::size_t mostRounds = 4;
constexpr std::size_t mostRequests = 200; ///< samples asked for in one round
/// What a tag can claim to hold; sound is taken as the tag claims it.
constexpr std::size_t largestSound = 0xFFFFFF;
/// Parameter sets in front of pictures: at most as long as the file but for the start codes, which can outnumber its
/// bytes.
constexpr std::size_t startCodes = 3 * (31 + 255 + 1);

bool isResult(HRESULT result) {
    return result == S_OK || FAILED(result);
}

LONGLONG timeOf(std::size_t milliseconds) {
    return static_cast<LONGLONG>(milliseconds) * 10'000;
}

} // namespace

SourceUse::SourceUse(ComPtr<IMFMediaSource> source, std::size_t fileSize, Random random, Progress& progress)
    : source_(std::move(source)), fileSize_(fileSize), random_(random), progress_(progress) {}

void SourceUse::run() {
    finishWork(); // of the creation
    if (describe()) {
        checkStreams();
        for (std::size_t left = 1 + random_.below(mostRounds); left != 0; --left) {
            playRound();
        }
    }
    if (!random_.oneIn(8)) {
        shutdown();
    }
    streams_.clear();
    source_.Reset();
    progress_.withSamples += hasSamples_ ? 1 : 0;
    require(token_.references() == 0 || waitUntil([&] { return token_.references() == 0; }),
            "a sample's token is kept");
}

bool SourceUse::describe() {
    const HRESULT result = source_->CreatePresentationDescriptor(descriptor_.GetAddressOf());
    count(Call::describe, result);
    require(SUCCEEDED(result) == (descriptor_ != nullptr), "the descriptor and its result do not fit");
    return descriptor_ != nullptr;
}

void SourceUse::checkStreams() {
    DWORD number = 0;
    require(descriptor_->GetStreamDescriptorCount(&number) == S_OK && number >= 1 && number <= 2,
            "a number of streams other than 1 and 2");
    UINT64 duration = 0;
    require(descriptor_->GetUINT64(MF_PD_DURATION, &duration) == S_OK, "a presentation without a duration");
    for (DWORD index = 0; index < number; ++index) {
        BOOL isSelected = FALSE;
        ComPtr<IMFStreamDescriptor> stream;
        require(descriptor_->GetStreamDescriptorByIndex(index, &isSelected, stream.GetAddressOf()) == S_OK,
                "a stream without a descriptor");
        DWORD id = 0;
        require(stream->GetStreamIdentifier(&id) == S_OK && (id == audioId || id == videoId), "an unknown stream");
        ComPtr<IMFMediaTypeHandler> handler;
        ComPtr<IMFMediaType> type;
        GUID major{};
        require(stream->GetMediaTypeHandler(handler.GetAddressOf()) == S_OK &&
                    handler->GetCurrentMediaType(type.GetAddressOf()) == S_OK && type->GetMajorType(&major) == S_OK &&
                    IsEqualGUID(major, id == audioId ? MFMediaType_Audio : MFMediaType_Video),
                "a stream without a type of its kind");
    }
}

/// Mostly all of them.
void SourceUse::selectStreams() {
    DWORD number = 0;
    descriptor_->GetStreamDescriptorCount(&number);
    for (DWORD index = 0; index < number; ++index) {
        if (random_.oneIn(10)) {
            descriptor_->DeselectStream(index);
        } else {
            descriptor_->SelectStream(index);
        }
    }
}

void SourceUse::playRound() {
    selectStreams();
    if (FAILED(start())) {
        return;
    }
    if (random_.oneIn(30)) {
        return; // whoever goes on does so while the start is at work
    }
    finishWork();
    meetStreams();
    requestSamples();
    pauseOrStop();
}

HRESULT SourceUse::start() {
    const PROPVARIANT position = somePosition();
    const HRESULT result = source_->Start(descriptor_.Get(), nullptr, &position);
    count(Call::start, result);
    ++progress_.workItems;
    return result;
}

PROPVARIANT SourceUse::somePosition() {
    static constexpr std::array<LONGLONG, 9> odd = {-1,
                                                    -10'000'000,
                                                    42'949'672'950,
                                                    42'949'672'960,
                                                    std::numeric_limits<LONGLONG>::max(),
                                                    std::numeric_limits<LONGLONG>::max() - 9,
                                                    std::numeric_limits<LONGLONG>::min(),
                                                    150'000'000,
                                                    480'000'000};
    PROPVARIANT position{};
    if (random_.oneIn(3)) {
        return position;
    }
    position.vt = random_.oneIn(20) ? VT_R8 : VT_I8;
    position.hVal.QuadPart = random_.oneIn(4) ? random_.pick(odd) : timeOf(random_.below(4000));
    return position;
}

/// Queued work holds a reference to the source, so it is done when the client's is the only one.
void SourceUse::finishWork() {
    const bool isDone = waitUntil([&] {
        source_->AddRef();
        return source_->Release() == 1;
    });
    if (!isDone) {
        throw Hang("queued work does not end");
    }
}

std::vector<SourceUse::Event> SourceUse::takeEvents(IMFMediaEventGenerator& generator) const {
    std::vector<Event> events;
    ComPtr<IMFMediaEvent> event;
    while (SUCCEEDED(generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.ReleaseAndGetAddressOf()))) {
        require(event != nullptr, "an event is missing");
        Event taken{MEUnknown, nullptr};
        PROPVARIANT value{};
        HRESULT status = E_FAIL;
        require(event->GetType(&taken.type) == S_OK && event->GetValue(&value) == S_OK &&
                    event->GetStatus(&status) == S_OK && status == S_OK,
                "an event that cannot be read");
        if (value.vt == VT_UNKNOWN) {
            taken.object = value.punkVal;
        }
        PropVariantClear(&value);
        events.push_back(std::move(taken));
    }
    return events;
}

void SourceUse::meetStreams() {
    for (const Event& event : takeEvents(*source_.Get())) {
        if (event.type != MENewStream && event.type != MEUpdatedStream) {
            continue;
        }
        Stream stream;
        ComPtr<IMFStreamDescriptor> descriptor;
        DWORD id = 0;
        require(event.object != nullptr && event.object.As(&stream) == S_OK &&
                    stream->GetStreamDescriptor(descriptor.GetAddressOf()) == S_OK &&
                    descriptor->GetStreamIdentifier(&id) == S_OK,
                "a stream that is announced is none");
        streams_[id] = stream;
        isPaused_ = false;
    }
}

/// Of all streams in turn or of one only, up to the end or a few.
void SourceUse::requestSamples() {
    if (streams_.empty()) {
        return;
    }
    const std::size_t most = random_.oneIn(2) ? mostRequests : random_.below(10);
    const bool isOneOnly = random_.oneIn(4);
    std::size_t failures = 0;
    for (std::size_t index = 0; index < most && failures < 3; ++index) {
        auto place = streams_.begin();
        std::advance(place, isOneOnly ? 0 : static_cast<std::ptrdiff_t>(index % streams_.size()));
        failures += requestSample(place->first, *place->second.Get()) == S_OK ? 0 : 1;
    }
}

HRESULT SourceUse::requestSample(DWORD id, IMFMediaStream& stream) {
    const bool hasToken = random_.oneIn(2);
    const HRESULT result = stream.RequestSample(hasToken ? &token_ : nullptr);
    count(Call::requestSample, result);
    std::size_t samples = 0;
    bool isAtEnd = false;
    for (const Event& event : takeEvents(stream)) {
        if (event.type == MEMediaSample) {
            ++samples;
            require(event.object != nullptr, "a sample that is none");
            checkSample(id, *event.object.Get(), hasToken);
        }
        isAtEnd = isAtEnd || event.type == MEEndOfStream;
    }
    if (result == MF_E_END_OF_STREAM) {
        require(isAtEnd && samples == 0, "the end of a stream is not announced");
    } else {
        require(samples == (result == S_OK && !isPaused_ ? 1U : 0U), "a request and its samples do not fit");
    }
    return result;
}

void SourceUse::checkSample(DWORD id, IUnknown& object, bool hasToken) {
    ComPtr<IMFSample> sample;
    require(object.QueryInterface(IID_PPV_ARGS(sample.GetAddressOf())) == S_OK, "a sample that is none");
    DWORD buffers = 0;
    DWORD total = 0;
    DWORD length = 0;
    DWORD room = 0;
    BYTE* data = nullptr;
    ComPtr<IMFMediaBuffer> buffer;
    require(sample->GetBufferCount(&buffers) == S_OK && buffers == 1 && sample->GetTotalLength(&total) == S_OK &&
                sample->GetBufferByIndex(0, buffer.GetAddressOf()) == S_OK &&
                buffer->Lock(&data, &room, &length) == S_OK,
            "a sample's buffer cannot be read");
    buffer->Unlock();
    require(length == total && length <= room, "a sample's lengths do not fit");
    require(length <= (id == audioId ? largestSound : 2 * fileSize_ + startCodes), "a sample longer than its file");
    LONGLONG time = -1;
    LONGLONG duration = 0;
    require(sample->GetSampleTime(&time) == S_OK && time >= 0 &&
                time <= LONGLONG{std::numeric_limits<std::uint32_t>::max()} * 10,
            "a sample's time is out of range");
    require(sample->GetSampleDuration(&duration) == S_OK, "a sample without a duration");
    ComPtr<IUnknown> token;
    const HRESULT found = sample->GetUnknown(MFSampleExtension_Token, IID_PPV_ARGS(token.GetAddressOf()));
    require(hasToken ? found == S_OK && token.Get() == &token_ : found == MF_E_ATTRIBUTENOTFOUND,
            "a sample's token is not that of its request");
    hasSamples_ = true;
    ++progress_.samples;
    progress_.sampleBytes += length;
}

void SourceUse::pauseOrStop() {
    switch (random_.below(4)) {
    case 0: {
        const HRESULT result = source_->Pause();
        count(Call::pause, result);
        isPaused_ = isPaused_ || result == S_OK;
        if (isPaused_ && !streams_.empty()) {
            requestSample(streams_.begin()->first, *streams_.begin()->second.Get());
        }
        return;
    }
    case 1:
        count(Call::stop, source_->Stop());
        isPaused_ = false;
        return;
    default:
        return;
    }
}

void SourceUse::shutdown() {
    const HRESULT result = source_->Shutdown();
    count(Call::shutdown, result);
    require(result == S_OK, "Shutdown fails");
    require(source_->Pause() == MF_E_SHUTDOWN && source_->Stop() == MF_E_SHUTDOWN &&
                source_->Shutdown() == MF_E_SHUTDOWN,
            "a source that is shut down does something");
    for (const auto& [id, stream] : streams_) {
        require(stream->RequestSample(nullptr) == MF_E_SHUTDOWN, "a stream that is shut down does something");
    }
}

void SourceUse::count(Call call, HRESULT result) {
    progress_.count(call, result);
    require(isResult(result), "a result that is neither S_OK nor a failure");
}

} // namespace JY::Fuzz
