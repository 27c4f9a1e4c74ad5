#include "tests/stress/SharedSources.h"

#include <utility>
#include <vector>

namespace JY::Test {

std::shared_ptr<StressedSource> SharedSources::find(std::size_t place) const {
    const std::lock_guard guard(mutex_);
    return entries_[place].source;
}

void SharedSources::put(std::size_t place, std::shared_ptr<StressedSource> source) {
    {
        const std::lock_guard guard(mutex_);
        if (entries_[place].source == nullptr) {
            entries_[place] = {std::move(source), GetTickCount64()};
            return;
        }
    }
    source->shutDown();
}

void SharedSources::retire(ULONGLONG milliseconds) {
    std::vector<std::shared_ptr<StressedSource>> retired;
    {
        const std::lock_guard guard(mutex_);
        for (Entry& entry : entries_) {
            if (entry.source != nullptr && GetTickCount64() - entry.since >= milliseconds) {
                retired.push_back(std::exchange(entry.source, nullptr));
            }
        }
    }
    for (const auto& source : retired) {
        source->shutDown();
    }
}

} // namespace JY::Test
