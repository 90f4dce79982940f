// Events (GCRegisterEvent, GCUnregisterEvent, Event*). EventGetData waits without the API lock.
#include <algorithm>
#include <cstring>

#include "ApiCall.h"
#include "Teardown.h"
#include "Variant.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

const std::shared_ptr<CEvent>& EventOf(CProducer& p, EVENT_HANDLE h) {
    auto it = p.events.find(h);
    if (it == p.events.end())
        Fail(GC_ERR_INVALID_HANDLE, "not a valid event handle");
    return it->second;
}

// Which events a module of kind `k` raises.
bool Raises(Kind k, EVENT_TYPE type) {
    if (type == EVENT_ERROR || type == EVENT_MODULE)
        return true;
    if (k == Kind::Device || k == Kind::RemoteDevice) {
        return type == EVENT_FEATURE_INVALIDATE || type == EVENT_FEATURE_CHANGE ||
               type == EVENT_REMOTE_DEVICE;
    }
    return k == Kind::Stream && type == EVENT_NEW_BUFFER;
}

std::string UpToNul(const std::vector<uint8_t>& bytes) {
    return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
}

InfoValue NewBufferDataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD cmd) {
    Require(size >= sizeof(EVENT_NEW_BUFFER_DATA), "event data too short");
    EVENT_NEW_BUFFER_DATA d{};
    std::memcpy(&d, data, sizeof d);
    switch (cmd) {
        case EVENT_DATA_ID:
            return InfoValue::Ptr(d.BufferHandle);
        case EVENT_DATA_VALUE:
            return InfoValue::Ptr(d.pUserPointer);
        case EVENT_DATA_NUMID:
            Fail(GC_ERR_NOT_AVAILABLE, "no numeric ID");
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_DATA command");
    }
}

// Event data in the generic layout of CEvent::Encode.
InfoValue EncodedDataInfo(int32_t type, const void* data, size_t size, EVENT_DATA_INFO_CMD cmd) {
    std::vector<uint8_t> id, value;
    Require(CEvent::Decode(static_cast<const uint8_t*>(data), size, id, value),
            "not event data of this producer");
    const bool hexId = type == EVENT_REMOTE_DEVICE || type == EVENT_MODULE;
    switch (cmd) {
        case EVENT_DATA_ID:
            if (type == EVENT_ERROR) {
                int32_t code = 0;
                std::memcpy(&code, id.data(), std::min<size_t>(4, id.size()));
                return InfoValue::I32(code);
            }
            return InfoValue::String(UpToNul(id));
        case EVENT_DATA_VALUE:
            return hexId ? InfoValue::Buffer(value) : InfoValue::String(UpToNul(value));
        case EVENT_DATA_NUMID:
            Expect(hexId, GC_ERR_NOT_AVAILABLE, "the event ID is not numeric");
            return InfoValue::U64(std::stoull(std::string(id.begin(), id.end()), nullptr, 16));
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_DATA command");
    }
}

InfoValue EventInfo(CEvent& ev, EVENT_INFO_CMD cmd) {
    switch (cmd) {
        case EVENT_EVENT_TYPE:
            return InfoValue::I32(ev.Type());
        case EVENT_NUM_IN_QUEUE:
            return InfoValue::SizeT(ev.Queued());
        case EVENT_NUM_FIRED:
            return InfoValue::U64(ev.Fired());
        case EVENT_SIZE_MAX:
            return InfoValue::SizeT(ev.Type() == EVENT_NEW_BUFFER ? sizeof(EVENT_NEW_BUFFER_DATA)
                                                                  : CEvent::kMaxSize);
        case EVENT_INFO_DATA_SIZE_MAX:
            return InfoValue::SizeT(CEvent::kMaxSize);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_INFO command");
    }
}

const char* WaitFailure(GC_ERROR rc) {
    switch (rc) {
        case GC_ERR_TIMEOUT:
            return "EventGetData: timeout";
        case GC_ERR_ABORT:
            return "EventGetData: aborted";
        default:
            return "EventGetData: buffer too small";
    }
}

}  // namespace

