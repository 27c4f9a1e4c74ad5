#include "tests/fuzz/SharedProgress.h"

#include <stdexcept>

namespace JY::Fuzz {

SharedProgress::SharedProgress(const std::wstring& name)
    : mapping_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Progress), name.c_str())),
      progress_(static_cast<Progress*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Progress)))) {
    if (progress_ == nullptr) {
        throw std::runtime_error("The progress cannot be shared.");
    }
}

SharedProgress::~SharedProgress() {
    UnmapViewOfFile(progress_);
    CloseHandle(mapping_);
}

} // namespace JY::Fuzz
