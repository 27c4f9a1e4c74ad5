#pragma once

#include <unknwn.h>
#include <windows.h>

#include <array>
#include <cstddef>
#include <cstring>

namespace JY::Test {

/// The virtual functions of one COM object, by slot. The table must outlive the object when a function is replaced.
class VirtualTable {
public:
    static constexpr std::size_t slotCount = 38; // of the largest interface that the tests look into

    // Slots of IMFAttributes and of IMFPresentationDescriptor, which extends it.
    static constexpr std::size_t setUint64 = 22;
    static constexpr std::size_t getStreamDescriptorCount = 33;
    static constexpr std::size_t getStreamDescriptorByIndex = 34;
    static constexpr std::size_t selectStream = 35;
    static constexpr std::size_t clone = 37;

    /// Replaces one function of `object` alone and gives the one before.
    template <class Function>
    Function* replace(IUnknown& object, std::size_t slot, Function* replacement) {
        void* const* shared = nullptr;
        std::memcpy(&shared, static_cast<const void*>(&object), sizeof shared);
        std::memcpy(slots_.data(), shared, sizeof slots_);
        auto* const original = reinterpret_cast<Function*>(slots_[slot]);
        slots_[slot] = reinterpret_cast<void*>(replacement);
        void* const* const own = slots_.data();
        std::memcpy(static_cast<void*>(&object), &own, sizeof own);
        return original;
    }

private:
    std::array<void*, slotCount> slots_{};
};

} // namespace JY::Test
