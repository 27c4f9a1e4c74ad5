#include "log/Snapshot.h"

#include <atomic>

namespace JY::Log2 {

namespace {
std::atomic<SnapshotWriter> snapshotWriter{nullptr};
}

void setSnapshotWriter(SnapshotWriter writer) {
    snapshotWriter = writer;
}

void requestSnapshot() {
    if (const SnapshotWriter writer = snapshotWriter) {
        writer();
    }
}

} // namespace JY::Log2
