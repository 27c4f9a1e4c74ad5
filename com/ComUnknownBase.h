#pragma once

#include "com/ComReference.h"
#include "com/ModuleUsageCounter.h"
#include "util/StructureException.h"
#include "util/StructuredExceptionGuard.h"

#include <unknwn.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdint>
#include <new>
#include <typeinfo>
#include <utility>

namespace JY::Pictaro {

/// Records that the last reference to an object of this type has gone.
void recordDestruction(const std::type_info& type) noexcept;

/// Reference counting of every COM object of the module, and its place in the module's usage count. `I` is the COM
/// interface; further bases may follow. An object starts with one reference; QueryInterface is the concrete class's.
template <class I, class... Others>
class ComUnknownBase : public I, public Others... {
public:
    ComUnknownBase(const ComUnknownBase&) = delete;
    ComUnknownBase& operator=(const ComUnknownBase&) = delete;

    ULONG STDMETHODCALLTYPE AddRef() override {
        return static_cast<ULONG>(InterlockedIncrement(reinterpret_cast<volatile LONG*>(&referenceCount_)));
    }

    ULONG STDMETHODCALLTYPE Release() override {
        const LONG count = InterlockedDecrement(reinterpret_cast<volatile LONG*>(&referenceCount_));
        if (count == 0) {
            recordDestruction(typeid(*this));
            const TranslatorScope translator(translateStructuredException);
            callTranslated([this] { delete this; });
        }
        return static_cast<ULONG>(count);
    }

protected:
    explicit ComUnknownBase(ModuleUsageCounter& counter) : usage_(counter) {}

    /// Adds a reference unless the last one has gone and the object is being destroyed. For an object that is also
    /// found through pointers without a reference.
    bool tryAddRef() {
        auto* const references = reinterpret_cast<volatile LONG*>(&referenceCount_);
        for (LONG count = *references; count != 0;) {
            const LONG found = InterlockedCompareExchange(references, count + 1, count);
            if (found == count) {
                return true;
            }
            count = found;
        }
        return false;
    }

public:
    virtual ~ComUnknownBase() = default; // NOLINT(modernize-use-override): not every base has one

private:
    std::uint32_t referenceCount_ = 1;
    ModuleUsage usage_;
};

/// Makes a COM object whose first reference belongs to the result; null when there is no memory for the object itself.
/// What the constructor throws passes through.
template <class T, class... Arguments>
Microsoft::WRL::ComPtr<T> createObject(Arguments&&... arguments) {
    return adoptReference(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
}

} // namespace JY::Pictaro
