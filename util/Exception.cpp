#include "util/Exception.h"

namespace JY {

Exception::~Exception() = default;

std::string Exception::getMessage() const {
    return message_.str();
}

std::string Exception::getDescription() const {
    TextBuffer text;
    text << message_.view() << " @" << position_.file << ':' << position_.line;
    if (!callStack_.empty()) {
        text << " {" << callStack_ << '}';
    }
    return text.str();
}

} // namespace JY
