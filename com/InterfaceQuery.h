#pragma once

#include "com/ComCall.h"

#include <unknwn.h>
#include <windows.h>

#include <initializer_list>

namespace JY::Pictaro {

/// An interface that an object answers for or refuses by name.
struct KnownInterface {
    const IID& id;
    const char* name;
    void* object; ///< what is handed out; null for an interface that is known and refused
};

/// The answer to every QueryInterface: a known interface is recorded as "QI(name)" and handed out with a reference
/// added through `unknown`; one that is refused as "QI-None(name)", any other as "QI-None(" with its identifier and
/// ")". Refusals answer E_NOINTERFACE and null.
HRESULT answerQuery(const ComCall& call, SourcePosition position, IUnknown& unknown, REFIID id, void** result,
                    std::initializer_list<KnownInterface> interfaces);

} // namespace JY::Pictaro
