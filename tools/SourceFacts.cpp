#include "tools/SourceFacts.h"

#include "tools/Failure.h"
#include "tools/Text.h"

using Microsoft::WRL::ComPtr;

namespace JY::Tools {

namespace {

StreamFacts describeStream(IMFStreamDescriptor& stream) {
    StreamFacts facts;
    check(stream.GetStreamIdentifier(&facts.identifier), "IMFStreamDescriptor::GetStreamIdentifier");
    const ComPtr<IMFMediaTypeHandler> handler = typeHandlerOf(stream);
    GUID kind{};
    check(handler->GetMajorType(&kind), "IMFMediaTypeHandler::GetMajorType");
    facts.kind = mediaFormatInWords(kind);
    ComPtr<IMFMediaType> type;
    check(handler->GetCurrentMediaType(type.GetAddressOf()), "IMFMediaTypeHandler::GetCurrentMediaType");
    facts.attributes = describeAttributes(*type.Get());
    return facts;
}

std::optional<LONGLONG> durationOf(IMFPresentationDescriptor& presentation) {
    UINT64 duration = 0;
    if (FAILED(presentation.GetUINT64(MF_PD_DURATION, &duration))) {
        return std::nullopt;
    }
    return static_cast<LONGLONG>(duration);
}

} // namespace

ComPtr<IMFPresentationDescriptor> createPresentation(IMFMediaSource& source) {
    ComPtr<IMFPresentationDescriptor> presentation;
    check(source.CreatePresentationDescriptor(presentation.GetAddressOf()),
          "IMFMediaSource::CreatePresentationDescriptor");
    return presentation;
}

DWORD streamCount(IMFPresentationDescriptor& presentation) {
    DWORD count = 0;
    check(presentation.GetStreamDescriptorCount(&count), "IMFPresentationDescriptor::GetStreamDescriptorCount");
    return count;
}

ComPtr<IMFStreamDescriptor> streamAt(IMFPresentationDescriptor& presentation, DWORD index) {
    BOOL selected = FALSE;
    ComPtr<IMFStreamDescriptor> stream;
    check(presentation.GetStreamDescriptorByIndex(index, &selected, stream.GetAddressOf()),
          "IMFPresentationDescriptor::GetStreamDescriptorByIndex");
    return stream;
}

ComPtr<IMFMediaTypeHandler> typeHandlerOf(IMFStreamDescriptor& stream) {
    ComPtr<IMFMediaTypeHandler> handler;
    check(stream.GetMediaTypeHandler(handler.GetAddressOf()), "IMFStreamDescriptor::GetMediaTypeHandler");
    return handler;
}

SourceFacts describeSource(const std::wstring& file, IMFMediaSource& source, IMFPresentationDescriptor& presentation) {
    SourceFacts facts;
    facts.file = toUtf8(file);
    facts.duration = durationOf(presentation);

    DWORD characteristics = 0;
    check(source.GetCharacteristics(&characteristics), "IMFMediaSource::GetCharacteristics");
    facts.seekable = (characteristics & MFMEDIASOURCE_CAN_SEEK) != 0;
    facts.pausable = (characteristics & MFMEDIASOURCE_CAN_PAUSE) != 0;
    facts.live = (characteristics & MFMEDIASOURCE_IS_LIVE) != 0;

    const DWORD count = streamCount(presentation);
    for (DWORD index = 0; index < count; ++index) {
        facts.streams.push_back(describeStream(*streamAt(presentation, index).Get()));
    }
    return facts;
}

} // namespace JY::Tools
