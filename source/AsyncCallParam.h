#pragma once

#include "source/ComParamBase.h"

#include <mfobjects.h>

namespace JY::Pictaro::Fs {

/// What one asynchronous call carries from the thread that asks for it to the one that runs it.
class AsyncCallParam final : public ComParamBase {
public:
    /// Takes over the references; each may be null.
    AsyncCallParam(Microsoft::WRL::ComPtr<IMFAsyncCallback> callback, Microsoft::WRL::ComPtr<IUnknown> state,
                   Microsoft::WRL::ComPtr<IUnknown> argument)
        : callback_(std::move(callback)), state_(std::move(state)), argument_(std::move(argument)) {}

    /// Whom to tell of the completion; null for nobody.
    IMFAsyncCallback* callback() const { return callback_.Get(); }
    /// The client's own object, which the completion carries.
    IUnknown* state() const { return state_.Get(); }
    /// What the called member function gets.
    IUnknown* argument() const { return argument_.Get(); }

private:
    Microsoft::WRL::ComPtr<IMFAsyncCallback> callback_;
    Microsoft::WRL::ComPtr<IUnknown> state_;
    Microsoft::WRL::ComPtr<IUnknown> argument_;
};

} // namespace JY::Pictaro::Fs
