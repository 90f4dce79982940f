#include "DependencyCycles.h"

#include <cstring>
#include <string>
#include <string_view>

#include "GenApi/GCException.h"

namespace GenApi {

namespace {

enum class Mark : unsigned char { New, OnPath, Done };

// Ranges and access are read apart from the value: a node's maximum may
// depend on its own value without a loop.
bool IsValueLink(ArvGcPropertyNodeType type) {
    switch (type) {
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_ADDRESS:
        case ARV_GC_PROPERTY_NODE_TYPE_P_INDEX:
        case ARV_GC_PROPERTY_NODE_TYPE_P_LENGTH:
        case ARV_GC_PROPERTY_NODE_TYPE_P_PORT:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VARIABLE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_INDEXED:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_DEFAULT:
            return true;
        default:
            return false;
    }
}

bool IsStructEntry(ArvDomNode* node) {
    const char* tag = arv_dom_node_get_node_name(node);
    return tag && std::strcmp(tag, "StructEntry") == 0;
}

std::string NameOf(ArvGcFeatureNode* node) {
    const char* name = arv_gc_feature_node_get_name(node);
    return name ? name : "?";
}

// The links as the engine resolves them: what the text pass could not read.
class Graph {
public:
    Graph(const std::vector<ArvGcFeatureNode*>& nodes, const NodeIndex& index)
        : m_nodes(nodes), m_index(index) {}

    // What the engine evaluates to get a node's value: its value links, those
    // of the entries of an enumeration and, for an entry of a struct register,
    // those of the register whose address and port it uses.
    void AppendDependencies(size_t node, std::vector<size_t>& out) const {
        ArvDomNode* dom = ARV_DOM_NODE(m_nodes[node]);
        const bool enumeration = ARV_IS_GC_ENUMERATION(dom);
        AppendLinks(dom, enumeration, out);
        if (IsStructEntry(dom)) {
            if (ArvDomNode* parent = arv_dom_node_get_parent_node(dom)) {
                AppendLinks(parent, false, out);
            }
        }
    }

private:
    void AppendLinks(ArvDomNode* dom, bool withEntries, std::vector<size_t>& out) const {
        for (ArvDomNode* child = arv_dom_node_get_first_child(dom); child;
             child = arv_dom_node_get_next_sibling(child)) {
            if (ARV_IS_GC_PROPERTY_NODE(child)) {
                if (!IsValueLink(arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child)))) {
                    continue;
                }
                ArvGcNode* linked =
                    arv_gc_property_node_get_linked_node(ARV_GC_PROPERTY_NODE(child));
                const char* name = linked && ARV_IS_GC_FEATURE_NODE(linked)
                                       ? arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(linked))
                                       : nullptr;
                const auto it = name ? m_index.find(name) : m_index.end();
                if (it != m_index.end()) {
                    out.push_back(it->second);
                }
            } else if (withEntries && ARV_IS_GC_ENUM_ENTRY(child)) {
                AppendLinks(child, false, out);
            }
        }
    }

    const std::vector<ArvGcFeatureNode*>& m_nodes;
    const NodeIndex& m_index;
};

[[noreturn]] void ThrowCycle(const std::vector<ArvGcFeatureNode*>& nodes,
                             const std::vector<size_t>& path, size_t closing) {
    std::string cycle;
    size_t start = 0;
    while (path[start] != closing) {
        ++start;
    }
    for (size_t i = start; i < path.size(); ++i) {
        cycle += NameOf(nodes[path[i]]) + " -> ";
    }
    cycle += NameOf(nodes[closing]);
    throw RUNTIME_EXCEPTION("Cannot create node map: the nodes depend on each other in a cycle: %s",
                            cycle.c_str());
}

// Links of each node as offsets into one list of targets.
struct Adjacency {
    std::vector<size_t> begin;  // one more than there are nodes
    std::vector<size_t> targets;
};

Adjacency FromOutline(size_t count, const NodeIndex& index, const DescriptionOutline& outline) {
    std::vector<std::pair<size_t, size_t>> edges;
    edges.reserve(outline.links.size());
    for (const NamedLink& link : outline.links) {
        const auto from = index.find(outline.elements[link.from].name);
        const auto to = index.find(link.target);
        if (from != index.end() && to != index.end()) {
            edges.emplace_back(from->second, to->second);
        }
    }
    Adjacency adjacency{std::vector<size_t>(count + 1, 0), std::vector<size_t>(edges.size())};
    for (const auto& edge : edges) {
        ++adjacency.begin[edge.first + 1];
    }
    for (size_t i = 0; i < count; ++i) {
        adjacency.begin[i + 1] += adjacency.begin[i];
    }
    std::vector<size_t> fill(adjacency.begin.begin(), adjacency.begin.end() - 1);
    for (const auto& edge : edges) {
        adjacency.targets[fill[edge.first]++] = edge.second;
    }
    return adjacency;
}

Adjacency FromEngine(const std::vector<ArvGcFeatureNode*>& nodes, const NodeIndex& index) {
    const Graph graph(nodes, index);
    Adjacency adjacency;
    adjacency.begin.reserve(nodes.size() + 1);
    for (size_t i = 0; i < nodes.size(); ++i) {
        adjacency.begin.push_back(adjacency.targets.size());
        graph.AppendDependencies(i, adjacency.targets);
    }
    adjacency.begin.push_back(adjacency.targets.size());
    return adjacency;
}

}  // namespace

// Depth-first search with its own stacks: a long chain of links must not
// cost the stack that the check protects.
void RefuseDependencyCycles(const std::vector<ArvGcFeatureNode*>& nodes, const NodeIndex& index,
                            const DescriptionOutline& outline) {
    const Adjacency graph = outline.linksComplete ? FromOutline(nodes.size(), index, outline)
                                                  : FromEngine(nodes, index);
    std::vector<Mark> marks(nodes.size(), Mark::New);
    struct Frame {
        size_t node;
        size_t next;  // next link of the node in graph.targets
    };
    std::vector<size_t> path;
    std::vector<Frame> frames;
    for (size_t root = 0; root < nodes.size(); ++root) {
        if (marks[root] != Mark::New) {
            continue;
        }
        marks[root] = Mark::OnPath;
        path.push_back(root);
        frames.push_back({root, graph.begin[root]});
        while (!frames.empty()) {
            Frame& frame = frames.back();
            if (frame.next == graph.begin[frame.node + 1]) {
                marks[frame.node] = Mark::Done;
                path.pop_back();
                frames.pop_back();
                continue;
            }
            const size_t next = graph.targets[frame.next++];
            if (marks[next] == Mark::OnPath) {
                ThrowCycle(nodes, path, next);
            }
            if (marks[next] == Mark::Done) {
                continue;
            }
            marks[next] = Mark::OnPath;
            path.push_back(next);
            frames.push_back({next, graph.begin[next]});
        }
    }
}

}  // namespace GenApi
