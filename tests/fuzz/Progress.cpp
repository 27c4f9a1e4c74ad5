#include "tests/fuzz/Progress.h"

#include <algorithm>

namespace JY::Fuzz {

/// Results beyond the table's size are left out.
void Progress::count(Call call, HRESULT result) {
    const auto place = std::ranges::find_if(results, [&](const Result& entry) {
        return entry.count == 0 || (entry.call == call && entry.result == result);
    });
    if (place != results.end()) {
        *place = {call, result, place->count + 1};
    }
}

} // namespace JY::Fuzz
