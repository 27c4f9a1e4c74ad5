#include "util/StructuredExceptionGuard.h"

#include <exception>

namespace JY {

#if defined(_MSC_VER)

StructuredExceptionTranslator setStructuredExceptionTranslator(StructuredExceptionTranslator translator) {
    return _set_se_translator(translator);
}

void callTranslated(void (*body)(void*), void* argument) {
    body(argument);
}

#else

// GCC's frames know nothing of structured exceptions, and the C runtime's translator does not act on them. So the body
// runs below one assembly frame whose language-specific handler sees an exception after every inner frame has declined
// it. Throwing from inside that handler would have to unwind through the system's dispatcher; instead the handler keeps
// the exception, lets the thread continue in a second assembly frame on the faulting stack, as if the faulting
// instruction had called it, and that frame calls the translator. Everything is compiled with -fnon-call-exceptions, so
// a faulting instruction has landing pads like a call.

namespace {

/// An exception on its way from the handler to the translator; lives in callTranslated's frame.
struct FaultSite {
    StructuredExceptionTranslator translator;
    EXCEPTION_RECORD record;
    CONTEXT context;
};

/// The thread's translator. A slot of the system rather than thread_local, which allocates on each thread here.
class TranslatorSlot {
public:
    TranslatorSlot() : index_(TlsAlloc()) {}
    TranslatorSlot(const TranslatorSlot&) = delete;
    TranslatorSlot& operator=(const TranslatorSlot&) = delete;
    ~TranslatorSlot() { TlsFree(index_); }

    StructuredExceptionTranslator get() const {
        return reinterpret_cast<StructuredExceptionTranslator>(TlsGetValue(index_));
    }
    void set(StructuredExceptionTranslator translator) const {
        TlsSetValue(index_, reinterpret_cast<void*>(translator));
    }

private:
    DWORD index_;
};

const TranslatorSlot translatorSlot;

/// C++ exceptions, GCC's and others', and what is informational (debugger output, thread names) are not faults.
bool isFault(DWORD code) {
    constexpr DWORD gccExceptionMark = 0x00474343;
    constexpr DWORD foreignCppException = 0xE06D7363;
    constexpr DWORD informational = 1;
    return (code & 0x00FFFFFF) != gccExceptionMark && code != foreignCppException && code >> 30 != informational;
}

} // namespace

extern "C" {

void jyGuardedCall(void (*body)(void*), void* argument, FaultSite* site);
void jyEnterFault();

/// The offset in jyGuardedCall's frame at which it keeps its fault site.
constexpr std::size_t faultSiteOffset = 40;

[[gnu::used]] EXCEPTION_DISPOSITION jyGuardedCallHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                                         void*) {
    constexpr DWORD unwinding = 0x2;
    constexpr DWORD exitUnwind = 0x4;
    const StructuredExceptionTranslator translator = translatorSlot.get();
    if ((record->ExceptionFlags & (unwinding | exitUnwind)) != 0 || translator == nullptr ||
        !isFault(record->ExceptionCode)) {
        return ExceptionContinueSearch;
    }
    auto* const site = *reinterpret_cast<FaultSite**>(static_cast<char*>(frame) + faultSiteOffset);
    site->translator = translator;
    site->record = *record;
    site->context = *context;
    // The raiser never gets control back, so an exception that forbids continuing may be left this way as well.
    record->ExceptionFlags &= ~static_cast<DWORD>(EXCEPTION_NONCONTINUABLE);
    context->Rax = context->Rip + 1;
    context->Rcx = reinterpret_cast<DWORD64>(site);
    context->Rip = reinterpret_cast<DWORD64>(&jyEnterFault);
    return ExceptionContinueExecution;
}

[[gnu::used]] void jyTranslateFault(FaultSite* site) {
    EXCEPTION_POINTERS pointers{&site->record, &site->context};
    site->translator(static_cast<unsigned>(site->record.ExceptionCode), &pointers);
    std::terminate(); // there is nothing to go back to
}

} // extern "C"

// jyGuardedCall(body, argument, site): calls body(argument) under the handler.
// jyEnterFault: is continued at, with the faulting address + 1 in rax and the site in rcx. The address is pushed as the
// return address of a call, so that unwinding goes on in the faulting frame; the stack there may have any alignment.
asm(R"(
    .text
    .p2align 4
    .globl jyGuardedCall
    .def jyGuardedCall; .scl 2; .type 32; .endef
    .seh_proc jyGuardedCall
jyGuardedCall:
    subq $56, %rsp
    .seh_stackalloc 56
    .seh_endprologue
    movq %r8, 40(%rsp)
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    nop
    addq $56, %rsp
    ret
    .seh_handler jyGuardedCallHandler, @except
    .seh_endproc

    .p2align 4
    .globl jyEnterFault
    .def jyEnterFault; .scl 2; .type 32; .endef
jyEnterFault:
    pushq %rax
    .seh_proc jyFaultFrame
jyFaultFrame:
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    andq $-16, %rsp
    subq $32, %rsp
    call jyTranslateFault
    int3
    .seh_endproc
)");

StructuredExceptionTranslator setStructuredExceptionTranslator(StructuredExceptionTranslator translator) {
    const StructuredExceptionTranslator previous = translatorSlot.get();
    if (previous != translator) {
        translatorSlot.set(translator);
    }
    return previous;
}

void callTranslated(void (*body)(void*), void* argument) {
    FaultSite site; // filled by the handler only; clearing it here would cost more than the call
    jyGuardedCall(body, argument, &site);
}

#endif

} // namespace JY
