#pragma once

namespace JY::Log2 {

/// Keeps a folder of log files small. Any thread.
class FileEraser {
public:
    virtual ~FileEraser() = default;
    /// Removes files until the folder is small enough. A file that cannot be removed stays, without a failure. Called
    /// by sinks under their lock while they have no file open, so it must not log.
    virtual void erase() = 0;
};

} // namespace JY::Log2
