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

/// Adds a reference to an object that a client handed in, null included. ComPtr's own constructor cannot serve: it
/// forbids exceptions, and a client's bad pointer must end as one.
template <class T>
Microsoft::WRL::ComPtr<T> shareReference(T* object) {
    if (object != nullptr) {
        object->AddRef();
    }
    return adoptReference(object);
}

} // namespace JY::Pictaro
