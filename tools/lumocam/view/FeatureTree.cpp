#include "FeatureTree.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Features.h"

namespace lumocam {

using namespace GenApi;

namespace {

// The page hides a node of undefined visibility at every level.
const char* VisibilityName(EVisibility visibility) {
    const char* name = lumoclient::VisibilityName(visibility);
    return *name != '\0' ? name : "invisible";
}

// What a control needs besides the value, read before anything is written so
// that a read failing halfway leaves no half-written feature.
struct Limits {
    enum class Kind { None, Integer, Float, Enumeration } kind = Kind::None;
    std::int64_t intMin = 0, intMax = 0, intInc = 1;
    double floatMin = 0, floatMax = 0, floatInc = 0;
    bool hasFloatInc = false;
    std::vector<std::pair<std::string, std::string>> entries;  // name, display name
};

Limits ReadLimits(INode* node) {
    Limits limits;
    if (CIntegerPtr integer = CIntegerPtr(node)) {
        limits.kind = Limits::Kind::Integer;
        limits.intMin = integer->GetMin();
        limits.intMax = integer->GetMax();
        limits.intInc = integer->GetInc();
    } else if (CFloatPtr floating = CFloatPtr(node)) {
        limits.kind = Limits::Kind::Float;
        limits.floatMin = floating->GetMin();
        limits.floatMax = floating->GetMax();
        limits.hasFloatInc = floating->HasInc();
        limits.floatInc = limits.hasFloatInc ? floating->GetInc() : 0;
    } else if (CEnumerationPtr enumeration = CEnumerationPtr(node)) {
        limits.kind = Limits::Kind::Enumeration;
        // Only what can be chosen now: an unavailable entry would be refused.
        NodeList_t entries;
        enumeration->GetEntries(entries);
        for (INode* item : entries) {
            CEnumEntryPtr entry(item);
            if (entry && IsAvailable(entry)) {
                // A display name that is only the node's name says less than the symbolic one.
                const std::string symbolic = entry->GetSymbolic().str();
                const std::string display = item->GetDisplayName().str();
                limits.entries.emplace_back(symbolic,
                                            display == item->GetName().str() ? symbolic : display);
            }
        }
    }
    return limits;
}

void WriteLimits(JsonWriter& json, const Limits& limits) {
    switch (limits.kind) {
        case Limits::Kind::Integer:
            json.Field("min", limits.intMin).Field("max", limits.intMax);
            json.Field("inc", limits.intInc);
            break;
        case Limits::Kind::Float:
            json.Field("min", limits.floatMin).Field("max", limits.floatMax);
            if (limits.hasFloatInc) {
                json.Field("inc", limits.floatInc);
            }
            break;
        case Limits::Kind::Enumeration:
            json.Key("entries").BeginArray();
            for (const auto& [name, displayName] : limits.entries) {
                json.BeginObject().Field("name", name).Field("displayName", displayName);
                json.EndObject();
            }
            json.EndArray();
            break;
        case Limits::Kind::None:
            break;
    }
}

void WriteNode(JsonWriter& json, INode* node, std::set<INode*>& seen,
               const PausableTest& pausable) {
    if (!seen.insert(node).second) {
        return;  // a feature listed in two categories is shown once
    }
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    if (type != intfICategory) {
        WriteFeature(json, node, !IsWritable(node) && pausable(node->GetName().str()));
        return;
    }
    json.BeginObject()
        .Field("name", node->GetName().str())
        .Field("displayName", node->GetDisplayName().str())
        .Field("type", "category")
        .Field("tooltip", node->GetToolTip().str());
    json.Key("children").BeginArray();
    FeatureList_t children;
    CCategoryPtr(node)->GetFeatures(children);
    for (IValue* child : children) {
        if (INode* childNode = child->GetNode(); childNode != nullptr && IsImplemented(childNode)) {
            WriteNode(json, childNode, seen, pausable);
        }
    }
    json.EndArray().EndObject();
}

}  // namespace

void WriteFeature(JsonWriter& json, INode* node, bool pausable) {
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    const EAccessMode mode = node->GetAccessMode();
    json.BeginObject()
        .Field("name", node->GetName().str())
        .Field("displayName", node->GetDisplayName().str())
        .Field("type", InterfaceTypeName(type))
        .Field("access", AccessModeName(mode))
        .Field("visibility", VisibilityName(node->GetVisibility()))
        .Field("tooltip", node->GetToolTip().str());
    const std::string unit = FeatureUnit(node);
    if (!unit.empty()) {
        json.Field("unit", unit);
    }
    if (pausable) {
        json.Field("pausable", true);
    }
    if (type == intfICommand || !IsReadable(mode)) {
        json.EndObject();
        return;
    }
    try {
        const std::string value = CValuePtr(node)->ToString().str();
        const Limits limits = ReadLimits(node);
        json.Field("value", value);
        WriteLimits(json, limits);
    } catch (const GenICam::GenericException& e) {
        json.Field("error", e.GetDescription());
    }
    json.EndObject();
}

void WriteFeatureTree(JsonWriter& json, INodeMap& map, const PausableTest& pausable) {
    std::set<INode*> seen;
    json.Key("root");
    if (INode* root = map.GetNode("Root"); root != nullptr && CCategoryPtr(root)) {
        WriteNode(json, root, seen, pausable);
        return;
    }
    // Without a Root category every feature hangs under one made-up category.
    json.BeginObject().Field("name", "Root").Field("displayName", "Features");
    json.Field("type", "category").Key("children").BeginArray();
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        if (node->IsFeature() && node->GetPrincipalInterfaceType() != intfICategory) {
            WriteNode(json, node, seen, pausable);
        }
    }
    json.EndArray().EndObject();
}

FeatureWatch::FeatureWatch(INodeMap& map, std::atomic<std::uint64_t>& counter) {
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        if (!node->IsFeature()) {
            continue;
        }
        const CallbackHandleType handle = Register(node, [&counter](INode*) { ++counter; });
        if (handle != 0) {
            m_handles.emplace_back(node, handle);
        }
    }
}

FeatureWatch::~FeatureWatch() {
    for (const auto& [node, handle] : m_handles) {
        node->DeregisterCallback(handle);
    }
}

}  // namespace lumocam
