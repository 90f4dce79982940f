#include "camera/Notify.h"

#include <chrono>
#include <exception>

#include "Cti.h"
#include "camera/Camera.h"

namespace VEXOGENICAM {

namespace {
// A producer that keeps failing the wait (a dropped device) must not make the
// delivery thread spin.
constexpr auto kRetryPause = std::chrono::milliseconds(20);
}  // namespace

CNotify::CNotify(CCti* producer, void* module, int type, INotify* notify, NOTIFY_SRC source,
                 GenApi::INodeMap* remoteMap)
    : m_pCti(producer),
      m_hModule(module),
      m_type(type),
      m_pNotify(notify),
      m_data(new unsigned char[kDataSize]()),
      m_source(source),
      m_pRemoteMap(type == NOTIFY_TYPE_REMOTE_DEVICE ? remoteMap : nullptr),
      m_adapter(m_pRemoteMap),
      m_value(m_pRemoteMap != nullptr ? kDataSize : 0) {}

CNotify::~CNotify() {
    if (m_bStarted) {
        Stop();
    }
}

int CNotify::Start() {
    if (m_pCti == nullptr || m_hModule == nullptr || m_pNotify == nullptr) {
        return -2;
    }
    if (m_bStarted) {
        return -3;
    }
    if (m_pCti->GCRegisterEvent(m_hModule, m_type, &m_hEvent) != GenTL::GC_ERR_SUCCESS) {
        m_hEvent = nullptr;
        return -4;
    }
    m_bStarted = true;
    m_stopping = false;
    m_delivery = std::thread([this] { Deliver(); });
    return 0;
}

void CNotify::Stop() {
    if (!m_bStarted) {
        delete this;
        return;
    }
    m_bStarted = false;
    m_stopping = true;
    // The producer counts a kill that arrives between two waits, so the
    // delivery thread cannot miss it. Without the kill, unregistering ends
    // the wait instead: the join must not wait for an event that never comes.
    const bool killed =
        CCamera::Succeeded("unregister notification", "EventKill", m_pCti->EventKill(m_hEvent));
    if (!killed) {
        Unregister();
    }
    if (m_delivery.joinable()) {
        m_delivery.join();
    }
    if (killed) {
        Unregister();
    }
    m_hEvent = nullptr;
}

void CNotify::Unregister() {
    CCamera::Succeeded("unregister notification", "GCUnregisterEvent",
                       m_pCti->GCUnregisterEvent(m_hModule, m_type));
}

void CNotify::Deliver() {
    while (!m_stopping) {
        size_t size = kDataSize;
        const int rc = m_pCti->EventGetData(m_hEvent, m_data.get(), &size, GENTL_INFINITE);
        if (m_stopping || rc == GenTL::GC_ERR_ABORT) {
            return;
        }
        if (rc == GenTL::GC_ERR_SUCCESS) {
            size = size <= kDataSize ? size : kDataSize;
            DeliverToRemoteMap(size);
            m_pNotify->OnNotify(m_source, static_cast<NOTIFY_TYPE>(m_type), m_data.get(), size);
        } else if (rc != GenTL::GC_ERR_TIMEOUT) {
            std::this_thread::sleep_for(kRetryPause);
        }
    }
}

// The event's ID and value, as the producer decodes them, go to the remote
// map's event ports. An event the map does not describe, or that the producer
// cannot decode, leaves the map as it is.
void CNotify::DeliverToRemoteMap(std::size_t size) {
    if (m_pRemoteMap == nullptr) {
        return;
    }
    int type = 0;
    std::size_t valueSize = m_value.size();
    if (m_pCti->EventGetDataInfo(m_hEvent, m_data.get(), size, GenTL::EVENT_DATA_VALUE, &type,
                                 m_value.data(), &valueSize) != GenTL::GC_ERR_SUCCESS ||
        valueSize > m_value.size()) {
        return;
    }
    const auto* value = m_value.data();
    const auto length = static_cast<uint32_t>(valueSize);
    try {
        uint64_t id = 0;
        std::size_t idSize = sizeof id;
        if (m_pCti->EventGetDataInfo(m_hEvent, m_data.get(), size, GenTL::EVENT_DATA_NUMID, &type,
                                     &id, &idSize) == GenTL::GC_ERR_SUCCESS) {
            m_adapter.DeliverMessage(value, length, id);
            return;
        }
        // A producer before GenTL 1.3 gives the ID as hex text only.
        char text[64] = {};
        std::size_t textSize = sizeof text - 1;
        if (m_pCti->EventGetDataInfo(m_hEvent, m_data.get(), size, GenTL::EVENT_DATA_ID, &type,
                                     text, &textSize) == GenTL::GC_ERR_SUCCESS) {
            m_adapter.DeliverMessage(value, length, GenICam::gcstring(text));
        }
    } catch (const std::exception&) {
        // a malformed ID, a map that cannot take it or a node callback that
        // threw: the client still hears of the event
    }
}

}  // namespace VEXOGENICAM
