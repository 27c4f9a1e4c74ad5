#pragma once

#include "util/ClassName.h"
#include "util/Exception.h"

#include <string>
#include <typeinfo>
#include <utility>

namespace JY::Test {

/// What `call` throws, as "message @file:line", when it is exactly an E; otherwise a text that tells what happened
/// instead, so that it can be compared in one EXPECT_EQ.
template <class E, class Call>
std::string thrown(Call&& call) {
    try {
        call();
    } catch (const Exception& exception) {
        const std::string text =
            exception.getMessage() + " @" + exception.file() + ":" + std::to_string(exception.line());
        return typeid(exception) == typeid(E) ? text : std::string(className(typeid(exception))) + ": " + text;
    } catch (const std::exception& exception) {
        return std::string("std::exception: ") + exception.what();
    }
    return "nothing was thrown";
}

/// The same without the line, "message @file", where the line is the real one.
template <class E, class Call>
std::string thrownIn(Call&& call) {
    const std::string text = thrown<E>(std::forward<Call>(call));
    const std::size_t colon = text.rfind(':');
    const bool endsInLine = colon != std::string::npos && text.find_first_not_of("0123456789", colon + 1) > text.size();
    return text.substr(0, endsInLine ? colon : text.size());
}

} // namespace JY::Test
