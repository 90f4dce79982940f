#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace GenApi {

// One start tag of a description that carries a Name attribute.
struct NamedElement {
    std::string_view tag;
    std::string_view name;
};

// Every element of the text that names a node, in document order: what the
// engine should have built. Elements that carry a Name without being a node
// of their own (formula variables and constants, enumeration entries, which
// are listed under their enumeration) are left out. One pass over the text,
// no allocation per element; the text must be well-formed.
std::vector<NamedElement> NamedElements(const char* xml, size_t size);

}  // namespace GenApi
