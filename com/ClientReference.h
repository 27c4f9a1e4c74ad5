#pragma once

#include <wrl/client.h>

#include <cassert>
#include <memory>
#include <type_traits>
#include <utility>

namespace JY::Pictaro {

namespace Detail {
void letGo(void (*body)(void*), void* context) noexcept;
} // namespace Detail

/// Runs `body`, which lets go of what a client has made, in a destructor for example, which cannot pass anything on:
/// faults of the client's code are recorded, with a snapshot where the boundary of a COM call takes one, and go no
/// further. Any thread; the caller holds no lock, since a client's code runs.
template <class Body>
void letGo(Body&& body) noexcept {
    Detail::letGo([](void* context) { (*static_cast<std::remove_reference_t<Body>*>(context))(); },
                  const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}

/// A reference to a client's object, to one that may hold the last reference to such, or to none. A bad pointer faults
/// where the reference is made; ComPtr cannot serve, since it forbids exceptions. An object that faults when it is let
/// go costs a record.
template <class T>
class ClientReference {
public:
    /// Adds a reference, unless `object` is null.
    explicit ClientReference(T* object = nullptr) {
        if (object != nullptr) {
            object->AddRef();
        }
        object_ = object;
    }
    /// Takes the reference over.
    explicit ClientReference(Microsoft::WRL::ComPtr<T> object) noexcept : object_(object.Detach()) {}
    ClientReference(const ClientReference&) = delete;
    ClientReference& operator=(const ClientReference&) = delete;
    ~ClientReference() {
        if (object_ != nullptr) {
            letGo([this] { object_->Release(); });
        }
    }

    T* get() const { return object_; }
    /// Where a client puts an object of its own, with a reference that is then owned. Only for a reference to none.
    T** put() {
        assert(object_ == nullptr);
        return &object_;
    }
    /// Gives the reference up to the caller.
    T* detach() { return std::exchange(object_, nullptr); }

private:
    T* object_ = nullptr;
};

} // namespace JY::Pictaro
