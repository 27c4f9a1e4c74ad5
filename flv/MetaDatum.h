#pragma once

#include <boost/variant.hpp>

#include <map>
#include <string>
#include <vector>

namespace JY::Pictaro::Fs {

/// Stands for AMF0 null, undefined and object-end.
enum class EndMarker { value };

struct MetaObject;
struct MetaStrictArray;
struct MetaEcmaArray;

/// One AMF0 value. The order of the kinds is the number by which records name them (`which()`).
using MetaDatum = boost::variant<EndMarker, bool, long double, std::string, boost::recursive_wrapper<MetaObject>,
                                 boost::recursive_wrapper<MetaStrictArray>, boost::recursive_wrapper<MetaEcmaArray>>;

/// Duplicate keys are kept.
struct MetaObject {
    std::multimap<std::string, MetaDatum> members;
};

struct MetaStrictArray {
    std::vector<MetaDatum> elements;
};

/// Of a duplicate key the first value stays.
struct MetaEcmaArray {
    std::map<std::string, MetaDatum> members;
};

} // namespace JY::Pictaro::Fs
