#include "source/FlvSourceImpl.h"

#include "com/ClientReference.h"
#include "com/InterfaceQuery.h"
#include "config/FlvSourceConfig.h"
#include "flv/FlvFileParserImpl.h"
#include "flv/FlvMetaDataImpl.h"
#include "flv/NumberConversion.h"
#include "source/FailureGuard.h"
#include "source/LogFileName.h"
#include "source/SourceStateStopped.h"
#include "source/ThumbnailHost.h"
#include "streams/FlvAudioStream.h"
#include "streams/FlvVideoStream.h"
#include "streams/QueueShutdown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/FatalException.h"
#include "util/GuidCompare.h"

#include <mfapi.h>
#include <mferror.h>

#include <boost/make_shared.hpp>

#include <mutex>
#include <new>
#include <typeinfo>
#include <vector>

namespace JY::Pictaro::Fs {

using Microsoft::WRL::ComPtr;

namespace {

constexpr SourceFile here{"FlvSource"};
constexpr DWORD characteristics = MFMEDIASOURCE_CAN_SEEK | MFMEDIASOURCE_CAN_PAUSE;
constexpr std::size_t mostStreams = 2;
constexpr std::uint32_t defaultNumDumpBin = 32;
constexpr std::uint32_t defaultTagTraverseThreshold = 10000; // milliseconds
constexpr std::uint64_t previousTagSizeField = 4;            // bytes in front of a tag's header

ComPtr<IMFMediaEventQueue> createEventQueue() {
    ComPtr<IMFMediaEventQueue> queue;
    throwIfFailed(MFCreateEventQueue(queue.GetAddressOf()), here(), "MFCreateEventQueue");
    return queue;
}

[[noreturn]] void throwShutdown() {
    throw ApiErrorException(here(), "checkShutdown", static_cast<std::uint32_t>(MF_E_SHUTDOWN));
}

template <class Stream, class... Arguments>
ComPtr<FlvStream> createStream(Arguments&&... arguments) {
    auto stream = createObject<Stream>(std::forward<Arguments>(arguments)...);
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    return stream;
}

ComPtr<IMFPresentationDescriptor> createDescriptor(std::vector<ComPtr<IMFStreamDescriptor>>& descriptors) {
    const auto count = static_cast<DWORD>(descriptors.size());
    std::vector<IMFStreamDescriptor*> pointers;
    pointers.reserve(descriptors.size());
    for (const auto& descriptor : descriptors) {
        pointers.push_back(descriptor.Get());
    }
    ComPtr<IMFPresentationDescriptor> result;
    throwIfFailed(MFCreatePresentationDescriptor(count, pointers.data(), result.GetAddressOf()), here(),
                  "MFCreatePresentationDescriptor");
    return result;
}

} // namespace

/// The position that a start was given.
class FlvSourceImpl::StartActionParam final : public ComParamBase {
public:
    explicit StartActionParam(const PROPVARIANT& startPosition) {
        throwIfFailed(PropVariantCopy(&startPosition_, &startPosition), here(), "PropVariantCopy");
    }
    ~StartActionParam() override {
        letGo([this] { PropVariantClear(&startPosition_); });
    }

    const PROPVARIANT* startPosition() const { return &startPosition_; }

private:
    PROPVARIANT startPosition_{};
};

/// A COM call on the source whose failure also records the file.
template <class Body>
HRESULT FlvSourceImpl::guardedCall(SourcePosition position, std::string_view method,
                                   std::initializer_list<RequiredPointer> required, Body&& body) {
    FailureGuard guard(position, filePath_);
    const auto guarded = [&](const ComCall& call) -> HRESULT {
        const HRESULT result = body(call);
        if (SUCCEEDED(result)) {
            guard.clear();
        }
        return result;
    };
    return comCall({position, &typeid(*this), method}, required, guarded, &guard);
}

FlvSourceImpl::FlvSourceImpl(ModuleUsageCounter& counter, std::wstring filePath)
    : FlvSource(counter), lock_(boost::make_shared<LockImpl>()), filePath_(std::move(filePath)),
      parser_(std::make_unique<FlvFileParserImpl>(filePath_)), metaData_(std::make_unique<FlvMetaDataImpl>()),
      hasAudioAndVideo_(parser_->hasAudio() && parser_->hasVideo()), eventQueue_(createEventQueue()),
      state_(&SourceStateStopped::instance()) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "FlvSourceImpl");
    loadMetaData(log);
    initializeStreams(createStreams(counter), log);
}

