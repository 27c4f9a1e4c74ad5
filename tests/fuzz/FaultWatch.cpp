#include "tests/fuzz/FaultWatch.h"

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>

namespace JY::Fuzz {

namespace {

constexpr DWORD mostFrames = 24;

struct Fault {
    DWORD code;
    std::array<void*, mostFrames> callers;
    USHORT callerCount;
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
        firstFault.code = record.ExceptionCode;
        firstFault.instruction = record.ExceptionAddress;
        firstFault.access = record.ExceptionInformation[0];
        firstFault.address = record.ExceptionInformation[1];
        firstFault.callerCount = record.ExceptionCode == EXCEPTION_STACK_OVERFLOW
                                     ? USHORT{0}
                                     : RtlCaptureStackBackTrace(0, mostFrames, firstFault.callers.data(), nullptr);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

/// The file of a loaded module and an offset in it.
std::string placeOf(const void* instruction) {
    HMODULE module = nullptr;
    std::array<char, MAX_PATH> path{};
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCSTR>(instruction), &module);
    GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    std::array<char, 32> offset{};
    std::snprintf(
        offset.data(), offset.size(), "+0x%llX",
        static_cast<unsigned long long>(static_cast<const char*>(instruction) - reinterpret_cast<const char*>(module)));
    return std::filesystem::path(path.data()).filename().string() + offset.data();
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
    std::array<char, 120> text{};
    std::snprintf(text.data(), text.size(), "fault 0x%08lX, %u in all, access %llu of 0x%llX, at ",
                  static_cast<unsigned long>(firstFault.code), count,
                  static_cast<unsigned long long>(firstFault.access),
                  static_cast<unsigned long long>(firstFault.address));
    std::string result = text.data() + placeOf(firstFault.instruction) + ", called by";
    for (USHORT index = 0; index < firstFault.callerCount; ++index) {
        result += ' ' + placeOf(firstFault.callers[index]);
    }
    return result;
}

} // namespace JY::Fuzz
