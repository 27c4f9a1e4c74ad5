#pragma once

#include "com/ClientReference.h"
#include "source/ComParamBase.h"

#include <mfobjects.h>

namespace JY::Pictaro::Fs {

/// What one asynchronous call carries from the thread that asks for it to the one that runs it.
class AsyncCallParam final : public ComParamBase {
public:
    /// Adds a reference to the client's objects; each may be null.
    AsyncCallParam(IMFAsyncCallback* callback, IUnknown* state, Microsoft::WRL::ComPtr<IUnknown> argument)
        : callback_(callback), state_(state), argument_(std::move(argument)) {}

    /// Whom to tell of the completion; null for nobody.
    IMFAsyncCallback* callback() const { return callback_.get(); }
    /// The client's own object, which the completion carries.
    IUnknown* state() const { return state_.get(); }
    /// What the called member function gets.
    IUnknown* argument() const { return argument_.Get(); }

private:
    ClientReference<IMFAsyncCallback> callback_;
    ClientReference<IUnknown> state_;
    Microsoft::WRL::ComPtr<IUnknown> argument_;
};

} // namespace JY::Pictaro::Fs