FlvSourceImpl::~FlvSourceImpl() {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "~FlvSourceImpl");
    {
        const std::lock_guard guard(*lock_);
        cutStreamsLoose();
    }
    shutDownEvents(streams_);
    if (eventQueue_ != nullptr) {
        shutDownQueue(*eventQueue_.Get());
    }
}

/// A file without usable script data can still be played.
void FlvSourceImpl::loadMetaData(const Log2::Logger& log) {
    try {
        metaData_->parse(filePath_);
    } catch (const FatalException& exception) {
        log.fatal(here()) << exception;
        throw;
    } catch (const Exception& exception) {
        log.warn(here()) << exception;
    }
}

StreamList FlvSourceImpl::createStreams(ModuleUsageCounter& counter) {
    StreamList streams;
    if (!isInThumbnailHost()) {
        streams.push_back(createStream<FlvAudioStream>(counter, *this, *parser_, lock_));
    }
    streams.push_back(createStream<FlvVideoStream>(counter, *this, *parser_, lock_));
    return streams;
}

/// All streams get tags from the start, because making one ready also reads the tags of the others.
void FlvSourceImpl::initializeStreams(StreamList candidates, const Log2::Logger& log) {
    setTagHandlers(candidates);
    for (auto candidate = candidates.begin(); candidate != candidates.end();) {
        try {
            (*candidate)->initialize();
            streams_.emplace((*candidate)->getStreamId(), *candidate);
            ++candidate;
        } catch (const Exception& exception) {
            log.warn(here()) << exception;
            candidate = candidates.erase(candidate);
            setTagHandlers(candidates);
        }
    }
    if (streams_.empty()) {
        throw ErrorException(here(), "No stream.");
    }
}

void FlvSourceImpl::setTagHandlers(const StreamList& streams) {
    parser_->clearHandler();
    for (const auto& stream : streams) {
        parser_->addHandler(*stream.Get());
    }
}

HRESULT FlvSourceImpl::QueryInterface(REFIID riid, void** ppvObject) {
    return comCall({here(), &typeid(*this), "QueryInterface"}, {{"ppvObject", ppvObject}}, [&](const ComCall& call) {
        *ppvObject = nullptr;
        // A stream, which holds no reference, may ask for its source while that waits for the lock to be destroyed.
        const ComPtr<FlvSourceImpl> self = adoptReference(tryAddRef() ? this : nullptr);
        if (self == nullptr) {
            throwShutdown();
        }
        return answerQuery(call, here(), *this, riid, ppvObject,
                           {{IID_IUnknown, "IUnknown", this},
                            {IID_IMFMediaEventGenerator, "IMFMediaEventGenerator", this},
                            {IID_IMFMediaSource, "IMFMediaSource", this},
                            {IID_IMFMediaSourceEx, "IMFMediaSourceEx", nullptr},
                            {IID_IMFAttributes, "IMFAttributes", nullptr}});
    });
}

/// Waits without the lock, so that the source goes on meanwhile.
HRESULT FlvSourceImpl::GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) {
    return guardedCall(here(), "GetEvent", {{"ppEvent", ppEvent}}, [&](const ComCall&) {
        *ppEvent = nullptr; // a bad pointer must not fault inside the queue, which would stay locked
        ComPtr<IMFMediaEventQueue> queue;
        {
            const std::lock_guard guard(*lock_);
            queue = eventQueue_;
        }
        throwIfFailed(queue != nullptr ? queue->GetEvent(dwFlags, ppEvent) : MF_E_SHUTDOWN, here(), "GetEvent");
        return S_OK;
    });
}

