#pragma once

#include <arv.h>

#include <vector>

namespace GenApi {

// Refuses a description in which a node's value, address, length, range or
// access depends on itself: the engine would recurse until the stack runs
// out. Selector and invalidator links are not dependencies of a value and may
// close loops. One pass over the nodes and their links.
// Throws GenICam::RuntimeException naming the nodes of the first cycle found.
void RefuseDependencyCycles(const std::vector<ArvGcFeatureNode*>& nodes);

}  // namespace GenApi