GC_ERROR LumoSim::FlushEvent(EVENT_HANDLE hEvent) {
    return Guarded("EventFlush", [&](CProducer& p) {
        EventOf(p, hEvent)->Flush();
        return Ok();
    });
}

extern "C" {
namespace GenTL {

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return Guarded("GCRegisterEvent", [&](CProducer& p) {
        Require(phEvent, "phEvent is null");
        bool found = false;
        const Kind k = p.handles.KindOf(hEventSrc, found);
        Expect(found && k != Kind::Event, GC_ERR_INVALID_HANDLE, "not a valid event source");
        Expect(k != Kind::Buffer, GC_ERR_NOT_IMPLEMENTED, "buffers raise no events");
        CModule& m = *p.handles.Port(hEventSrc);
        RequireReachable(&m);
        if (!Raises(k, iEventID)) {
            Fail(GC_ERR_NOT_IMPLEMENTED,
                 "event type " + std::to_string(iEventID) + " not supported here");
        }
        std::lock_guard<std::mutex> g(*m.eventLock);
        Expect(!m.events.count(iEventID), GC_ERR_RESOURCE_IN_USE,
               "the event is already registered");
        const auto ev = iEventID == EVENT_NEW_BUFFER
                            ? static_cast<CDataStream&>(m).MakeNewBufferEvent()
                            : std::make_shared<CEvent>(iEventID, std::make_shared<std::mutex>());
        m.events[iEventID] = ev;
        void* h = p.handles.Add(Kind::Event, ev.get());
        p.events[h] = ev;
        *phEvent = h;
        return Ok();
    });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return Guarded("GCUnregisterEvent", [&](CProducer& p) {
        CModule* m = p.handles.Port(hEventSrc);
        Expect(m != nullptr, GC_ERR_INVALID_HANDLE, "not a valid event source");
        std::shared_ptr<CEvent> ev;
        {
            std::lock_guard<std::mutex> g(*m->eventLock);
            auto it = m->events.find(iEventID);
            Expect(it != m->events.end(), GC_ERR_NOT_INITIALIZED, "the event is not registered");
            ev = it->second;
            m->events.erase(it);
        }
        if (iEventID == EVENT_NEW_BUFFER) {
            auto* ds = static_cast<CDataStream*>(m);
            std::lock_guard<std::mutex> sg(*ds->lock);
            ds->newBufferEvent.reset();
        }
        ev->Abort();
        ForgetEvent(p, ev);
        return Ok();
    });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    std::shared_ptr<CEvent> ev;
    const GC_ERROR rc = Guarded("EventGetData", [&](CProducer& p) {
        ev = EventOf(p, hEvent);
        Require(!pBuffer || piSize, "piSize is null");
        return Ok();
    });
    if (rc)
        return rc;
    size_t dummy = 0;
    const GC_ERROR waitRc = ev->Get(pBuffer, piSize ? piSize : &dummy, iTimeout);
    return waitRc ? SetLastError(waitRc, WaitFailure(waitRc)) : waitRc;
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                        EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                        size_t* piOutSize) {
    return Guarded("EventGetDataInfo", [&](CProducer& p) {
        const int32_t type = EventOf(p, hEvent)->Type();
        Require(pInBuffer && iInSize != 0, "no event data given");
        return Out(type == EVENT_NEW_BUFFER ? NewBufferDataInfo(pInBuffer, iInSize, iInfoCmd)
                                            : EncodedDataInfo(type, pInBuffer, iInSize, iInfoCmd),
                   piType, pOutBuffer, piOutSize);
    });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
    return Guarded("EventGetInfo", [&](CProducer& p) {
        return Out(EventInfo(*EventOf(p, hEvent), iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API EventKill(EVENT_HANDLE hEvent) {
    return Guarded("EventKill", [&](CProducer& p) {
        EventOf(p, hEvent)->Kill();
        return Ok();
    });
}

}  // namespace GenTL
}  // extern "C"
