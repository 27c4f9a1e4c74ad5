#pragma once

#include "com/ComUnknownBase.h"
#include "flv/FlvFileParser.h"
#include "flv/FlvTagHandler.h"
#include "streams/StreamSource.h"
#include "util/Lock.h"

#include <mfidl.h>
#include <mfobjects.h>
#include <windows.h>
#include <wrl/client.h>

#include <boost/shared_ptr.hpp>

#include <deque>

namespace JY::Pictaro::Fs {

/// A media stream of a source, as its client sees it, and the receiver of the file's tags. Samples are made on demand:
/// RequestSample reads tags until a codec handler has queued one.
///
/// Threads: every COM method, `initialize`, `shutdown`, `cutLoose` and `detachFromSource` take the source lock, which
/// the stream shares with its source and which must be re-entrant. All other operations but `shutDownEvents` expect the
/// caller to hold it.
///
/// Lifetime: a client may keep a stream longer than its source, which is therefore not referenced by the stream. The
/// source detaches every stream that it made, selected or not, when it is shut down and, at the latest, as the first
/// step of its destructor, before the parser goes.
class FlvStream : public ComUnknownBase<IMFMediaStream, FlvTagHandler> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;

    HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override;
    HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) override;
    HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override;
    HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                         const PROPVARIANT* pvValue) override;

    HRESULT STDMETHODCALLTYPE GetMediaSource(IMFMediaSource** ppMediaSource) override;
    /// MF_E_NOT_INITIALIZED while the stream has no descriptor.
    HRESULT STDMETHODCALLTYPE GetStreamDescriptor(IMFStreamDescriptor** ppStreamDescriptor) override;
    /// Sends the next sample as MEMediaSample, with `pToken` (which may be null) as its token. S_OK without a sample
    /// while the source is paused. MF_E_END_OF_STREAM, after MEEndOfStream here and MEEndOfPresentation on the source,
    /// when the file ends, even if its last tag made a sample: that one waits for the next request.
    HRESULT STDMETHODCALLTYPE RequestSample(IUnknown* pToken) override;

    /// Reads tags until the stream has its descriptor. Throws ErrorException when the file's header or its first second
    /// holds no tag of this stream's kind, and what reading a tag throws. Does not return for a file that ends within
    /// its first second without one.
    virtual void initialize() = 0;
    virtual DWORD getStreamId() const { return streamId_; }
    /// Whether the stream has already been announced to the client with MENewStream.
    virtual bool isActivated() const { return isActivated_; }
    virtual void setActivated() { isActivated_ = true; }
    /// Forgets the queued samples.
    virtual void purgeSamples();
    /// Turns every further call into MF_E_SHUTDOWN; may be called again. Waiting clients stay waiting: a source that
    /// ends calls `detachFromSource` instead.
    virtual void shutdown();
    /// Throws ApiErrorException "checkShutdown" with MF_E_SHUTDOWN after `shutdown`.
    virtual void checkShutdown() const;
    /// Called by the codec handlers once they know the media type; replaces the descriptor before.
    virtual void setStreamDescriptor(Microsoft::WRL::ComPtr<IMFStreamDescriptor> descriptor);
    /// Called by the codec handlers: appends a finished sample. The queue has no limit.
    virtual void queueSample(Microsoft::WRL::ComPtr<IMFSample> sample);
    virtual bool hasStreamDescriptor() const { return descriptor_ != nullptr; }

    /// `cutLoose` and `shutDownEvents`. May be called again; throws nothing.
    void detachFromSource() noexcept;
    /// The stream never touches its source and parser again: `shutdown`, and the queued samples are released. May be
    /// called again; throws nothing.
    void cutLoose() noexcept;
    /// Shuts the event queue down: a client waiting in GetEvent wakes with MF_E_SHUTDOWN. What clients have left in the
    /// queue is let go, which runs their code: the caller of a stream that is cut loose holds no lock. May be called
    /// again; throws nothing.
    void shutDownEvents() noexcept;

    /// QueueEvent with GUID_NULL and S_OK: without a value, and with a time in 100 ns (VT_I8).
    HRESULT queueEvent(MediaEventType type);
    HRESULT queueEvent(MediaEventType type, LONGLONG time);

    ~FlvStream() override;

protected:
    /// `source` and `parser` are not owned and must live until `detachFromSource`. Throws ApiErrorException
    /// "MFCreateEventQueue".
    FlvStream(ModuleUsageCounter& counter, StreamSource& source, FlvFileParser& parser,
              boost::shared_ptr<Lock> sourceLock, DWORD streamId);

    /// Throw what `checkShutdown` throws.
    StreamSource& source() const;
    FlvFileParser& parser() const;
    Lock& sourceLock() const { return *lock_; }

    /// Reads tags until the stream has a descriptor; false when the first second of the file went by without one.
    bool readTagsUntilDescribed();

private:
    /// False at the end of the file, even if the last tag made a sample.
    bool readTagsUntilSampleQueued();
    void announceEndOfFile();
    void sendNextSample(IUnknown* token);

    StreamSource* source_;
    FlvFileParser* parser_;
    boost::shared_ptr<Lock> lock_;
    DWORD streamId_;
    Microsoft::WRL::ComPtr<IMFStreamDescriptor> descriptor_;
    Microsoft::WRL::ComPtr<IMFMediaEventQueue> eventQueue_;
    bool isShutdown_ = false;
    bool isActivated_ = false;
    std::deque<Microsoft::WRL::ComPtr<IMFSample>> samples_;
};

} // namespace JY::Pictaro::Fs
