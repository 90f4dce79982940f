#pragma once

#include <arv.h>

#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

#include "GenApi/NodeCallback.h"

namespace GenApi {

// Who depends on whom in one description, from the pointer properties of
// every node: a change reaches the nodes it is written through (pValue), then
// everything that reads any of them, transitively.
class CDependencyGraph {
public:
    explicit CDependencyGraph(const std::vector<ArvGcFeatureNode*>& nodes);

    std::set<ArvDomNode*> Reached(ArvDomNode* changed) const;
    // The selectors whose pSelected names node.
    std::vector<ArvDomNode*> Selecting(ArvDomNode* node) const;
    // Nodes with a <PollingTime>, with that time.
    const std::vector<std::pair<ArvGcFeatureNode*, int64_t>>& Polled() const { return m_polled; }

private:
    using Edges = std::unordered_map<ArvDomNode*, std::vector<ArvDomNode*>>;
    void AddProperties(ArvDomNode* owner, ArvDomNode* propertiesOf);
    static const std::vector<ArvDomNode*>& Of(const Edges& edges, ArvDomNode* node);

    Edges m_dependents;
    Edges m_writes;
    Edges m_selecting;
    std::vector<std::pair<ArvGcFeatureNode*, int64_t>> m_polled;
};

// Registered callbacks of one node map. Handles are unique in the process so
// that the free Deregister finds the list that holds one.
class CCallbackList {
public:
    struct Entry {
        CallbackHandleType handle;
        ArvDomNode* node;
        std::shared_ptr<CNodeCallback> callback;
    };

    CCallbackList() = default;
    ~CCallbackList();
    CCallbackList(const CCallbackList&) = delete;
    CCallbackList& operator=(const CCallbackList&) = delete;

    CallbackHandleType Add(ArvDomNode* node, CNodeCallback* callback);
    // Only a callback of that node when node is given.
    bool Remove(CallbackHandleType handle, ArvDomNode* node);
    bool Contains(CallbackHandleType handle) const;
    std::vector<Entry> All() const;
    std::vector<Entry> On(const std::set<ArvDomNode*>& nodes) const;

    // Removes under the registry's lock, held by the caller.
    bool RemoveRegistered(CallbackHandleType handle, ArvDomNode* node);

private:
    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

// Time a polled node has waited since it was last refreshed.
struct CPolledNode {
    ArvGcFeatureNode* node;
    int64_t period;
    int64_t elapsed;
};

}  // namespace GenApi
