#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "NamedElements.h"

namespace GenApi {

// The <ValidValueSet> of integer and float nodes, which the engine drops while
// parsing: node name -> the listed values as written, in the order written.
// Values are separated by semicolons (commas and white space are taken too).
// elements is the outline of the same text.
using ValidValueSets = std::map<std::string, std::vector<std::string>, std::less<>>;
ValidValueSets ValidValueSetsOf(std::string_view text, const std::vector<NamedElement>& elements);

// The values of a set that parse as T and lie within [min, max]; the others
// are left out.
template <class T>
std::vector<T> ValidValuesWithin(const std::vector<std::string>& set, T min, T max);

}  // namespace GenApi
