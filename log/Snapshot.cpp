#include "log/Snapshot.h"

#include "log/Core.h"
#include "util/Exception.h"

#include <atomic>

namespace JY::Log2 {

namespace {

constexpr SourceFile here{"Snapshot"};

std::atomic<SnapshotWriter> snapshotWriter{nullptr};

} // namespace

void setSnapshotWriter(SnapshotWriter writer) {
    snapshotWriter = writer;
}

void requestSnapshot() noexcept {
    try {
        if (const SnapshotWriter writer = snapshotWriter) {
            writer();
        }
    } catch (const Exception& exception) {
        untraced().error(here()) << exception;
    } catch (...) {
        // The records stay where they are; the failure that asked for them is being reported already.
    }
}

} // namespace JY::Log2
