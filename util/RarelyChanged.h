#pragma once

#include "util/SharedLock.h"

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include <array>
#include <atomic>
#include <mutex>
#include <utility>

namespace JY {

/// A shared pointer that is read all the time and changed almost never: reading takes no lock and copies nothing, it
/// counts itself in and out (10 ns instead of a slim lock's 40). Any thread. Constant-initialised.
template <class T>
class RarelyChanged {
public:
    /// What `body` makes of the pointer of this moment, which lives on until it has. `body` must not exchange it.
    template <class Body>
    decltype(auto) read(const Body& body) const {
        const ReaderScope reader(readers_);
        return body(slots_[current_.load()].get());
    }

    /// Replaces the pointer and returns the one before, which no reader uses any more.
    boost::shared_ptr<T> exchange(boost::shared_ptr<T> pointer) {
        const std::lock_guard guard(writers_);
        const unsigned before = current_.load();
        const unsigned after = 1 - before;
        slots_[after] = std::move(pointer);
        current_.store(after);
        while (readers_.load() != 0) {
            SwitchToThread();
        }
        return std::exchange(slots_[before], nullptr);
    }

private:
    class ReaderScope {
    public:
        explicit ReaderScope(std::atomic<unsigned>& readers) : readers_(readers) { readers_.fetch_add(1); }
        ReaderScope(const ReaderScope&) = delete;
        ReaderScope& operator=(const ReaderScope&) = delete;
        ~ReaderScope() { readers_.fetch_sub(1); }

    private:
        std::atomic<unsigned>& readers_;
    };

    SharedLock writers_;
    mutable std::atomic<unsigned> readers_{0};
    std::atomic<unsigned> current_{0};
    std::array<boost::shared_ptr<T>, 2> slots_;
};

} // namespace JY
