#pragma once

#include "log/InternalCoreInterface.h"
#include "log/Record.h"
#include "util/Exception.h"
#include "util/TextBuffer.h"

#include <concepts>

namespace JY::Log2 {

/// Builds one record: values are streamed in, and on destruction the record is stamped with time and thread and sent.
/// Without a core nothing is formatted. Never throws on sending: a record that cannot be written is dropped.
class RecordBuilder {
public:
    RecordBuilder(InternalCoreInterface* core, SourcePosition position, Severity severity)
        : core_(core), position_(position), severity_(severity) {}
    RecordBuilder(const RecordBuilder&) = delete;
    RecordBuilder& operator=(const RecordBuilder&) = delete;
    ~RecordBuilder() {
        if (core_ != nullptr) {
            send();
        }
    }

    template <class T>
        requires(!std::derived_from<T, Exception>)
    RecordBuilder& operator<<(const T& value) {
        if (core_ != nullptr) {
            text_ << value;
        }
        return *this;
    }

    /// Writes "Exception caught. ", the run-time class name, ", " and the description.
    RecordBuilder& operator<<(const Exception& exception);

private:
    void send() noexcept;

    InternalCoreInterface* core_;
    SourcePosition position_;
    Severity severity_;
    TextBuffer text_;
};

} // namespace JY::Log2
