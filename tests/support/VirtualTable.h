#pragma once

#include <mfidl.h>
#include <mfobjects.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace JY::Test {

/// How many functions the table of an interface holds.
template <class Interface>
inline constexpr std::size_t functionCount = 0;
template <>
inline constexpr std::size_t functionCount<IMFMediaBuffer> = 8;
template <>
inline constexpr std::size_t functionCount<IMFMediaTypeHandler> = 9;
template <>
inline constexpr std::size_t functionCount<IMFMediaEventQueue> = 10;
template <>
inline constexpr std::size_t functionCount<IMFStreamDescriptor> = 35;
template <>
inline constexpr std::size_t functionCount<IMFMediaEvent> = 37;
template <>
inline constexpr std::size_t functionCount<IMFMediaType> = 38;
template <>
inline constexpr std::size_t functionCount<IMFPresentationDescriptor> = 38;
template <>
inline constexpr std::size_t functionCount<IMFSample> = 47;

/// A table of virtual functions for objects that are not to share their class's, in which functions can be replaced.
/// Must outlive the objects. It can serve one object after the other, each of which gets its class's functions first.
template <class Interface>
class VirtualTable {
public:
    /// Replaces one function of `object` alone and gives the one before.
    template <class Function>
    Function* replace(Interface& object, std::size_t slot, Function* replacement) {
        void* const* current = nullptr;
        std::memcpy(&current, static_cast<const void*>(&object), sizeof current);
        if (current != functions_.data()) {
            std::copy_n(current, functions_.size(), functions_.begin());
        }
        auto* const original = reinterpret_cast<Function*>(functions_[slot]);
        functions_[slot] = reinterpret_cast<void*>(replacement);
        void* const* const own = functions_.data();
        std::memcpy(static_cast<void*>(&object), &own, sizeof own);
        return original;
    }

private:
    std::array<void*, functionCount<Interface>> functions_{};
};

} // namespace JY::Test
