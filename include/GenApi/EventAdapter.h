#pragma once

#include <cstdint>

#include "INodeMap.h"

namespace GenApi {

// Delivers the data of device events to a node map: the ports with the
// event's EventID read it from then on, and the callbacks of the features
// behind them fire. The node map must outlive the adapter.
class GENAPI_DECL CEventAdapter {
public:
    explicit CEventAdapter(INodeMap* pNodeMap = nullptr) : m_pNodeMap(pNodeMap) {}
    virtual ~CEventAdapter() = default;
    CEventAdapter(const CEventAdapter&) = delete;
    CEventAdapter& operator=(const CEventAdapter&) = delete;

    virtual void AttachNodeMap(INodeMap* pNodeMap) { m_pNodeMap = pNodeMap; }
    virtual void DetachNodeMap() { m_pNodeMap = nullptr; }
    // Returns false when no port of the map takes this event.
    bool DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID);
    // EventID as the description writes it (hex, as GenTL reports it).
    bool DeliverMessage(const uint8_t msg[], uint32_t numBytes, const gcstring& EventID);

private:
    INodeMap* m_pNodeMap;
};

// The event data as GenTL hands it over: the payload only.
class GENAPI_DECL CEventAdapterGeneric : public CEventAdapter {
public:
    using CEventAdapter::CEventAdapter;
};

}  // namespace GenApi
