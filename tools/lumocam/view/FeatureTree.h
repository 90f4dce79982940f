#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "JsonWriter.h"

namespace lumocam {

// Whether a feature that is not writable now becomes writable when
// acquisition pauses (the page then keeps its control enabled).
using PausableTest = std::function<bool(const std::string& name)>;

// The node map's features by category, each with what its control needs:
// type, access, value, range and increment, available enumeration entries.
// A feature whose value cannot be read carries "error" instead of "value".
void WriteFeatureTree(JsonWriter& json, GenApi::INodeMap& map, const PausableTest& pausable);
// One feature as it appears in the tree.
void WriteFeature(JsonWriter& json, GenApi::INode* node, bool pausable);

// Counts value and access changes of every feature of a node map, through
// node callbacks; the page polls the counter to know when to reload values.
class FeatureWatch {
public:
    FeatureWatch(GenApi::INodeMap& map, std::atomic<std::uint64_t>& counter);
    ~FeatureWatch();
    FeatureWatch(const FeatureWatch&) = delete;
    FeatureWatch& operator=(const FeatureWatch&) = delete;

private:
    std::vector<std::pair<GenApi::INode*, GenApi::CallbackHandleType>> m_handles;
};

}  // namespace lumocam
