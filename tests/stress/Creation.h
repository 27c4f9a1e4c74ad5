#pragma once

#include "source/MfDeclarations.h"
#include "tests/stress/HeapObject.h"
#include "util/Handle.h"

#include <mfidl.h>
#include <mfobjects.h>
#include <windows.h>
#include <wrl/client.h>

#include <string>

namespace JY::Test {

/// One request for a media source, and what its callback does with the answer.
class Creation final : public HeapObject<IMFAsyncCallback> {
public:
    enum class Answer {
        handOver,   ///< the source is for the thread that asked
        release,    ///< the only reference goes inside the callback
        shutDown,   ///< the same behind a Shutdown
        start,      ///< the same behind a Start, which is still queued then
        leaveUnread ///< nobody asks for the object
    };

    /// @param isFilm whether the file can be opened
    Creation(Microsoft::WRL::ComPtr<IMFByteStreamHandler> handler, Answer answer, bool isFilm);

    /// Asks for a media source and, by the way, to cancel that, which no handler does.
    void begin(const std::wstring& url);
    /// Waits for the answer. Null unless the source was to be handed over and there is one.
    Microsoft::WRL::ComPtr<IMFMediaSource> end();

    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* result) override;

private:
    Microsoft::WRL::ComPtr<IMFMediaSource> endInside(IMFAsyncResult& result);
    void startAndRelease(Microsoft::WRL::ComPtr<IMFMediaSource> source) const;

    Microsoft::WRL::ComPtr<IMFByteStreamHandler> handler_;
    const Answer answer_;
    const bool isFilm_;
    const Handle answered_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    Microsoft::WRL::ComPtr<IMFMediaSource> source_; ///< written before the event is set, read after it
};

} // namespace JY::Test
