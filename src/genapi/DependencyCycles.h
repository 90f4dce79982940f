#pragma once

#include <arv.h>

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "NamedElements.h"

namespace GenApi {

// Refuses a description in which a node's value, address, length, range or
// access depends on itself: the engine would recurse until the stack runs
// out. Selector and invalidator links are not dependencies of a value and may
// close loops. One pass over the nodes and their links.
// `index` finds a node of `nodes` by name.
// Throws GenICam::RuntimeException naming the nodes of the first cycle found.
using NodeIndex = std::unordered_map<std::string_view, size_t>;
// The links come from the outline of the text; where it could not read them
// all, from the engine's nodes, which costs more.
void RefuseDependencyCycles(const std::vector<ArvGcFeatureNode*>& nodes, const NodeIndex& index,
                            const DescriptionOutline& outline);

}  // namespace GenApi
