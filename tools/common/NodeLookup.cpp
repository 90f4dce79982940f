#include "NodeLookup.h"

#include <strings.h>

namespace lumoclient {

using namespace GenApi;

INode* FeatureInOtherCase(INodeMap& map, const std::string& name) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        if (node->IsFeature() && strcasecmp(node->GetName().c_str(), name.c_str()) == 0) {
            return node;
        }
    }
    return nullptr;
}

std::vector<std::string> AvailableEntryNames(IEnumeration& enumeration) {
    std::vector<std::string> names;
    NodeList_t entries;
    enumeration.GetEntries(entries);
    for (INode* item : entries) {
        CEnumEntryPtr entry(item);
        if (entry && IsAvailable(entry)) {
            names.push_back(entry->GetSymbolic().str());
        }
    }
    return names;
}

std::string AvailableEntryList(IEnumeration& enumeration) {
    std::string list;
    for (const std::string& name : AvailableEntryNames(enumeration)) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

}  // namespace lumoclient
