#include "tests/media/CheckedPlayback.h"

#include "tests/source/ClientObjects.h"
#include "tests/tools/SampleBytes.h"
#include "tools/FileUrl.h"
#include "tools/MediaEvents.h"
#include "tools/PropVariant.h"
#include "tools/SourceFacts.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <gtest/gtest.h>

using Microsoft::WRL::ComPtr;

namespace JY::Test {

using Tools::check;
using Tools::MediaEvent;
using Tools::nextEvent;
using Tools::PropVariant;

namespace {

/// The type of the event at hand; MEUnknown when there is none.
MediaEventType eventAtHand(IMFMediaEventGenerator& generator, ComPtr<IUnknown>* object = nullptr) {
    ComPtr<IMFMediaEvent> event;
    MediaEventType type = MEUnknown;
    if (SUCCEEDED(generator.GetEvent(MF_EVENT_FLAG_NO_WAIT, event.GetAddressOf()))) {
        check(event->GetType(&type), "IMFMediaEvent::GetType");
        PropVariant value;
        check(event->GetValue(value.put()), "IMFMediaEvent::GetValue");
        if (object != nullptr && value->vt == VT_UNKNOWN) {
            *object = value->punkVal;
        }
    }
    return type;
}

DWORD identifierOf(IMFMediaStream& stream) {
    ComPtr<IMFStreamDescriptor> descriptor;
    check(stream.GetStreamDescriptor(descriptor.GetAddressOf()), "IMFMediaStream::GetStreamDescriptor");
    DWORD identifier = 0;
    check(descriptor->GetStreamIdentifier(&identifier), "IMFStreamDescriptor::GetStreamIdentifier");
    return identifier;
}

/// A description of the client's own making, for a film without a duration.
ComPtr<IMFPresentationDescriptor> describe(const std::vector<DWORD>& streams) {
    std::vector<ComPtr<IMFStreamDescriptor>> descriptors;
    std::vector<IMFStreamDescriptor*> pointers;
    for (const DWORD stream : streams) {
        ComPtr<IMFMediaType> type;
        check(MFCreateMediaType(type.GetAddressOf()), "MFCreateMediaType");
        IMFMediaType* const types[] = {type.Get()};
        check(MFCreateStreamDescriptor(stream, 1, const_cast<IMFMediaType**>(types),
                                       descriptors.emplace_back().GetAddressOf()),
              "MFCreateStreamDescriptor");
        pointers.push_back(descriptors.back().Get());
    }
    ComPtr<IMFPresentationDescriptor> result;
    const auto count = static_cast<DWORD>(streams.size());
    check(MFCreatePresentationDescriptor(count, pointers.data(), result.GetAddressOf()),
          "MFCreatePresentationDescriptor");
    for (DWORD index = 0; index < count; ++index) {
        check(result->SelectStream(index), "SelectStream");
    }
    return result;
}

} // namespace

ComPtr<IMFMediaSource> openFilm(const LoadedModule& module, const std::wstring& path, HRESULT& result) {
    const auto handler = module.makeHandler();
    ClientState bytes; // in the place of a byte stream, which is not used
    ClientCallback callback;
    const std::wstring url = Tools::fileUrls(path).front();
    check(handler->BeginCreateObject(reinterpret_cast<IMFByteStream*>(&bytes), url.c_str(), MF_RESOLUTION_MEDIASOURCE,
                                     nullptr, nullptr, &callback, nullptr),
          "BeginCreateObject");
    if (!callback.becomesCalled()) {
        throw std::runtime_error("The film has not been opened in time.");
    }
    MF_OBJECT_TYPE type = MF_OBJECT_INVALID;
    ComPtr<IUnknown> object;
    result = handler->EndCreateObject(callback.takeResult().Get(), &type, object.GetAddressOf());
    EXPECT_TRUE(callback.becomesForgotten());
    ComPtr<IMFMediaSource> source;
    if (SUCCEEDED(result)) {
        check(object.As(&source), "QueryInterface(IMFMediaSource)");
    }
    return source;
}

CheckedPlayback::CheckedPlayback(const LoadedModule& module, const std::wstring& path, const ExpectedSource& expected)
    : expected_(expected) {
    // A program that was ended amid its seeks has left its settings.
    for (const wchar_t* const name : {L"SeekByMetaData", L"TagTraverseThreshold"}) {
        const ModuleSetting removed(name, 0);
    }
    HRESULT result = E_UNEXPECTED;
    source_ = openFilm(module, path, result);
    compareOpening(result);
    if (source_) {
        presentation_ = presentation();
    }
}

CheckedPlayback::~CheckedPlayback() {
    if (source_) {
        expectNoEvents();
        EXPECT_EQ(source_->Shutdown(), S_OK);
    }
}

void CheckedPlayback::compareOpening(HRESULT result) {
    // A film that cannot be opened ends as a result that holds no object.
    EXPECT_EQ(result, expected_.opening() == Opening::succeeds ? S_OK : E_POINTER);
}

/// The source's own where it has one.
ComPtr<IMFPresentationDescriptor> CheckedPlayback::presentation() const {
    ComPtr<IMFPresentationDescriptor> result;
    EXPECT_EQ(source_->CreatePresentationDescriptor(result.GetAddressOf()), expected_.isDescribed() ? S_OK : E_FAIL);
    if (!result) {
        return describe(expected_.streams());
    }
    std::vector<DWORD> identifiers;
    for (DWORD index = 0; index < Tools::streamCount(*result.Get()); ++index) {
        DWORD identifier = 0;
        check(Tools::streamAt(*result.Get(), index)->GetStreamIdentifier(&identifier), "GetStreamIdentifier");
        identifiers.push_back(identifier);
    }
    EXPECT_EQ(identifiers, expected_.streams());
    return result;
}

void CheckedPlayback::set(const SeekSettings& settings) {
    seekByMetaData_.reset();
    tagTraverseThreshold_.reset();
    seekByMetaData_.emplace(L"SeekByMetaData", settings.seekByMetaData);
    tagTraverseThreshold_.emplace(L"TagTraverseThreshold", settings.tagTraverseThreshold);
    expected_.set(settings);
    history_ +=
        "\nset " + std::to_string(settings.seekByMetaData) + " " + std::to_string(settings.tagTraverseThreshold);
}

void CheckedPlayback::start(std::optional<LONGLONG> position) {
    history_ += "\nstart " + (position ? std::to_string(*position) : "");
    played_.clear();
    const PropVariant place = position ? PropVariant(*position) : PropVariant();
    const HRESULT result = source_->Start(presentation_.Get(), &GUID_NULL, place.get());
    if (expected_.isStartRefused()) {
        EXPECT_EQ(result, MF_E_UNSUPPORTED_REPRESENTATION);
    } else {
        EXPECT_EQ(result, S_OK);
        expectEvents(expected_.start(position));
    }
    tellFailure();
}

void CheckedPlayback::pause() {
    history_ += "\npause";
    const auto events = expected_.pause();
    EXPECT_EQ(source_->Pause(), events == ExpectedEvents{} ? MF_E_INVALID_STATE_TRANSITION : S_OK);
    expectEvents(events);
    tellFailure();
}

void CheckedPlayback::stop() {
    history_ += "\nstop";
    EXPECT_EQ(source_->Stop(), S_OK);
    expectEvents(expected_.stop());
    tellFailure();
}

/// One too many shows where the next is expected. To ask here whether one is there would cost more than all the rest,
/// for the library logs it as a failure when there is none.
void CheckedPlayback::expectEvents(const ExpectedEvents& expected) {
    for (const MediaEventType type : expected.ofSource) {
        const MediaEvent event = nextEvent(*source_.Get());
        EXPECT_EQ(event.type, type);
        ComPtr<IMFMediaStream> stream;
        if (event.object && SUCCEEDED(event.object.As(&stream))) {
            streams_[identifierOf(*stream.Get())] = stream;
        }
    }
    for (const MediaEventType type : expected.ofEachStream) {
        for (const auto& [identifier, stream] : streams_) {
            EXPECT_EQ(eventAtHand(*stream.Get()), type) << identifier;
        }
    }
}

void CheckedPlayback::expectNoEvents() {
    EXPECT_EQ(eventAtHand(*source_.Get()), MEUnknown);
    for (const auto& [identifier, stream] : streams_) {
        EXPECT_EQ(eventAtHand(*stream.Get()), MEUnknown) << identifier;
    }
}

Answer CheckedPlayback::request(DWORD stream) {
    history_ += stream == ExpectedSource::audio ? " a" : " v";
    IMFMediaStream& media = *streams_.at(stream).Get();
    const Answer answer = takeAnswer(media.RequestSample(nullptr), media);
    ExpectedSample expected;
    EXPECT_EQ(answer, expected_.request(stream, expected));
    if (answer == Answer::sample && latest_) {
        compare(stream, *latest_, expected);
        played_[stream].push_back(*std::move(latest_));
    }
    tellFailure();
    return answer;
}

Answer CheckedPlayback::takeAnswer(HRESULT result, IMFMediaStream& stream) {
    latest_.reset();
    if (result == MF_E_END_OF_STREAM) {
        EXPECT_EQ(eventAtHand(stream), MEEndOfStream);
        EXPECT_EQ(eventAtHand(*source_.Get()), MEEndOfPresentation);
    }
    if (SUCCEEDED(result)) {
        latest_ = sampleOf(stream);
    }
    if (FAILED(result)) {
        EXPECT_TRUE(result == MF_E_END_OF_STREAM || result == E_FAIL) << std::hex << result;
        return result == MF_E_END_OF_STREAM ? Answer::endOfStream : Answer::failure;
    }
    return latest_ ? Answer::sample : Answer::nothing;
}

/// Nothing when none has come.
std::optional<PlayedSample> CheckedPlayback::sampleOf(IMFMediaStream& stream) {
    ComPtr<IUnknown> object;
    if (eventAtHand(stream, &object) != MEMediaSample) {
        return std::nullopt;
    }
    ComPtr<IMFSample> sample;
    check(object.As(&sample), "QueryInterface(IMFSample)");
    PlayedSample result;
    result.bytes = Tools::bytesOf(*sample.Get());
    check(sample->GetSampleTime(&result.time), "GetSampleTime");
    check(sample->GetSampleDuration(&result.duration), "GetSampleDuration");
    UINT32 cleanPoint = 0;
    result.cleanPoint = SUCCEEDED(sample->GetUINT32(MFSampleExtension_CleanPoint, &cleanPoint)) && cleanPoint == 1;
    return result;
}

void CheckedPlayback::compare(DWORD stream, const PlayedSample& sample, const ExpectedSample& expected) {
    EXPECT_EQ(sample.time, expected.time) << stream;
    EXPECT_EQ(sample.duration, expected.duration) << stream;
    EXPECT_EQ(sample.cleanPoint, expected.cleanPoint) << stream;
    ASSERT_EQ(sample.bytes.size(), expected.size) << stream;
    EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.end(), sample.bytes.begin())) << stream;
}

/// Once, the calls up to the first difference.
void CheckedPlayback::tellFailure() {
    if (testing::Test::HasFailure() && !history_.empty()) {
        constexpr std::size_t most = 4000;
        ADD_FAILURE() << "after" << history_.substr(history_.size() - std::min(history_.size(), most));
        history_.clear();
    }
}

void CheckedPlayback::playToEnd(unsigned ends) {
    std::map<DWORD, unsigned> met;
    while (!testing::Test::HasFailure() &&
           std::ranges::any_of(expected_.streams(), [&](DWORD stream) { return met[stream] < ends; })) {
        for (const DWORD stream : expected_.streams()) {
            if (met[stream] < ends && request(stream) != Answer::sample) {
                ++met[stream];
            }
        }
    }
}

} // namespace JY::Test
