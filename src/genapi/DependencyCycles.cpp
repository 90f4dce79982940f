#include "DependencyCycles.h"

#include <cstring>
#include <string>
#include <unordered_map>

#include "GenApi/GCException.h"

namespace GenApi {

namespace {

enum class Mark : unsigned char { OnPath, Done };

bool IsValueLink(ArvGcPropertyNodeType type) {
    return type > ARV_GC_PROPERTY_NODE_TYPE_P_UNKNONW &&
           type != ARV_GC_PROPERTY_NODE_TYPE_P_FEATURE &&
           type != ARV_GC_PROPERTY_NODE_TYPE_P_SELECTED &&
           type != ARV_GC_PROPERTY_NODE_TYPE_P_INVALIDATOR;
}

bool IsStructEntry(ArvDomNode* node) {
    const char* tag = arv_dom_node_get_node_name(node);
    return tag && std::strcmp(tag, "StructEntry") == 0;
}

std::string NameOf(ArvDomNode* node) {
    if (ARV_IS_GC_FEATURE_NODE(node)) {
        const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(node));
        if (name) {
            return name;
        }
    }
    const char* tag = arv_dom_node_get_node_name(node);
    return tag ? tag : "?";
}

// What the engine evaluates to get a node's value: its value links, the
// entries of an enumeration and, for an entry of a struct register, the
// register whose address and port it uses.
void AppendDependencies(ArvDomNode* node, std::vector<ArvDomNode*>& out) {
    const bool enumeration = ARV_IS_GC_ENUMERATION(node);
    for (ArvDomNode* child = arv_dom_node_get_first_child(node); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_PROPERTY_NODE(child)) {
            auto* property = ARV_GC_PROPERTY_NODE(child);
            if (!IsValueLink(arv_gc_property_node_get_node_type(property))) {
                continue;
            }
            if (ArvGcNode* linked = arv_gc_property_node_get_linked_node(property)) {
                out.push_back(ARV_DOM_NODE(linked));
            }
        } else if (enumeration && ARV_IS_GC_ENUM_ENTRY(child)) {
            out.push_back(child);
        }
    }
    if (IsStructEntry(node)) {
        if (ArvDomNode* parent = arv_dom_node_get_parent_node(node)) {
            out.push_back(parent);
        }
    }
}

[[noreturn]] void ThrowCycle(const std::vector<ArvDomNode*>& path, ArvDomNode* closing) {
    std::string cycle;
    size_t start = 0;
    while (path[start] != closing) {
        ++start;
    }
    for (size_t i = start; i < path.size(); ++i) {
        cycle += NameOf(path[i]) + " -> ";
    }
    cycle += NameOf(closing);
    throw RUNTIME_EXCEPTION("Cannot create node map: the nodes depend on each other in a cycle: %s",
                            cycle.c_str());
}

}  // namespace

// Depth-first search with its own stacks: a long chain of links must not
// cost the stack that the check protects.
void RefuseDependencyCycles(const std::vector<ArvGcFeatureNode*>& nodes) {
    std::unordered_map<ArvDomNode*, Mark> marks;
    marks.reserve(nodes.size() * 2);
    struct Frame {
        size_t next;  // next dependency of this node in `pending`
        size_t end;
    };
    std::vector<ArvDomNode*> path;
    std::vector<Frame> frames;
    std::vector<ArvDomNode*> pending;
    for (ArvGcFeatureNode* root : nodes) {
        auto* start = ARV_DOM_NODE(root);
        if (!marks.emplace(start, Mark::OnPath).second) {
            continue;
        }
        path.push_back(start);
        AppendDependencies(start, pending);
        frames.push_back({0, pending.size()});
        while (!frames.empty()) {
            Frame& frame = frames.back();
            if (frame.next == frame.end) {
                marks[path.back()] = Mark::Done;
                path.pop_back();
                frames.pop_back();
                pending.resize(frames.empty() ? 0 : frames.back().end);
                continue;
            }
            ArvDomNode* next = pending[frame.next++];
            const auto [it, fresh] = marks.emplace(next, Mark::OnPath);
            if (!fresh) {
                if (it->second == Mark::OnPath) {
                    ThrowCycle(path, next);
                }
                continue;
            }
            path.push_back(next);
            const size_t begin = pending.size();
            AppendDependencies(next, pending);
            frames.push_back({begin, pending.size()});
        }
    }
}

}  // namespace GenApi
