#pragma once

#include "util/FatalException.h"

#include <windows.h>

#include <cstdint>

namespace JY {

/// A structured exception of Windows (an access violation and the like) as a member of the family.
class StructureException : public FatalException {
public:
    [[gnu::noinline]] explicit StructureException(const EXCEPTION_POINTERS* exceptionPointers);

    std::string getMessage() const override;
    std::string getDescription() const override;

    std::uint32_t code() const { return code_; }
    const void* address() const { return address_; }

private:
    std::uint32_t code_;
    const void* address_;
};

/// The name of a structured exception's code, e.g. "ACCESS_VIOLATION"; null for a code without a name.
const char* getExceptionCodeName(std::uint32_t code);

/// Throws a StructureException built from the exception pointers.
[[noreturn]] void translateStructuredException(unsigned code, EXCEPTION_POINTERS* exceptionPointers);

} // namespace JY
