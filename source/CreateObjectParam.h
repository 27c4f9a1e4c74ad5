#pragma once

#include "source/ComParamBase.h"

#include <string>
#include <utility>

namespace JY::Pictaro::Fs {

/// The file that one request for a media source asks for.
class CreateObjectParam final : public ComParamBase {
public:
    explicit CreateObjectParam(std::wstring filePath) : filePath_(std::move(filePath)) {}

    const std::wstring& filePath() const { return filePath_; }

private:
    const std::wstring filePath_;
};

} // namespace JY::Pictaro::Fs
