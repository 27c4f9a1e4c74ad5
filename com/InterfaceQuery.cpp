#include "com/InterfaceQuery.h"

#include "util/GuidCompare.h"

#include <algorithm>

namespace JY::Pictaro {

namespace {

HRESULT refuse(const ComCall& call, SourcePosition position, REFIID id, const KnownInterface* known) {
    Log2::RecordBuilder record = call.log().info(position);
    record << "QI-None(";
    if (known != nullptr) {
        record << known->name;
    } else {
        record << id;
    }
    record << ')';
    return E_NOINTERFACE;
}

} // namespace

HRESULT answerQuery(const ComCall& call, SourcePosition position, IUnknown& unknown, REFIID id, void** result,
                    std::initializer_list<KnownInterface> interfaces) {
    *result = nullptr;
    const auto* const found =
        std::ranges::find_if(interfaces, [&](const KnownInterface& known) { return equalGuids(known.id, id); });
    if (found == interfaces.end()) {
        return refuse(call, position, id, nullptr);
    }
    if (found->object == nullptr) {
        return refuse(call, position, id, found);
    }
    call.log().info(position) << "QI(" << found->name << ')';
    unknown.AddRef();
    *result = found->object;
    return S_OK;
}

} // namespace JY::Pictaro
