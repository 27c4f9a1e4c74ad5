#pragma once

#include <string_view>
#include <typeinfo>

namespace JY {

/// The run-time class name as records show it, e.g. "class JY::ApiErrorException". The text lives as long as the
/// module. Any thread; names are demangled once and kept.
std::string_view className(const std::type_info& type);

/// The same without the leading keyword and blank, e.g. "JY::ApiErrorException".
std::string_view bareClassName(const std::type_info& type);

} // namespace JY
