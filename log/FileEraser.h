#pragma once

namespace JY::Log2 {

/// Keeps a folder of log files small. Any thread.
class FileEraser {
public:
    virtual ~FileEraser() = default;
    /// Removes old files. A file that cannot be removed stays, without a failure.
    virtual void erase() = 0;
};

} // namespace JY::Log2
