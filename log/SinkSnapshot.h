#pragma once

namespace JY::Log2 {

/// A sink that keeps the most recent records and writes them out on request.
class SinkSnapshot {
public:
    virtual ~SinkSnapshot() = default;
    /// Writes the kept records as one block, and keeps them. Any thread. Throws ApiErrorException when the block cannot
    /// be closed by its digest; the sink goes on as before.
    virtual void snapshot() = 0;
};

} // namespace JY::Log2
