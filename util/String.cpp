#include "util/String.h"

#include "util/FatalException.h"
#include "util/TextBuffer.h"

#include <string_view>

namespace JY {

namespace {

constexpr SourceFile here{"String"};

template <class T>
std::string asText(const T& value) {
    TextBuffer text;
    text << value;
    return text.str();
}

} // namespace

std::string toNarrow(const wchar_t* wide) {
    if (wide == nullptr) {
        throw FatalException(here.at(354), "arg is null.");
    }
    return asText(wide);
}

std::string toNarrow(const std::wstring& wide) {
    return asText(wide);
}

std::wstring replaceAll(const std::wstring& source, const wchar_t* from, const wchar_t* to) {
    if (from == nullptr) {
        throw FatalException(here.at(20), "szFrom is NULL.");
    }
    if (to == nullptr) {
        throw FatalException(here.at(21), "szTo is NULL.");
    }
    const std::wstring_view sought(from);
    if (sought.empty()) {
        return source;
    }
    std::wstring result;
    std::size_t start = 0;
    for (std::size_t found = 0; (found = source.find(sought, start)) != std::wstring::npos;
         start = found + sought.size()) {
        result.append(source, start, found - start).append(to);
    }
    return result.append(source, start);
}

std::string guidToString(const GUID& guid) {
    return asText(guid);
}

} // namespace JY
