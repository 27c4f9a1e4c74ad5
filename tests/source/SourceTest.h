#pragma once

#include "com/ModuleUsageCounter.h"
#include "source/FlvSourceImpl.h"
#include "tests/source/ClientObjects.h"
#include "tests/source/MediaFoundationSeam.h"
#include "tests/source/Settings.h"
#include "tests/support/FlvBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Position.h"
#include "tests/support/TempFile.h"

#include <mfidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace JY::Test {

/// A file of both kinds that is played and sought in. Sources are made straight from the class, as the byte-stream
/// handler makes them. At the end of every test nothing of the module may be in use any more.
class SourceTest : public testing::Test {
protected:
    using Source = Microsoft::WRL::ComPtr<Pictaro::Fs::FlvSourceImpl>;
    using Stream = Microsoft::WRL::ComPtr<IMFMediaStream>;
    using Descriptor = Microsoft::WRL::ComPtr<IMFPresentationDescriptor>;
    static constexpr DWORD audioId = 1001;
    static constexpr DWORD videoId = 1002;

    void TearDown() override;

    /// Parameters and first second of both kinds, then both every second up to `lastSecond`. Every video tag is a key
    /// frame; its second is the last byte of its picture.
    static FlvBuilder media(const MetaData& metaData = MetaData::typical(),
                            std::uint8_t flags = FlvBuilder::audioAndVideo, unsigned lastSecond = 25);
    /// The same with an index that lists the key frames at these seconds only.
    static FlvBuilder indexedMedia(const std::vector<unsigned>& seconds);
    /// Where the record of the video tag of a second is among the tags of `media`.
    static std::size_t videoTagOf(unsigned second) { return 3 + 2 * std::size_t{second}; }

    std::wstring write(const Bytes& file);
    Source open(const FlvBuilder& file) { return openFile(write(file.build())); }
    Source openFile(const std::wstring& path);

    static Descriptor describe(IMFMediaSource& source);
    /// A copy of the source's own descriptor in which only these streams are selected.
    static Descriptor select(IMFMediaSource& source, const std::vector<DWORD>& streamIds);
    /// A client's own descriptor of these streams, all of them selected, as Media Foundation makes it.
    static Descriptor makeDescriptor(const std::vector<DWORD>& streamIds);
    /// The streams of the source's own descriptor, which must all be selected there.
    static std::vector<DWORD> streamIdsOf(IMFMediaSource& source);

    /// Start, and what follows on the work queue; the result is Start's.
    HRESULT start(Pictaro::Fs::FlvSourceImpl& source, IMFPresentationDescriptor& descriptor, const Position& position);
    HRESULT start(Pictaro::Fs::FlvSourceImpl& source, const Position& position) {
        return start(source, *describe(source).Get(), position);
    }

    /// A path as records show it.
    static std::string narrow(const std::wstring& path);

    /// The next event, which must be there.
    static Microsoft::WRL::ComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator& generator);
    /// The stream that a start from the stopped state announced, taken from the source's events.
    static Stream announcedStream(IMFMediaSource& source, DWORD streamId);
    /// Requests a sample and gives its time in milliseconds; nothing when none came.
    static std::optional<LONGLONG> requestSample(IMFMediaStream& stream);

    LogCapture log;
    Settings settings;
    EventLog events;
    Pictaro::ModuleUsageCounter counter;

private:
    std::list<TempFile> files_;
};

} // namespace JY::Test
