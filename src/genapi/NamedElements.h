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

// A reference by name from a node to the node that gives it its value,
// address, length, range or access: the text of a pValue, pAddress, ...
// element. The links of an enumeration's entries count as the enumeration's,
// those of a struct register as each of its entries'.
struct NamedLink {
    size_t from;  // index into the elements
    std::string_view target;
};

struct DescriptionOutline {
    // Every element of the text that names a node, in document order: what
    // the engine should have built. Elements that carry a Name without being
    // a node of their own (formula variables and constants, enumeration
    // entries, which are listed under their enumeration) are left out.
    std::vector<NamedElement> elements;
    std::vector<NamedLink> links;
    // False when a link is written in a way this pass does not decode
    // (character references, CDATA): the links are then incomplete.
    bool linksComplete = true;
};

// One pass over the text, no allocation per element; the text must be
// well-formed.
DescriptionOutline OutlineOf(const char* xml, size_t size);

}  // namespace GenApi
