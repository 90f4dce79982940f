#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "GenApi/EventAdapter.h"
#include "INotify.h"
#include "LumoExport.h"
#include "LumoTypes.h"

namespace VEXOGENICAM {

class CCti;

// One GenTL event registration on a module, with the thread that delivers its
// events to the client's INotify while the registration is started. Device
// events (EVENT_REMOTE_DEVICE) first go to the remote node map, when one is
// given, so that its event features hold the event's data and their callbacks
// have fired by the time the client hears of it.
class LUMO_API CNotify {
public:
    static constexpr std::size_t kDataSize = 4096;

    CNotify(CCti* producer, void* module, int type, INotify* notify,
            NOTIFY_SRC source = NOTIFY_SRC_DEVICE, GenApi::INodeMap* remoteMap = nullptr);
    CNotify(const CNotify&) = delete;
    CNotify& operator=(const CNotify&) = delete;
    ~CNotify();

    // 0 started; -2 missing producer, module or notify; -3 already started;
    // -4 the producer refused the event.
    int Start();
    // A started registration is stopped and kept (its owner frees it); one
    // that never started frees itself.
    void Stop();
    bool IsStarted() const { return m_bStarted; }

private:
    void Deliver();
    void Unregister();
    void DeliverToRemoteMap(std::size_t size);

    CCti* m_pCti;
    void* m_hModule;
    int m_type;
    INotify* m_pNotify;
    void* m_hEvent = nullptr;
    std::unique_ptr<unsigned char[]> m_data;
    bool m_bStarted = false;
    NOTIFY_SRC m_source;
    std::atomic<bool> m_stopping{false};
    std::thread m_delivery;
    // Attached only for device events; the camera ends the registration
    // before it destroys the map.
    GenApi::INodeMap* m_pRemoteMap;
    GenApi::CEventAdapterGeneric m_adapter;
    std::vector<unsigned char> m_value;
};

}  // namespace VEXOGENICAM
