#pragma once

#include "util/CallStack.h"
#include "util/SourcePosition.h"
#include "util/TextBuffer.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace JY {

/// Root of everything that is thrown inside the module. Holds where it was raised, a message that the thrower may go on
/// streaming into (`throw ErrorException(here(), "No such key.=") << key;`), and the call stack of the throw site.
/// Not derived from std::exception; never thrown bare.
class Exception {
public:
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    virtual ~Exception();

    /// The short text.
    virtual std::string getMessage() const;
    /// The long text for logs: message, position and call stack.
    virtual std::string getDescription() const;

    const char* file() const { return position_.file; }
    std::uint32_t line() const { return static_cast<std::uint32_t>(position_.line); }
    /// The text as streamed, without the decoration that derived classes add in getMessage().
    std::string_view messageText() const { return message_.view(); }
    const std::string& callStack() const { return callStack_; }

    template <class T>
    void append(const T& value) {
        message_ << value;
    }

protected:
    /// Always part of the constructor of the class thrown, so that the stack capture knows how many frames lie between
    /// it and the throw site. Every throwable class has one constructor that is not inlined.
    [[gnu::always_inline]] inline Exception(SourcePosition position, std::string_view message)
        : position_(position), callStack_(captureCallStack()) {
        message_ << message;
    }

private:
    SourcePosition position_;
    TextBuffer message_;
    std::string callStack_;
};

/// Streams into an exception under construction and keeps its type, so that the whole expression can be thrown.
template <class E, class T>
requires std::derived_from<std::remove_cvref_t<E>, Exception> E && operator<<(E&& exception, const T& value) {
    exception.append(value);
    return static_cast<E&&>(exception);
}

} // namespace JY
