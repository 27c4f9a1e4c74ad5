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

} // namespace JY::Log2
