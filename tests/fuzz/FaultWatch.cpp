#include "tests/fuzz/FaultWatch.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdio>

namespace JY::Fuzz {

namespace {

struct Fault {
    DWORD code;
    const void* instruction;
    ULONG_PTR access;
    ULONG_PTR address;
};

std::atomic<unsigned> faultCount;
Fault firstFault;

bool isHardwareFault(DWORD code) {
    static constexpr std::array<DWORD, 7> codes = {EXCEPTION_ACCESS_VIOLATION,      EXCEPTION_ILLEGAL_INSTRUCTION,
                                                   EXCEPTION_STACK_OVERFLOW,        EXCEPTION_INT_DIVIDE_BY_ZERO,
                                                   EXCEPTION_DATATYPE_MISALIGNMENT, EXCEPTION_IN_PAGE_ERROR,
                                                   EXCEPTION_PRIV_INSTRUCTION};
    constexpr DWORD heapCorruption = 0xC0000374;
    for (const DWORD known : codes) {
        if (code == known) {
            return true;
        }
    }
    return code == heapCorruption;
}

/// Runs on the faulting stack, which may be at its end: notes, and leaves the rest for later.
LONG CALLBACK note(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (isHardwareFault(record.ExceptionCode) && faultCount.fetch_add(1) == 0) {
        firstFault = {record.ExceptionCode, record.ExceptionAddress, record.ExceptionInformation[0],
                      record.ExceptionInformation[1]};
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

FaultWatch::FaultWatch() : handler_(AddVectoredExceptionHandler(1, &note)) {}

FaultWatch::~FaultWatch() {
    RemoveVectoredExceptionHandler(handler_);
}

std::string FaultWatch::take() {
    const unsigned count = faultCount.exchange(0);
    if (count == 0) {
        return {};
    }
    HMODULE module = nullptr;
    std::array<char, MAX_PATH> name{};
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCSTR>(firstFault.instruction), &module);
    GetModuleFileNameA(module, name.data(), static_cast<DWORD>(name.size()));
    std::array<char, MAX_PATH + 200> text{};
    std::snprintf(text.data(), text.size(), "fault 0x%08lX at %s+0x%llX (access %llu of 0x%llX), %u in all",
                  static_cast<unsigned long>(firstFault.code), name.data(),
                  static_cast<unsigned long long>(static_cast<const char*>(firstFault.instruction) -
                                                  reinterpret_cast<const char*>(module)),
                  static_cast<unsigned long long>(firstFault.access),
                  static_cast<unsigned long long>(firstFault.address), count);
    return text.data();
}

} // namespace JY::Fuzz