HRESULT FlvSourceImpl::BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) {
    return guardedCall(here(), "BeginGetEvent", {{"pCallback", pCallback}}, [&](const ComCall&) {
        // A client's bad pointer must not fault inside the queue, which would stay locked.
        const ClientReference callback(pCallback);
        const ClientReference state(punkState);
        const std::lock_guard guard(*lock_);
        checkShutdown();
        return eventQueue_->BeginGetEvent(callback.get(), state.get());
    });
}

HRESULT FlvSourceImpl::EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) {
    return guardedCall(here(), "EndGetEvent", {{"pResult", pResult}, {"ppEvent", ppEvent}}, [&](const ComCall&) {
        *ppEvent = nullptr;
        const ClientReference result(pResult);
        const std::lock_guard guard(*lock_);
        checkShutdown();
        return eventQueue_->EndGetEvent(result.get(), ppEvent);
    });
}

HRESULT FlvSourceImpl::QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                  const PROPVARIANT* pvValue) {
    return guardedCall(here(), "QueueEvent", {}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        checkShutdown();
        throwIfFailed(eventQueue_->QueueEventParamVar(met, guidExtendedType, hrStatus, pvValue), here(),
                      "QueueEventParamVar");
        return S_OK;
    });
}

HRESULT FlvSourceImpl::GetCharacteristics(DWORD* pdwCharacteristics) {
    return comCall({here(), &typeid(*this), "GetCharacteristics"}, {{"pdwCharacteristics", pdwCharacteristics}},
                   [&](const ComCall&) {
                       *pdwCharacteristics = characteristics;
                       return S_OK;
                   });
}

HRESULT FlvSourceImpl::CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentationDescriptor) {
    return guardedCall(here(), "CreatePresentationDescriptor", {{"ppPresentationDescriptor", ppPresentationDescriptor}},
                       [&](const ComCall&) {
                           *ppPresentationDescriptor = nullptr;
                           const std::lock_guard guard(*lock_);
                           checkShutdown();
                           if (presentationDescriptor_ == nullptr) {
                               initializeDefaultPresentationDescriptor();
                           }
                           throwIfFailed(presentationDescriptor_->Clone(ppPresentationDescriptor), here(), "Clone");
                           return S_OK;
                       });
}

/// Selects every stream. The members are changed when all has succeeded.
void FlvSourceImpl::initializeDefaultPresentationDescriptor() {
    StreamList selection;
    std::vector<ComPtr<IMFStreamDescriptor>> descriptors;
    for (const auto& [streamId, stream] : streams_) {
        if (descriptors.size() == mostStreams) {
            throw FatalException(here(), "Out of index.");
        }
        throwIfFailed(stream->GetStreamDescriptor(descriptors.emplace_back().GetAddressOf()), here(),
                      "GetStreamDescriptor");
        selection.push_back(stream);
    }
    auto descriptor = createDescriptor(descriptors);
    throwIfFailed(descriptor->SetUINT64(MF_PD_DURATION, duration()), here(), "SetUINT64(MF_PD_DURATION)");
    for (std::size_t index = 0; index < descriptors.size(); ++index) {
        throwIfFailed(descriptor->SelectStream(static_cast<DWORD>(index)), here(), "SelectStream");
    }
    presentationDescriptor_ = std::move(descriptor);
    selectedStreams_.swap(selection);
}

/// The file's duration by its metadata, in 100 ns.
std::uint64_t FlvSourceImpl::duration() const {
    const MetaDatum datum = getMetaDatum("duration");
    const auto* const seconds = boost::get<long double>(&datum);
    if (seconds == nullptr) {
        throw ErrorException(here(), "Invalid duration attribute type.");
    }
    return truncateTo<std::uint64_t>(static_cast<double>(*seconds) * 1000.0 * 1000.0 * 10.0);
}

HRESULT FlvSourceImpl::Start(IMFPresentationDescriptor* pPresentationDescriptor, const GUID* pguidTimeFormat,
                             const PROPVARIANT* pvarStartPosition) {
    return guardedCall(here(), "Start",
                       {{"pPresentationDescriptor", pPresentationDescriptor}, {"pvarStartPosition", pvarStartPosition}},
                       [&](const ComCall& call) {
                           checkShutdown();
                           if (pguidTimeFormat != nullptr && !equalGuids(*pguidTimeFormat, GUID_NULL)) {
                               throw ErrorException(here(), "Unsuppored time format.");
                           }
                           selectStreams(*pPresentationDescriptor, call.log());
                           asyncCaller_.doCallAsync(createParam<StartActionParam>(*pvarStartPosition));
                           return S_OK;
                       });
}

