#pragma once

#include "log/InternalCoreInterface.h"
#include "log/Record.h"
#include "util/Exception.h"
#include "util/TextBuffer.h"

#include <concepts>
#include <new>

namespace JY::Log2 {

/// Builds one record: values are streamed in, and on destruction the record is stamped with time and thread and sent.
/// One that no sink wants is not built at all.
/// A record that cannot be built or written for want of memory, or because a sink fails, is dropped; what reading a
/// value throws (a bad pointer) passes where the value is read.
class RecordBuilder {
public:
    RecordBuilder(InternalCoreInterface* core, SourcePosition position, Severity severity)
        : core_(core != nullptr && core->wants(severity) ? core : nullptr), position_(position), severity_(severity) {}
    RecordBuilder(const RecordBuilder&) = delete;
    RecordBuilder& operator=(const RecordBuilder&) = delete;
    ~RecordBuilder() {
        if (core_ != nullptr) {
            core_->send(position_, severity_, text_.view());
        }
    }

    template <class T>
    requires(!std::derived_from<T, Exception>) RecordBuilder& operator<<(const T& value) {
        if (core_ != nullptr) {
            append(value);
        }
        return *this;
    }

    /// Writes "Exception caught. ", the run-time class name, ", " and the description.
    RecordBuilder& operator<<(const Exception& exception);

private:
    /// Without memory for its text the record is dropped: that must not fail the code that logs.
    template <class T>
    void append(const T& value) {
        try {
            text_ << value;
        } catch (const std::bad_alloc&) {
            core_ = nullptr;
        }
    }

    InternalCoreInterface* core_;
    SourcePosition position_;
    Severity severity_;
    TextBuffer text_;
};

} // namespace JY::Log2
