#pragma once

#include <arv.h>

#include <string>

#include "GenApi/Pointer.h"
#include "NodeMap.h"

namespace GenApi {

// Common part of every node wrapper: identity, access mode and the engine-call
// plumbing that the value interfaces build on.
class CNode : public virtual INode {
public:
    CNode(CNodeMap& map, ArvGcFeatureNode* node, std::string name, EInterfaceType type);
    ~CNode() override = default;

    EAccessMode GetAccessMode() const override;
    gcstring GetName(bool FullQualified = false) const override;
    EInterfaceType GetPrincipalInterfaceType() const override { return m_type; }
    gcstring GetDescription() const override;
    gcstring GetToolTip() const override;
    gcstring GetDisplayName() const override;
    EVisibility GetVisibility() const override;
    INodeMap* GetNodeMap() const override { return &m_map; }
    bool IsFeature() const override;
    void GetSelectedFeatures(FeatureList_t& features) const override;
    bool IsSelector() const override;
    void GetSelectingFeatures(FeatureList_t& features) const override;
    bool IsStreamable() const override;
    CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
    bool DeregisterCallback(CallbackHandleType hCallback) override;

    ArvGcFeatureNode* EngineNode() const { return m_node; }
    const std::string& Name() const { return m_name; }

protected:
    template <class F>
    auto Call(bool ignoreCache, F&& engineCall) const {
        auto lock = Lock();
        const bool bypass = ignoreCache || m_seenGeneration != m_map.Generation();
        m_seenGeneration = m_map.Generation();
        return m_map.CallLocked(m_name, Port(), bypass, std::forward<F>(engineCall));
    }
    std::unique_lock<std::recursive_mutex> Lock() const {
        return std::unique_lock<std::recursive_mutex>(m_map.Mutex());
    }
    // Fires the callbacks of the node and of what depends on it, after
    // releasing lock (the write's own). Values of the selected features depend
    // on a selector; the engine's cache does not always see that, so a
    // selector write invalidates the map.
    void AfterWrite(std::unique_lock<std::recursive_mutex>& lock) const;
    void RequireReadable(bool verify) const;
    void RequireWritable(bool verify) const;
    [[noreturn]] void ThrowInvalidValue(const std::string& value) const;
    CNodeMap& Map() const { return m_map; }

private:
    // Walking a node's dependencies costs more than building the node; most
    // nodes of a large description are never accessed.
    const std::string& Port() const {
        if (!m_portKnown) {
            m_port = CNodeMap::SolePort(m_node);
            m_portKnown = true;
        }
        return m_port;
    }

    CNodeMap& m_map;
    ArvGcFeatureNode* m_node;
    std::string m_name;
    EInterfaceType m_type;
    mutable std::string m_port;
    mutable bool m_portKnown = false;
    mutable uint64_t m_seenGeneration = 0;
};

// Nodes the layer lists but offers no value interface for (groups, struct
// containers, unknown node kinds).
class CPlainNode final : public CNode {
public:
    using CNode::CNode;
};

}  // namespace GenApi
