#include "util/ClassName.h"

#include "util/SharedLock.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cxxabi.h>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <typeindex>

namespace JY {

namespace {

constexpr std::string_view keyword = "class ";

struct MallocDeleter {
    void operator()(char* text) const { std::free(text); } // NOLINT(*-no-malloc): as demangling wants
};

std::string demangle(const char* name) {
    int status = 0;
    const std::unique_ptr<char, MallocDeleter> text(abi::__cxa_demangle(name, nullptr, nullptr, &status));
    return std::string(keyword) + (status == 0 ? text.get() : name);
}

class NameCache {
public:
    /// Most often the type is one that was asked for lately, which needs neither the lock nor the map.
    std::string_view find(const std::type_info& type) {
        std::atomic<const Entry*>& recent = recent_[placeOf(type)];
        const Entry* entry = recent.load(std::memory_order_acquire);
        if (entry == nullptr || entry->type != &type) {
            entry = &findInMap(type);
            recent.store(entry, std::memory_order_release);
        }
        return entry->name;
    }

private:
    struct Entry {
        const std::type_info* type;
        std::string name;
    };

    static std::size_t placeOf(const std::type_info& type) {
        constexpr unsigned alignmentBits = 4;
        return (reinterpret_cast<std::uintptr_t>(&type) >> alignmentBits) % places;
    }

    const Entry& findInMap(const std::type_info& type) {
        {
            const std::shared_lock guard(lock_);
            const auto found = names_.find(type);
            if (found != names_.end()) {
                return found->second;
            }
        }
        const std::lock_guard guard(lock_);
        return names_.try_emplace(type, Entry{&type, demangle(type.name())}).first->second;
    }

    static constexpr std::size_t places = 64;
    std::array<std::atomic<const Entry*>, places> recent_{};
    SharedLock lock_;
    std::map<std::type_index, Entry> names_; // nodes never move
};

NameCache cache;

} // namespace

std::string_view className(const std::type_info& type) {
    return cache.find(type);
}

std::string_view bareClassName(const std::type_info& type) {
    return className(type).substr(keyword.size());
}

} // namespace JY
