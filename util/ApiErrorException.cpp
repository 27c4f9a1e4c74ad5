#include "util/ApiErrorException.h"

#include <memory>

namespace JY {

namespace {

struct LocalFreeDeleter {
    void operator()(wchar_t* text) const { LocalFree(text); }
};

} // namespace

ApiErrorException::ApiErrorException(SourcePosition position, std::string_view message, std::uint32_t code)
    : Exception(position, message), code_(code) {}

std::string ApiErrorException::getMessage() const {
    TextBuffer text;
    text << messageText() << ": (0x" << Hex{code_} << ')';
    return text.str();
}

std::string ApiErrorException::getDescription() const {
    TextBuffer text;
    text << messageText() << ": (0x" << Hex{code_} << ';' << describeSystemError(code_) << ") @" << file() << ':'
         << line() << '{' << callStack() << '}';
    return text.str();
}

std::string describeSystemError(std::uint32_t code) {
    constexpr DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    wchar_t* buffer = nullptr;
    const DWORD length = FormatMessageW(flags, nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                        reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalFreeDeleter> owner(buffer);
    TextBuffer text;
    if (length == 0 || buffer == nullptr) {
        text << static_cast<std::int32_t>(code);
    } else {
        const std::wstring_view whole(buffer, length);
        text << whole.substr(0, whole.find_first_of(L"\r\n"));
    }
    return text.str();
}

} // namespace JY
