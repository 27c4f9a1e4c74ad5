#include "util/StructureException.h"

#include "util/CallStack.h"

#include <array>

namespace JY {

namespace {

struct CodeName {
    std::uint32_t code;
    const char* name;
};

constexpr std::array codeNames{
    CodeName{0x80000001, "GUARD_PAGE"},
    CodeName{0x80000002, "DATATYPE_MISALIGNMENT"},
    CodeName{0x80000003, "BREAKPOINT"},
    CodeName{0x80000004, "SINGLE_STEP"},
    CodeName{0xC0000005, "ACCESS_VIOLATION"},
    CodeName{0xC0000006, "IN_PAGE_ERROR"},
    CodeName{0xC0000008, "INVALID_HANDLE"},
    CodeName{0xC000001D, "ILLEGAL_INSTRUCTION"},
    CodeName{0xC0000025, "NONCONTINUABLE_EXCEPTION"},
    CodeName{0xC0000026, "INVALID_DISPOSITION"},
    CodeName{0xC000008C, "ARRAY_BOUNDS_EXCEEDED"},
    CodeName{0xC000008D, "FLT_DENORMAL_OPERAND"},
    CodeName{0xC000008E, "FLT_DIVIDE_BY_ZERO"},
    CodeName{0xC000008F, "FLT_INEXACT_RESULT"},
    CodeName{0xC0000090, "FLT_INVALID_OPERATION"},
    CodeName{0xC0000091, "FLT_OVERFLOW"},
    CodeName{0xC0000092, "FLT_STACK_CHECK"},
    CodeName{0xC0000093, "FLT_UNDERFLOW"},
    CodeName{0xC0000094, "INT_DIVIDE_BY_ZERO"},
    CodeName{0xC0000095, "INT_OVERFLOW"},
    CodeName{0xC0000096, "PRIV_INSTRUCTION"},
    CodeName{0xC00000FD, "STACK_OVERFLOW"},
    CodeName{0xE1020305, "JY_CRT_INVALID_PARAM_EXCEPTION"},
    CodeName{0xE1020306, "JY_CRT_PVC_EXCEPTION"},
};

} // namespace

StructureException::StructureException(const EXCEPTION_POINTERS* exceptionPointers)
    : FatalException(Derived(), {"", 0}, ""), code_(exceptionPointers->ExceptionRecord->ExceptionCode),
      address_(exceptionPointers->ExceptionRecord->ExceptionAddress) {}

std::string StructureException::getMessage() const {
    TextBuffer text;
    text << getExceptionCodeName(code_) << " @" << describeModuleAddress(address_);
    return text.str();
}

std::string StructureException::getDescription() const {
    const StackFrame frame = lookUpSymbol(address_);
    TextBuffer text;
    text << getMessage() << ' ' << frame.name << '(' << frame.file << ':' << frame.line << "){" << callStack() << '}';
    return text.str();
}

const char* getExceptionCodeName(std::uint32_t code) {
    for (const CodeName& entry : codeNames) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return nullptr;
}

void translateStructuredException(unsigned, EXCEPTION_POINTERS* exceptionPointers) {
    throw StructureException(exceptionPointers);
}

} // namespace JY