void FlvSourceImpl::selectStreams(IMFPresentationDescriptor& descriptor, const Log2::Logger& log) {
    StreamList selection;
    try {
        collectSelection(descriptor, selection, log);
    } catch (...) {
        exchangeSelection(std::move(selection));
        throw;
    }
    const std::size_t count = selection.size();
    exchangeSelection(std::move(selection));
    if (count == 0) {
        throw ApiErrorException(here(), "noSelectedStream",
                                static_cast<std::uint32_t>(MF_E_UNSUPPORTED_REPRESENTATION));
    }
    if (!isSingleStreamAllowed() && count == 1) {
        throw ApiErrorException(here(), "selectStream", static_cast<std::uint32_t>(MF_E_UNSUPPORTED_REPRESENTATION));
    }
}

/// Appends the streams that are selected, up to the one that fails.
void FlvSourceImpl::collectSelection(IMFPresentationDescriptor& descriptor, StreamList& selection,
                                     const Log2::Logger& log) const {
    DWORD count = 0;
    throwIfFailed(descriptor.GetStreamDescriptorCount(&count), here(), "GetStreamDescriptorCount");
    log.info(here()) << "NumOfDescriptors=" << count;
    for (DWORD index = 0; index < count; ++index) {
        BOOL isSelected = FALSE;
        ClientReference<IMFStreamDescriptor> streamDescriptor;
        throwIfFailed(descriptor.GetStreamDescriptorByIndex(index, &isSelected, streamDescriptor.put()), here(),
                      "GetStreamDescriptorByIndex");
        if (!isSelected) {
            log.warn(here()) << "Stream[" << index << "]:NotSelected";
            continue;
        }
        log.info(here()) << "Stream[" << index << "]:Selected";
        DWORD streamId = 0;
        throwIfFailed(streamDescriptor.get()->GetStreamIdentifier(&streamId), here(), "GetStreamIdentifier");
        selection.push_back(findStream(streamId));
    }
}

ComPtr<FlvStream> FlvSourceImpl::findStream(DWORD streamId) const {
    const std::lock_guard guard(*lock_);
    checkShutdown();
    const auto found = streams_.find(streamId);
    if (found == streams_.end()) {
        throw ApiErrorException(here(), "selectStream", static_cast<std::uint32_t>(MF_E_INVALIDSTREAMNUMBER));
    }
    return found->second;
}

/// Makes the selection and the receivers of tags change in one step for everybody who holds the lock.
void FlvSourceImpl::exchangeSelection(StreamList selection) {
    const std::lock_guard guard(*lock_);
    checkShutdown();
    selectedStreams_.swap(selection);
    setTagHandlers(selectedStreams_);
}

/// Clients other than the product's own are not to leave out one of a file's two streams unless the configuration
/// allows it.
bool FlvSourceImpl::isSingleStreamAllowed() const {
    return getFlvSourceUInt(L"EnableSingleStream", 0) != 0 || isInThumbnailHost() || !hasAudioAndVideo_;
}

HRESULT FlvSourceImpl::doStartAction(IUnknown* argument, IUnknown**) {
    return guardedCall(here(), "doStartAction", {}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        checkShutdown();
        const auto& param = dynamic_cast<StartActionParam&>(*argument);
        state_ = &state_->start(*this, selectedStreams_, param.startPosition());
        return S_OK;
    });
}

HRESULT FlvSourceImpl::Stop() {
    return guardedCall(here(), "Stop", {}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        checkShutdown();
        state_ = &state_->stop(*this, selectedStreams_);
        return S_OK;
    });
}

HRESULT FlvSourceImpl::Pause() {
    return guardedCall(here(), "Pause", {}, [&](const ComCall&) {
        const std::lock_guard guard(*lock_);
        checkShutdown();
        state_ = &state_->pause(*this, selectedStreams_);
        return S_OK;
    });
}

