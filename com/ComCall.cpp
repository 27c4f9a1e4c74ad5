#include "com/ComCall.h"

#include "log/Snapshot.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

#include <exception>

namespace JY::Pictaro {

namespace {

Log2::Logger openTrace(const MethodName& name) {
    return name.type != nullptr ? Log2::traceMember(name.position, *name.type, name.function)
                                : Log2::traceFunction(name.position, name.function);
}

/// Records what cannot have been foreseen and keeps the recent records.
template <class Text>
void recordFatal(const Log2::Logger& log, SourcePosition position, const Text& text) {
    log.fatal(position) << text;
    Log2::requestSnapshot();
}

HRESULT ladderedCall(const ComCall& call, SourcePosition position, std::initializer_list<RequiredPointer> required,
                     Detail::ComBody body, void* context) {
    const HRESULT checked = call.check(required);
    if (FAILED(checked)) {
        return checked;
    }
    try {
        return body(context, call);
    } catch (...) {
        return translateCurrentException(call.log(), position);
    }
}

HRESULT tracedCall(const MethodName& name, std::initializer_list<RequiredPointer> required, Detail::ComBody body,
                   void* context, ComCallObserver* observer) {
    Log2::Logger log = openTrace(name);
    const HRESULT result = ladderedCall(ComCall(name, log), name.position, required, body, context);
    if (observer != nullptr) {
        observer->callEnded(log);
    }
    return result;
}

} // namespace

HRESULT translateCurrentException(const Log2::Logger& log, SourcePosition position) {
    try {
        throw;
    } catch (const ApiErrorException& exception) {
        log.error(position) << exception;
        return static_cast<HRESULT>(exception.code());
    } catch (const ErrorException& exception) {
        log.error(position) << exception;
    } catch (const Exception& exception) {
        recordFatal(log, position, exception);
    } catch (const std::exception& exception) {
        recordFatal(log, position, exception.what());
    } catch (...) {
        recordFatal(log, position, "Unknown exception.");
    }
    return E_FAIL;
}

HRESULT ComCall::check(std::initializer_list<RequiredPointer> required) const {
    for (const RequiredPointer& argument : required) {
        if (argument.pointer == nullptr) {
            recordNull(argument.name);
            return E_INVALIDARG;
        }
    }
    return S_OK;
}

HRESULT ComCall::outOfMemory(const char* name) const {
    recordNull(name);
    return E_OUTOFMEMORY;
}

void ComCall::recordNull(const char* name) const {
    logger_.fatal(name_.position) << name << " is NULL.";
    Log2::requestSnapshot();
}

HRESULT Detail::runComCall(const MethodName& name, std::initializer_list<RequiredPointer> required, ComBody body,
                           void* context, ComCallObserver* observer) {
    const TranslatorScope translator(translateStructuredException);
    HRESULT result = E_FAIL;
    try {
        callTranslated([&] { result = tracedCall(name, required, body, context, observer); });
    } catch (...) {
        // Only the log itself can have failed: there is nowhere to tell of it.
    }
    return result;
}

} // namespace JY::Pictaro
