#include "Callbacks.h"

#include <algorithm>

#include "Node.h"
#include "NodeMap.h"

namespace GenApi {

namespace {

// Maps every live handle to the list that holds it. Lock order: this mutex,
// then a list's own.
std::mutex g_registryMutex;
std::unordered_map<CallbackHandleType, CCallbackList*> g_registry;
CallbackHandleType g_lastHandle = 0;

}  // namespace

bool Deregister(CallbackHandleType hCallback) {
    std::lock_guard<std::mutex> guard(g_registryMutex);
    auto it = g_registry.find(hCallback);
    if (it == g_registry.end()) {
        return false;
    }
    return it->second->RemoveRegistered(hCallback, nullptr);
}

CCallbackList::~CCallbackList() {
    std::lock_guard<std::mutex> guard(g_registryMutex);
    for (const Entry& entry : m_entries) {
        g_registry.erase(entry.handle);
    }
}

CallbackHandleType CCallbackList::Add(ArvDomNode* node, CNodeCallback* callback) {
    std::shared_ptr<CNodeCallback> owned(callback, [](CNodeCallback* c) { c->Destroy(); });
    std::lock_guard<std::mutex> guard(g_registryMutex);
    const CallbackHandleType handle = ++g_lastHandle;
    g_registry[handle] = this;
    std::lock_guard<std::mutex> listGuard(m_mutex);
    m_entries.push_back({handle, node, std::move(owned)});
    return handle;
}

bool CCallbackList::Remove(CallbackHandleType handle, ArvDomNode* node) {
    std::lock_guard<std::mutex> guard(g_registryMutex);
    return RemoveRegistered(handle, node);
}

bool CCallbackList::RemoveRegistered(CallbackHandleType handle, ArvDomNode* node) {
    std::shared_ptr<CNodeCallback> removed;  // destroyed once both locks are released
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
            return entry.handle == handle && (!node || entry.node == node);
        });
        if (it == m_entries.end()) {
            return false;
        }
        removed = std::move(it->callback);
        m_entries.erase(it);
    }
    g_registry.erase(handle);
    return true;
}

bool CCallbackList::Contains(CallbackHandleType handle) const {
    std::lock_guard<std::mutex> guard(m_mutex);
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [handle](const Entry& entry) { return entry.handle == handle; });
}

std::vector<CCallbackList::Entry> CCallbackList::All() const {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_entries;
}

std::vector<CCallbackList::Entry> CCallbackList::On(const std::set<ArvDomNode*>& nodes) const {
    std::vector<Entry> selected;
    std::lock_guard<std::mutex> guard(m_mutex);
    for (const Entry& entry : m_entries) {
        if (nodes.count(entry.node)) {
            selected.push_back(entry);
        }
    }
    return selected;
}

CDependencyGraph::CDependencyGraph(const std::vector<ArvGcFeatureNode*>& nodes) {
    for (ArvGcFeatureNode* feature : nodes) {
        ArvDomNode* node = ARV_DOM_NODE(feature);
        AddProperties(node, node);
        if (ARV_IS_GC_ENUM_ENTRY(feature)) {
            // What makes an entry available is part of its enumeration's state.
            if (ArvDomNode* enumeration = arv_dom_node_get_parent_node(node)) {
                m_dependents[node].push_back(enumeration);
            }
        }
    }
}

void CDependencyGraph::AddProperties(ArvDomNode* owner, ArvDomNode* propertiesOf) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(propertiesOf); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_GC_PROPERTY_NODE(child)) {
            continue;
        }
        ArvGcPropertyNode* property = ARV_GC_PROPERTY_NODE(child);
        const ArvGcPropertyNodeType type = arv_gc_property_node_get_node_type(property);
        if (type == ARV_GC_PROPERTY_NODE_TYPE_POLLING_TIME) {
            GError* error = nullptr;
            const int64_t period = arv_gc_property_node_get_int64(property, &error);
            if (error) {
                g_error_free(error);
            } else if (period > 0) {
                m_polled.emplace_back(ARV_GC_FEATURE_NODE(owner), period);
            }
            continue;
        }
        if (type <= ARV_GC_PROPERTY_NODE_TYPE_P_UNKNONW) {
            continue;
        }
        ArvGcNode* linkedNode = arv_gc_property_node_get_linked_node(property);
        if (!linkedNode) {
            continue;
        }
        ArvDomNode* linked = ARV_DOM_NODE(linkedNode);
        if (type == ARV_GC_PROPERTY_NODE_TYPE_P_SELECTED) {
            m_dependents[owner].push_back(linked);
            m_selecting[linked].push_back(owner);
            continue;
        }
        m_dependents[linked].push_back(owner);
        if (type == ARV_GC_PROPERTY_NODE_TYPE_P_VALUE) {
            m_writes[owner].push_back(linked);
        }
    }
}

const std::vector<ArvDomNode*>& CDependencyGraph::Of(const Edges& edges, ArvDomNode* node) {
    static const std::vector<ArvDomNode*> none;
    auto it = edges.find(node);
    return it == edges.end() ? none : it->second;
}

