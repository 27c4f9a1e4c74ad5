#pragma once

#include "log/Core.h"
#include "util/SourcePosition.h"

#include <windows.h>

#include <initializer_list>
#include <memory>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace JY::Pictaro {

/// The method that a COM call runs in, for its trace scope and its records.
struct MethodName {
    SourcePosition position;
    const std::type_info* type; ///< the object's run-time type; null for an exported function
    std::string_view function;  ///< static string
};

/// A pointer argument that must not be null, with the parameter's name.
struct RequiredPointer {
    const char* name;
    const void* pointer;
};

/// What the body of a COM call works with.
class ComCall {
public:
    ComCall(const MethodName& name, Log2::Logger& logger) : name_(name), logger_(logger) {}

    Log2::Logger& log() const { return logger_; }
    /// S_OK when every pointer is there; else the first that is null is recorded as fatal by name, a snapshot is asked
    /// for, and E_INVALIDARG returned.
    HRESULT check(std::initializer_list<RequiredPointer> required) const;
    /// Records at fatal that an object could not be allocated; asks for a snapshot and returns E_OUTOFMEMORY.
    HRESULT outOfMemory(const char* name) const;

private:
    void recordNull(const char* name) const;

    const MethodName& name_;
    Log2::Logger& logger_;
};

/// Records the exception in flight, a fatal one with a snapshot, and answers with its HRESULT: the code of an
/// ApiErrorException, E_FAIL for all others. Called in a catch clause.
HRESULT translateCurrentException(const Log2::Logger& log, SourcePosition position);

/// Has the last word in a call: told after its failure, if any, has been recorded, inside the trace scope.
class ComCallObserver {
public:
    virtual void callEnded(const Log2::Logger& log) noexcept = 0;

protected:
    ~ComCallObserver() = default;
};

namespace Detail {
using ComBody = HRESULT (*)(void* body, const ComCall& call);
HRESULT runComCall(const MethodName& name, std::initializer_list<RequiredPointer> required, ComBody body, void* context,
                   ComCallObserver* observer);
} // namespace Detail

/// The boundary between the module and its callers, the same for every COM method and exported function: installs the
/// structured-exception translator, opens the ENTER/EXIT scope, refuses null pointers, runs `body(const ComCall&)`,
/// which returns an HRESULT, and turns every exception into a record and an HRESULT: the code of an ApiErrorException
/// unchanged, E_FAIL for all others; a fatal record is followed by a snapshot. Nothing is thrown.
template <class Body>
HRESULT comCall(const MethodName& name, std::initializer_list<RequiredPointer> required, Body&& body,
                ComCallObserver* observer = nullptr) {
    return Detail::runComCall(
        name, required,
        [](void* context, const ComCall& call) -> HRESULT {
            return (*static_cast<std::remove_reference_t<Body>*>(context))(call);
        },
        const_cast<void*>(static_cast<const void*>(std::addressof(body))), observer);
}

template <class Body>
HRESULT comCall(const MethodName& name, Body&& body) {
    return comCall(name, {}, std::forward<Body>(body));
}

} // namespace JY::Pictaro
