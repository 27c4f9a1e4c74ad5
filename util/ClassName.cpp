#include "util/ClassName.h"

#include "util/SharedLock.h"

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
    std::string_view find(const std::type_info& type) {
        {
            const std::shared_lock guard(lock_);
            const auto found = names_.find(type);
            if (found != names_.end()) {
                return found->second;
            }
        }
        const std::lock_guard guard(lock_);
        return names_.try_emplace(type, demangle(type.name())).first->second;
    }

private:
    SharedLock lock_;
    std::map<std::type_index, std::string> names_; // nodes never move
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
