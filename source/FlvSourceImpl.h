#pragma once

#include "com/ComCall.h"
#include "flv/FlvFileParser.h"
#include "flv/FlvMetaData.h"
#include "log/Core.h"
#include "source/ASyncCaller.h"
#include "source/FlvSource.h"
#include "source/SourceState.h"
#include "streams/FlvStream.h"
#include "util/Lock.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace JY::Pictaro::Fs {

/// The media source of one FLV file. Made with `createObject<FlvSourceImpl>(counter, path)`.
///
/// Threads: any. One lock, shared with the streams, serialises everything but the checks of Start and the waiting of
/// GetEvent. Start is carried out on Media Foundation's work queue, everything else on the caller's thread.
///
/// Lifetime: the source counts its streams, they do not count it. Shutdown, or at the latest the destructor, cuts every
/// stream loose, so that a client may keep one longer than the source.
class FlvSourceImpl final : public FlvSource {
public:
    /// Opens and parses the file and makes its streams ready. A stream that cannot be made ready is left out. Throws
    /// what opening and reading the file throws, and ErrorException "No stream.".
    FlvSourceImpl(ModuleUsageCounter& counter, std::wstring filePath);
    ~FlvSourceImpl() override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                         const PROPVARIANT* pvValue) override;

    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) override;
    HRESULT STDMETHODCALLTYPE
    CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentationDescriptor) override;
    /// Checks and selects the streams here, the rest follows on the work queue. A start that is refused has already
    /// replaced the selection. What fails on the work queue is recorded only.
    HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor* pPresentationDescriptor, const GUID* pguidTimeFormat,
                                    const PROPVARIANT* pvarStartPosition) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Shutdown() override;

    SourceStateId getStateId() const override;
    void queueEvent(IMFMediaEvent* event) override;
    void queueEvent(MediaEventType type, IUnknown* value) override;
    TimePosition getCurrentPosition() const override;
    void seekPosition(TimePosition target) override;
    MetaDatum getMetaDatum(const std::string& name) const override;
    const std::wstring& getFilePath() const override { return filePath_; }

    std::uint32_t getNumDumpBin() override;
    IMFMediaSource& mediaSource() override { return *this; }

private:
    class StartActionParam;
    using StreamMap = std::map<DWORD, Microsoft::WRL::ComPtr<FlvStream>>; ///< by stream identifier

    template <class Body>
    HRESULT guardedCall(SourcePosition position, std::string_view method,
                        std::initializer_list<RequiredPointer> required, Body&& body);
    void checkShutdown() const;

    // Construction.
    void loadMetaData(const Log2::Logger& log);
    StreamList createStreams(ModuleUsageCounter& counter);
    void initializeStreams(StreamList candidates, const Log2::Logger& log);

    // Selection.
    void selectStreams(IMFPresentationDescriptor& descriptor, const Log2::Logger& log);
    void collectSelection(IMFPresentationDescriptor& descriptor, StreamList& selection, const Log2::Logger& log) const;
    Microsoft::WRL::ComPtr<FlvStream> findStream(DWORD streamId) const;
    void exchangeSelection(StreamList selection);
    bool isSingleStreamAllowed() const;
    void setTagHandlers(const StreamList& streams);

    // Presentation descriptor.
    void initializeDefaultPresentationDescriptor();
    std::uint64_t duration() const;

    HRESULT doStartAction(IUnknown* argument, IUnknown** ppResult);
    void seekByKeyFrameIndex(TimePosition target, const KeyFrame& keyFrame);
    std::optional<KeyFrame> findKeyFrame(TimePosition target, const Log2::Logger& log);
    void cutStreamsLoose();
    static void shutDownEvents(const StreamMap& streams);

    const boost::shared_ptr<Lock> lock_; ///< shared with the streams
    const std::wstring filePath_;
    std::unique_ptr<FlvFileParser> parser_;
    std::unique_ptr<FlvMetaData> metaData_;
    const bool hasAudioAndVideo_;                           ///< by the file's header
    Microsoft::WRL::ComPtr<IMFMediaEventQueue> eventQueue_; ///< null after Shutdown
    SourceState* state_;                                    ///< a singleton
    std::atomic<bool> isShutdown_{false};                   ///< changed under the lock
    StreamMap streams_;
    StreamList selectedStreams_;
    Microsoft::WRL::ComPtr<IMFPresentationDescriptor> presentationDescriptor_; ///< made when first asked for
    bool useKeyFrameIndex_ = true;
    std::optional<std::uint32_t> numDumpBin_;
    AsyncCaller<FlvSourceImpl> asyncCaller_{*this, &FlvSourceImpl::doStartAction};
};

} // namespace JY::Pictaro::Fs
