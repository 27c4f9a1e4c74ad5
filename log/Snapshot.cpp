#include "log/Snapshot.h"

#include <atomic>

namespace JY::Log2 {

namespace {
std::atomic<SnapshotWriter> snapshotWriter{nullptr};
}

void setSnapshotWriter(SnapshotWriter writer) {
    snapshotWriter = writer;
}

void requestSnapshot() noexcept {
    try {
        if (const SnapshotWriter writer = snapshotWriter) {
            writer();
        }
    } catch (...) {
        // The records stay where they are; the failure that asked for them is being reported already.
    }
}

} // namespace JY::Log2
