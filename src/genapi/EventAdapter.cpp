#include "GenApi/EventAdapter.h"

#include <cstdlib>
#include <vector>

#include "GenApi/GCException.h"
#include "Node.h"

namespace GenApi {

bool CEventAdapter::DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID) {
    auto* map = dynamic_cast<CNodeMap*>(m_pNodeMap);
    if (!map) {
        throw LOGICAL_ERROR_EXCEPTION("Event adapter: no node map attached");
    }
    if (!msg && numBytes > 0) {
        throw INVALID_ARGUMENT_EXCEPTION("Event adapter: %u bytes of data at null", numBytes);
    }
    std::unique_lock<std::recursive_mutex> guard(map->Mutex());
    bool delivered = false;
    std::vector<CCallbackList::Entry> pending;
    for (const auto& port : map->EventPorts()) {
        if (port->ChunkId() != EventID) {
            continue;
        }
        port->Keep(msg, numBytes);
        if (auto* node = dynamic_cast<CNode*>(map->GetNode(port->PortName().c_str()))) {
            for (auto& entry : map->Changed(node->EngineNode(), true)) {
                pending.push_back(std::move(entry));
            }
        }
        delivered = true;
    }
    guard.unlock();
    map->Fire(pending);
    return delivered;
}

bool CEventAdapter::DeliverMessage(const uint8_t msg[], uint32_t numBytes,
                                   const gcstring& EventID) {
    char* end = nullptr;
    const unsigned long long id = std::strtoull(EventID.c_str(), &end, 16);
    if (EventID.empty() || *end != '\0') {
        throw INVALID_ARGUMENT_EXCEPTION("Event adapter: event ID '%s' is not hexadecimal",
                                         EventID.c_str());
    }
    return DeliverMessage(msg, numBytes, static_cast<uint64_t>(id));
}

}  // namespace GenApi
