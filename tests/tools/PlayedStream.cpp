#include "tests/tools/PlayedStream.h"

#include "tools/Failure.h"
#include "tools/SourceFacts.h"

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

IMFMediaStream& started(Playback& playback, IMFMediaSource& source, DWORD identifier) {
    playback.start(*createPresentation(source).Get(), 0);
    return *playback.streams().at(identifier).Get();
}

} // namespace

PlayedStream::PlayedStream(const std::wstring& path, DWORD identifier)
    : source_(path), playback_(source_.get()), stream_(started(playback_, source_.get(), identifier)),
      reader_(stream_, end_) {}

ComPtr<IMFMediaType> PlayedStream::type() const {
    ComPtr<IMFStreamDescriptor> descriptor;
    check(stream_.GetStreamDescriptor(descriptor.GetAddressOf()), "GetStreamDescriptor");
    ComPtr<IMFMediaType> type;
    check(typeHandlerOf(*descriptor.Get())->GetCurrentMediaType(type.GetAddressOf()), "GetCurrentMediaType");
    return type;
}

} // namespace JY::Tools
