#pragma once

#include <wrl/client.h>

namespace JY::Pictaro {

/// Takes over a reference that the caller owns. ComPtr::Attach cannot serve: MinGW's adds a reference of its own.
template <class T>
Microsoft::WRL::ComPtr<T> adoptReference(T* object) {
    Microsoft::WRL::ComPtr<T> owner;
    *owner.GetAddressOf() = object;
    return owner;
}

} // namespace JY::Pictaro
