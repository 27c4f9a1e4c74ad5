#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace JY {

/// Throws a C++ exception for a structured one.
using StructuredExceptionTranslator = void (*)(unsigned code, EXCEPTION_POINTERS* exceptionPointers);

/// Sets the calling thread's translator and returns the one that was set before (null for none).
StructuredExceptionTranslator setStructuredExceptionTranslator(StructuredExceptionTranslator translator);

/// Installs a translator for a scope. On leaving, the previous one is put back if there was one; when there was none,
/// the installed one stays on the thread.
class TranslatorScope {
public:
    explicit TranslatorScope(StructuredExceptionTranslator translator)
        : previous_(setStructuredExceptionTranslator(translator)) {}
    TranslatorScope(const TranslatorScope&) = delete;
    TranslatorScope& operator=(const TranslatorScope&) = delete;
    ~TranslatorScope() {
        if (previous_ != nullptr) {
            setStructuredExceptionTranslator(previous_);
        }
    }

private:
    StructuredExceptionTranslator previous_;
};

/// Runs `body(argument)`. A structured exception that nothing inside the body handles is given to the thread's
/// translator at the place of the fault, so that what it throws unwinds from there. C++ exceptions and a debugger's
/// output pass untouched, and so does everything while the thread has no translator.
void callTranslated(void (*body)(void*), void* argument);

/// The same for any callable without arguments.
template <class Body>
void callTranslated(Body&& body) {
    callTranslated([](void* argument) { (*static_cast<std::remove_reference_t<Body>*>(argument))(); },
                   const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}

} // namespace JY
