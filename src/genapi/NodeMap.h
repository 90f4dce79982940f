#pragma once

#include <arv.h>

#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "BridgeDevice.h"
#include "Callbacks.h"
#include "ChunkPorts.h"
#include "GenApi/INodeMap.h"
#include "ValidValues.h"

namespace GenApi {

class CNode;
struct NamedElement;

// glib log domain of the layer's own messages (nodes left out of a map).
inline constexpr const char* kLogDomain = "LumoGenApi";

class CRecursiveLock final : public ILock {
public:
    void Lock() override { m_mutex.lock(); }
    void Unlock() override { m_mutex.unlock(); }
    bool TryLock() override { return m_mutex.try_lock(); }
    std::recursive_mutex& Mutex() { return m_mutex; }

private:
    std::recursive_mutex m_mutex;
};

// One engine document with its bridge device, its node wrappers and its port
// connections. Every engine call runs under the map's recursive lock.
class CNodeMap final : public INodeMap, private IBridgeTarget {
public:
    // Throws GenICam::RuntimeException with the parser's reason for a broken description.
    static std::shared_ptr<CNodeMap> Create(const gcstring& deviceName, const char* xml,
                                            size_t size);
    ~CNodeMap() override;
    CNodeMap(const CNodeMap&) = delete;
    CNodeMap& operator=(const CNodeMap&) = delete;

    void GetNodes(NodeList_t& Nodes) const override;
    INode* GetNode(const gcstring& Name) const override;
    void InvalidateNodes() const override;
    bool Connect(IPort* pPort, const gcstring& PortName) const override;
    bool Connect(IPort* pPort) const override;
    gcstring GetDeviceName() override { return m_deviceName; }
    void Poll(int64_t ElapsedTime) override;
    ILock& GetLock() const override { return m_lock; }
    uint64_t GetNumNodes() const override;

    std::recursive_mutex& Mutex() const { return m_lock.Mutex(); }
    CNode* Wrap(ArvGcNode* node) const;
    // Name of the one port node that accesses to this node can reach, or empty.
    static std::string SolePort(ArvGcFeatureNode* node);
    uint64_t Generation() const { return m_generation; }
    // The <ValidValueSet> of a node as written, or null when it has none.
    const std::vector<std::string>* ValidValues(std::string_view name) const {
        const auto it = m_validValues.find(name);
        return it == m_validValues.end() ? nullptr : &it->second;
    }

    // Node callbacks and what a change reaches (Callbacks.cpp).
    CallbackHandleType AddCallback(CNodeCallback* callback) const;
    bool RemoveCallback(CallbackHandleType handle, const INode* node) const;
    // A write through the map changed node: returns the callbacks of every
    // node that depends on it, for Fire once the map's lock is released;
    // invalidate drops every cached value. The caller holds Mutex().
    std::vector<CCallbackList::Entry> Changed(ArvGcFeatureNode* node, bool invalidate) const;
    // Runs callbacks collected under the lock. Called without the lock, so that
    // a callback may read or write the map, or wait for a thread that does.
    void Fire(const std::vector<CCallbackList::Entry>& callbacks) const;
    void GetSelecting(ArvGcFeatureNode* node, FeatureList_t& selecting) const;

    // Ports with a ChunkID, which read the chunk data a chunk adapter attaches
    // (ChunkPorts.cpp).
    const std::vector<std::unique_ptr<CChunkPort>>& ChunkPorts() const { return m_chunkPorts; }
    // Ports with an EventID, which read the data of the last event delivered.
    const std::vector<std::unique_ptr<CChunkPort>>& EventPorts() const { return m_eventPorts; }

    // Runs one engine call under the lock with the register cache switched for
    // this call only; rethrows what a port threw, else turns the GError into
    // the matching GenICam exception naming the feature.
    template <class F>
    auto Call(const std::string& feature, const std::string& port, bool ignoreCache,
              F&& engineCall) const {
        std::lock_guard<std::recursive_mutex> guard(Mutex());
        return CallLocked(feature, port, ignoreCache, std::forward<F>(engineCall));
    }