HRESULT FlvSourceImpl::Shutdown() {
    return guardedCall(here(), "Shutdown", {}, [&](const ComCall&) {
        StreamMap streams;
        ComPtr<IMFMediaEventQueue> queue;
        ComPtr<IMFPresentationDescriptor> descriptor;
        {
            const std::lock_guard guard(*lock_);
            checkShutdown();
            isShutdown_ = true;
            cutStreamsLoose();
            streams.swap(streams_);
            queue.Swap(eventQueue_);
            selectedStreams_.clear();
            descriptor.Swap(presentationDescriptor_);
            parser_.reset();
            metaData_.reset();
        }
        // Last and without the lock, because it lets go of what the client has queued: its end may wait for a thread
        // that calls the source, and a fault there must leave nothing open.
        shutDownEvents(streams);
        shutDownQueue(*queue.Get());
        return S_OK;
    });
}

void FlvSourceImpl::cutStreamsLoose() {
    for (const auto& [streamId, stream] : streams_) {
        stream->cutLoose();
    }
}

void FlvSourceImpl::shutDownEvents(const StreamMap& streams) {
    for (const auto& [streamId, stream] : streams) {
        stream->shutDownEvents();
    }
}

void FlvSourceImpl::checkShutdown() const {
    if (isShutdown_) {
        throwShutdown();
    }
}

SourceStateId FlvSourceImpl::getStateId() const {
    return state_->getStateId();
}

void FlvSourceImpl::queueEvent(IMFMediaEvent* event) {
    throwIfFailed(eventQueue_->QueueEvent(event), here(), "QueueEvent");
}

void FlvSourceImpl::queueEvent(MediaEventType type, IUnknown* value) {
    PROPVARIANT variant{};
    variant.vt = VT_UNKNOWN;
    variant.punkVal = value; // not counted: the event takes a reference of its own
    throwIfFailed(QueueEvent(type, GUID_NULL, S_OK, &variant), here(), "QueueEvent");
}

TimePosition FlvSourceImpl::getCurrentPosition() const {
    return parser_->getPosition();
}

MetaDatum FlvSourceImpl::getMetaDatum(const std::string& name) const {
    return metaData_->getMetaDatum(name);
}

std::uint32_t FlvSourceImpl::getNumDumpBin() {
    if (!numDumpBin_) {
        numDumpBin_ = getFlvSourceUInt(L"NumDumpBin", defaultNumDumpBin);
    }
    return *numDumpBin_;
}

void FlvSourceImpl::seekPosition(TimePosition target) {
    const Log2::Logger log = Log2::traceMember(here(), typeid(*this), "seekPosition");
    if (getFlvSourceUInt(L"SeekByMetaData", 1) != 0 && useKeyFrameIndex_) {
        if (const auto keyFrame = findKeyFrame(target, log)) {
            seekByKeyFrameIndex(target, *keyFrame);
            return;
        }
    }
    parser_->seekPosition(target);
}

/// Nothing, for this and all later seeks, when the file has no usable index.
std::optional<KeyFrame> FlvSourceImpl::findKeyFrame(TimePosition target, const Log2::Logger& log) {
    try {
        return metaData_->getNearlestLessKeyFrame(target);
    } catch (const FlvMetaData::MetaDataNotFoundException& exception) {
        log.warn(here()) << exception << " File=" << LogFileName(filePath_);
        useKeyFrameIndex_ = false;
        return std::nullopt;
    }
}

/// Goes to the key frame, and on from there when the target lies far behind it.
void FlvSourceImpl::seekByKeyFrameIndex(TimePosition target, const KeyFrame& keyFrame) {
    parser_->setFilePosition(static_cast<std::int64_t>(keyFrame.filePosition - previousTagSizeField));
    const std::int64_t threshold =
        std::int64_t{getFlvSourceUInt(L"TagTraverseThreshold", defaultTagTraverseThreshold)} * 1000;
    if ((target - keyFrame.time).microseconds() >= threshold) {
        parser_->seekPosition(target);
    }
}

} // namespace JY::Pictaro::Fs
