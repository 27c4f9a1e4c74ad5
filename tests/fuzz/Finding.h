#pragma once

#include <stdexcept>

namespace JY::Fuzz {

/// Something that the module must not do.
class Finding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A call or a piece of queued work that does not come back. The module cannot be used further in this process.
class Hang : public Finding {
public:
    using Finding::Finding;
};

/// @throws Finding unless `holds`.
inline void require(bool holds, const char* text) {
    if (!holds) {
        throw Finding(text);
    }
}

} // namespace JY::Fuzz