    // Call for a caller that already holds Mutex().
    template <class F>
    auto CallLocked(const std::string& feature, const std::string& port, bool ignoreCache,
                    F&& engineCall) const {
        CacheSwitch cacheSwitch(*this, ignoreCache);
        PortHint hint(*this, port);
        GError* error = nullptr;
        if constexpr (std::is_void_v<decltype(engineCall(&error))>) {
            engineCall(&error);
            Raise(feature, error);
        } else {
            auto result = engineCall(&error);
            Raise(feature, error);
            return result;
        }
    }

private:
    class CacheSwitch {
    public:
        CacheSwitch(const CNodeMap& map, bool ignoreCache);
        ~CacheSwitch();
        CacheSwitch(const CacheSwitch&) = delete;
        CacheSwitch& operator=(const CacheSwitch&) = delete;

    private:
        const CNodeMap& m_map;
        bool m_switched;
    };

    // The engine does not say which port node issued an access; the node
    // being accessed does, when everything it depends on uses one port.
    class PortHint {
    public:
        PortHint(const CNodeMap& map, const std::string& port)
            : m_map(map), m_saved(map.m_portHint) {
            m_map.m_portHint = &port;
        }
        ~PortHint() { m_map.m_portHint = m_saved; }
        PortHint(const PortHint&) = delete;
        PortHint& operator=(const PortHint&) = delete;

    private:
        const CNodeMap& m_map;
        const std::string* m_saved;
    };

    explicit CNodeMap(const gcstring& deviceName);
    void Load(const char* xml, size_t size);
    void CollectNodes(const std::vector<NamedElement>& elements);
    std::unique_ptr<CNode> MakeWrapper(ArvGcFeatureNode* node, const std::string& name);
    std::unique_ptr<CNode> MakeEnumeration(ArvGcFeatureNode* node, const std::string& name);
    CNode* Materialize(size_t index) const;
    void MaterializeAll() const;
    CNode* Find(std::string_view name) const;
    void Raise(const std::string& feature, GError* error) const;
    IPort* PortFor() const;
    const CDependencyGraph& Dependencies() const;
    void ServeChunkPorts(const PortIds& ids);
    bool IsChunkPort(const std::string& name) const;

    bool BridgeRead(uint64_t address, uint32_t size, void* buffer, GError** error) override;
    bool BridgeWrite(uint64_t address, uint32_t size, const void* buffer, GError** error) override;
    bool Transfer(uint64_t address, uint32_t size, void* readBuffer, const void* writeBuffer,
                  GError** error);

    gcstring m_deviceName;
    mutable CRecursiveLock m_lock;
    ArvDevice* m_device = nullptr;
    ArvGc* m_gc = nullptr;
    // One slot per node, in document order; the wrapper is made on first use.
    struct Slot {
        ArvGcFeatureNode* node;
        std::unique_ptr<CNode> wrapper;
    };
    mutable std::vector<Slot> m_slots;
    // Slot indexes; the keys view names that live as long as the map.
    mutable std::unordered_map<std::string_view, size_t> m_byName;
    mutable std::map<std::string, IPort*> m_ports;
    mutable IPort* m_lastPort = nullptr;
    mutable std::exception_ptr m_portFailure;
    mutable bool m_cacheEnabled = true;
    mutable uint64_t m_generation = 0;
    mutable const std::string* m_portHint = nullptr;
    mutable std::unique_ptr<CDependencyGraph> m_dependencies;
    mutable CCallbackList m_callbacks;
    mutable std::vector<CPolledNode> m_polled;
    std::vector<std::unique_ptr<CChunkPort>> m_chunkPorts;
    std::vector<std::unique_ptr<CChunkPort>> m_eventPorts;
    ValidValueSets m_validValues;  // fixed once loaded
};

}  // namespace GenApi
