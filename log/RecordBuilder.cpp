#include "log/RecordBuilder.h"

#include "util/ClassName.h"

#include <typeinfo>

namespace JY::Log2 {

RecordBuilder& RecordBuilder::operator<<(const Exception& exception) {
    if (core_ == nullptr) {
        return *this;
    }
    try {
        text_ << "Exception caught. " << className(typeid(exception)) << ", " << exception.getDescription();
    } catch (const std::bad_alloc&) {
        core_ = nullptr;
    }
    return *this;
}

void RecordBuilder::send() noexcept {
    try {
        core_->write(makeRecord(position_, severity_, text_.view()));
    } catch (...) {
        // A log that fails must not fail its caller.
    }
}

} // namespace JY::Log2
