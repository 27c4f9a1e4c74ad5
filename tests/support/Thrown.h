#pragma once

#include "util/ClassName.h"
#include "util/Exception.h"

#include <string>
#include <typeinfo>

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

} // namespace JY::Test
