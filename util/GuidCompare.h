#pragma once

#include <windows.h>

#include <cstdint>

namespace JY {

/// Whether two identifiers are equal. Reads them field by field: the library's comparison counts as one that cannot
/// fail, and a client's bad pointer must be able to end as an exception.
inline bool equalGuids(const GUID& left, const GUID& right) {
    if (left.Data1 != right.Data1 || left.Data2 != right.Data2 || left.Data3 != right.Data3) {
        return false;
    }
    for (std::size_t index = 0; index < sizeof left.Data4; ++index) {
        if (left.Data4[index] != right.Data4[index]) {
            return false;
        }
    }
    return true;
}

} // namespace JY