std::set<ArvDomNode*> CDependencyGraph::Reached(ArvDomNode* changed) const {
    std::set<ArvDomNode*> written{changed};
    std::vector<ArvDomNode*> pending{changed};
    while (!pending.empty()) {
        ArvDomNode* node = pending.back();
        pending.pop_back();
        for (ArvDomNode* target : Of(m_writes, node)) {
            if (written.insert(target).second) {
                pending.push_back(target);
            }
        }
    }
    std::set<ArvDomNode*> reached = written;
    pending.assign(written.begin(), written.end());
    while (!pending.empty()) {
        ArvDomNode* node = pending.back();
        pending.pop_back();
        for (ArvDomNode* dependent : Of(m_dependents, node)) {
            if (reached.insert(dependent).second) {
                pending.push_back(dependent);
            }
        }
    }
    return reached;
}

std::vector<ArvDomNode*> CDependencyGraph::Selecting(ArvDomNode* node) const {
    return Of(m_selecting, node);
}

const CDependencyGraph& CNodeMap::Dependencies() const {
    if (!m_dependencies) {
        std::vector<ArvGcFeatureNode*> nodes;
        MaterializeAll();  // enumerations add their entries' slots
        nodes.reserve(m_slots.size());
        for (const Slot& slot : m_slots) {
            nodes.push_back(slot.node);
        }
        m_dependencies = std::make_unique<CDependencyGraph>(nodes);
        for (const auto& [node, period] : m_dependencies->Polled()) {
            m_polled.push_back({node, period, 0});
        }
    }
    return *m_dependencies;
}

CallbackHandleType CNodeMap::AddCallback(CNodeCallback* callback) const {
    auto* node = callback ? dynamic_cast<CNode*>(callback->GetNode()) : nullptr;
    if (!node || node->GetNodeMap() != this) {
        if (callback) {
            callback->Destroy();
        }
        throw INVALID_ARGUMENT_EXCEPTION("Callback is not bound to a node of this node map");
    }
    return m_callbacks.Add(ARV_DOM_NODE(node->EngineNode()), callback);
}

bool CNodeMap::RemoveCallback(CallbackHandleType handle, const INode* node) const {
    const auto* wrapper = dynamic_cast<const CNode*>(node);
    return wrapper && m_callbacks.Remove(handle, ARV_DOM_NODE(wrapper->EngineNode()));
}

std::vector<CCallbackList::Entry> CNodeMap::Changed(ArvGcFeatureNode* node, bool invalidate) const {
    if (invalidate) {
        ++m_generation;
    }
    if (m_callbacks.All().empty()) {
        return {};  // writes without listeners skip the graph
    }
    return m_callbacks.On(Dependencies().Reached(ARV_DOM_NODE(node)));
}

// A callback may deregister itself or another one: each is checked just
// before it runs.
void CNodeMap::Fire(const std::vector<CCallbackList::Entry>& callbacks) const {
    for (ECallbackType type : {cbPostInsideLock, cbPostOutsideLock}) {
        for (const CCallbackList::Entry& entry : callbacks) {
            if (m_callbacks.Contains(entry.handle)) {
                (*entry.callback)(type);
            }
        }
    }
}

void CNodeMap::GetSelecting(ArvGcFeatureNode* node, FeatureList_t& selecting) const {
    selecting.clear();
    std::lock_guard<std::recursive_mutex> guard(Mutex());
    for (ArvDomNode* selector : Dependencies().Selecting(ARV_DOM_NODE(node))) {
        if (auto* value = dynamic_cast<IValue*>(Wrap(ARV_GC_NODE(selector)))) {
            selecting.push_back(value);
        }
    }
}

// A node whose polling time has run out is read anew and its callbacks fire,
// so that a view of a changing status (a temperature) refreshes.
void CNodeMap::Poll(int64_t ElapsedTime) {
    std::unique_lock<std::recursive_mutex> guard(Mutex());
    Dependencies();
    std::set<ArvDomNode*> reached;
    for (CPolledNode& polled : m_polled) {
        polled.elapsed += std::max<int64_t>(ElapsedTime, 0);
        if (polled.elapsed < polled.period) {
            continue;
        }
        polled.elapsed = 0;
        const std::set<ArvDomNode*> fromNode = m_dependencies->Reached(ARV_DOM_NODE(polled.node));
        reached.insert(fromNode.begin(), fromNode.end());
    }
    if (reached.empty()) {
        return;
    }
    ++m_generation;
    const std::vector<CCallbackList::Entry> pending = m_callbacks.On(reached);
    guard.unlock();
    Fire(pending);
}

CallbackHandleType CNode::RegisterCallback(CNodeCallback* pCallback) {
    return m_map.AddCallback(pCallback);
}

bool CNode::DeregisterCallback(CallbackHandleType hCallback) {
    return m_map.RemoveCallback(hCallback, this);
}

}  // namespace GenApi
