#include "tools/FailureWords.h"

#include "tools/HResultWords.h"

namespace JY::Tools {

std::string describe(const Failure& failure) {
    return std::string(failure.what()) + ": " + hresultInWords(failure.code());
}

} // namespace JY::Tools
