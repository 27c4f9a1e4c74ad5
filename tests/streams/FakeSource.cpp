#include "tests/streams/FakeSource.h"

namespace JY::Test {

HRESULT FakeMediaSource::QueryInterface(REFIID id, void** object) {
    *object = nullptr;
    if (FAILED(queryResult) || (id != IID_IUnknown && id != IID_IMFMediaSource)) {
        return FAILED(queryResult) ? queryResult : E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<IMFMediaSource*>(this);
    return S_OK;
}

HRESULT FakeMediaSource::QueueEvent(MediaEventType type, REFGUID extendedType, HRESULT status,
                                    const PROPVARIANT* value) {
    events.push_back({type, extendedType, status, value});
    return queueEventResult;
}

Pictaro::Fs::MetaDatum FakeSource::getMetaDatum(const std::string& name) const {
    const auto found = metaData.find(name);
    if (found == metaData.end()) {
        throw Pictaro::Fs::FlvMetaData::MetaDataNotFoundException({"FakeSource", 1}, "Key not found.");
    }
    return found->second;
}

} // namespace JY::Test
