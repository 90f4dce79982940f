// Library, port and event functions.
#include <algorithm>
#include <cstring>

#include "ExportsCommon.h"

using namespace GenTL;
using namespace LumoGev;

namespace {

// A port is any module handle; the remote device port goes to the camera.
struct PortRef {
    Kind kind;
    std::shared_ptr<CDevice> remote;  // for the camera
    CFeatureTable* table = nullptr;   // for the producer's own modules
    std::string moduleName;
    std::string url;
};

PortRef LookupPort(CProducer& p, PORT_HANDLE h) {
    Kind kind{};
    if (!p.handles.Has(h, kind))
        Fail(GC_ERR_INVALID_HANDLE, "not an open port handle");
    PortRef r{kind, nullptr, nullptr, {}, {}};
    switch (kind) {
        case Kind::System:
            r.table = &p.handles.Get<CSystem>(h, kind)->features;
            r.moduleName = "TLSystem";
            break;
        case Kind::Interface:
            r.table = &p.handles.Get<CInterface>(h, kind)->features;
            r.moduleName = "TLInterface";
            break;
        case Kind::Device:
            r.table = &p.handles.Get<CDevice>(h, kind)->features;
            r.moduleName = "TLDevice";
            break;
        case Kind::Stream:
            r.table = &p.handles.Get<CStream>(h, kind)->features;
            r.moduleName = "TLDataStream";
            break;
        case Kind::RemoteDevice:
            r.remote = p.handles.Get<CDevice>(h, kind);
            r.moduleName = "Device";
            r.url = r.remote->RemoteUrl();
            return r;
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, std::string("a ") + KindName(kind) + " has no port");
    }
    r.url = r.table->Url();
    return r;
}

// Register access: the camera's registers are read outside the library lock, so that a slow
// or vanished camera does not hold up other modules.
template <typename Access>
GC_ERROR PortAccess(const char* name, PORT_HANDLE hPort, const void* pBuffer, size_t* piSize,
                    Access&& access) {
    return Call(name, [&] {
        std::unique_lock<std::mutex> lk(LibraryLock());
        CProducer* p = Producer();
        if (p == nullptr)
            Fail(GC_ERR_NOT_INITIALIZED, "GCInitLib has not been called");
        PortRef port = LookupPort(*p, hPort);
        Require(pBuffer, "pBuffer");
        Require(piSize, "piSize");
        if (port.remote)
            lk.unlock();
        access(port);
    });
}

InfoReply UrlInfo(const std::string& url, URL_INFO_CMD cmd) {
    // Local:<file>;<hex address>;<hex length>
    const size_t colon = url.find(':');
    const size_t semi1 = url.find(';', colon);
    const size_t semi2 = semi1 == std::string::npos ? semi1 : url.find(';', semi1 + 1);
    const bool local = url.compare(0, 6, "Local:") == 0 || url.compare(0, 6, "local:") == 0;
    switch (cmd) {
        case URL_INFO_URL:
            return InfoReply::Text(url);
        case URL_INFO_SCHEME:
            return InfoReply::I32(local                             ? URL_SCHEME_LOCAL
                                  : url.compare(0, 5, "File:") == 0 ? URL_SCHEME_FILE
                                                                    : URL_SCHEME_HTTP);
        case URL_INFO_FILENAME:
            if (colon == std::string::npos)
                break;
            return InfoReply::Text(url.substr(colon + 1, semi1 - colon - 1));
        case URL_INFO_FILE_REGISTER_ADDRESS:
            if (!local || semi2 == std::string::npos)
                break;
            return InfoReply::U64(std::strtoull(url.c_str() + semi1 + 1, nullptr, 16));
        case URL_INFO_FILE_SIZE:
            if (!local || semi2 == std::string::npos)
                break;
            return InfoReply::U64(std::strtoull(url.c_str() + semi2 + 1, nullptr, 16));
        case URL_INFO_SCHEMA_VER_MAJOR:
        case URL_INFO_SCHEMA_VER_MINOR:
        case URL_INFO_FILE_VER_MAJOR:
        case URL_INFO_FILE_VER_MINOR:
        case URL_INFO_FILE_VER_SUBMINOR:
        case URL_INFO_FILE_SHA1_HASH:
            break;
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown URL_INFO command " + std::to_string(cmd));
    }
    Fail(GC_ERR_NOT_AVAILABLE, "the URL does not tell this");
}

// One access per entry; on failure the count says how many were done.
template <typename Access>
GC_ERROR Stacked(const char* name, PORT_REGISTER_STACK_ENTRY* entries, size_t* count,
                 Access&& access) {
    if (entries == nullptr || count == nullptr) {
        return Call(
            name, [] { Fail(GC_ERR_INVALID_PARAMETER, "pEntries and piNumEntries are required"); });
    }
    for (size_t i = 0; i < *count; ++i) {
        size_t size = entries[i].Size;
        if (const GC_ERROR rc = access(entries[i], &size)) {
            *count = i;
            return rc;
        }
    }
    return GC_ERR_SUCCESS;
}

std::shared_ptr<CStream> EventStream(CProducer& p, EVENT_HANDLE h) {
    return Lookup<CStream>(p, h, Kind::Event);
}

}  // namespace

extern "C" {

GC_API GCInitLib(void) {
    return Call("GCInitLib", [] {
        std::lock_guard<std::mutex> lk(LibraryLock());
        if (Producer() != nullptr)
            Fail(GC_ERR_RESOURCE_IN_USE, "GCInitLib was already called");
        SetProducer(std::make_unique<CProducer>());
    });
}

GC_API GCCloseLib(void) {
    return Locked("GCCloseLib", [](CProducer& p, auto&) {
        CloseSystem(p);
        SetProducer(nullptr);
        ForgetLastErrors();
    });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    // Its own failures are not stored as the last error.
    std::unique_lock<std::mutex> lk(LibraryLock());
    if (Producer() == nullptr)
        return GC_ERR_NOT_INITIALIZED;
    if (piErrorCode == nullptr || piSize == nullptr)
        return GC_ERR_INVALID_PARAMETER;
    std::string text;
    const GC_ERROR code = LastErrorCode(text);
    if (sErrText != nullptr && *piSize < text.size() + 1)
        return GC_ERR_BUFFER_TOO_SMALL;
    if (sErrText != nullptr)
        std::memcpy(sErrText, text.c_str(), text.size() + 1);
    *piSize = text.size() + 1;
    *piErrorCode = code;
    return GC_ERR_SUCCESS;
}

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return PortAccess("GCReadPort", hPort, pBuffer, piSize, [&](PortRef& port) {
        auto* dst = static_cast<uint8_t*>(pBuffer);
        if (port.remote)
            port.remote->ReadRemote(iAddress, dst, *piSize);
        else
            port.table->Read(iAddress, dst, *piSize);
    });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return PortAccess("GCWritePort", hPort, pBuffer, piSize, [&](PortRef& port) {
        const auto* src = static_cast<const uint8_t*>(pBuffer);
        if (port.remote)
            port.remote->WriteRemote(iAddress, src, *piSize);
        else
            port.table->Write(iAddress, src, *piSize);
    });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                         size_t* piNumEntries) {
    return Stacked("GCReadPortStacked", pEntries, piNumEntries, [&](auto& e, size_t* size) {
        return GCReadPort(hPort, e.Address, e.pBuffer, size);
    });
}

GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                          size_t* piNumEntries) {
    return Stacked("GCWritePortStacked", pEntries, piNumEntries, [&](auto& e, size_t* size) {
        return GCWritePort(hPort, e.Address, e.pBuffer, size);
    });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return Locked("GCGetPortURL", [&](CProducer& p, auto&) {
        const PortRef port = LookupPort(p, hPort);
        if (port.url.empty())
            Fail(GC_ERR_NOT_AVAILABLE, "the camera names no description file");
        ReplyText(port.url, sURL, piSize);
    });
}

GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return Locked("GCGetNumPortURLs", [&](CProducer& p, auto&) {
        const PortRef port = LookupPort(p, hPort);
        Require(piNumURLs, "piNumURLs");
        *piNumURLs = port.url.empty() ? 0 : 1;
    });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Locked("GCGetPortURLInfo", [&](CProducer& p, auto&) {
        const PortRef port = LookupPort(p, hPort);
        if (port.url.empty() || iURLIndex != 0)
            Fail(GC_ERR_INVALID_INDEX,
                 "URL index " + std::to_string(iURLIndex) + " is beyond the list");
        ReplyInfo(UrlInfo(port.url, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
    return Locked("GCGetPortInfo", [&](CProducer& p, auto&) {
        const PortRef port = LookupPort(p, hPort);
        const bool camera = port.remote != nullptr;
        InfoReply r;
        switch (iInfoCmd) {
            case PORT_INFO_ID:
            case PORT_INFO_PORTNAME:
                r = InfoReply::Text(camera ? "Device" : port.moduleName);
                break;
            case PORT_INFO_VENDOR:
                r = InfoReply::Text(camera ? port.remote->record.vendor : "Lumo");
                break;
            case PORT_INFO_MODEL:
                r = InfoReply::Text(camera ? port.remote->record.model : "LumoGev");
                break;
            case PORT_INFO_TLTYPE:
                r = InfoReply::Text("GEV");
                break;
            case PORT_INFO_MODULE:
                r = InfoReply::Text(port.moduleName);
                break;
            case PORT_INFO_LITTLE_ENDIAN:
                r = InfoReply::Bool(!camera);
                break;
            case PORT_INFO_BIG_ENDIAN:
                r = InfoReply::Bool(camera);
                break;
            case PORT_INFO_ACCESS_READ:
                r = InfoReply::Bool(true);
                break;
            case PORT_INFO_ACCESS_WRITE:
                r = InfoReply::Bool(!camera || port.remote->access != DEVICE_ACCESS_READONLY);
                break;
            case PORT_INFO_ACCESS_NA:
            case PORT_INFO_ACCESS_NI:
                r = InfoReply::Bool(false);
                break;
            case PORT_INFO_VERSION:
                r = InfoReply::Text("1.0");
                break;
            default:
                Fail(GC_ERR_NOT_IMPLEMENTED,
                     "unknown PORT_INFO command " + std::to_string(iInfoCmd));
        }
        ReplyInfo(r, piType, pBuffer, piSize);
    });
}

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return Locked("GCRegisterEvent", [&](CProducer& p, auto&) {
        Kind kind{};
        if (!p.handles.Has(hEventSrc, kind) || kind == Kind::Buffer || kind == Kind::Event)
            Fail(GC_ERR_INVALID_HANDLE, "not an open module handle");
        Require(phEvent, "phEvent");
        if (kind != Kind::Stream || iEventID != EVENT_NEW_BUFFER)
            Fail(GC_ERR_NOT_IMPLEMENTED, std::string("event type ") + std::to_string(iEventID) +
                                             " is not offered on a " + KindName(kind));
        auto s = p.handles.Get<CStream>(hEventSrc, Kind::Stream);
        s->Register();
        s->eventHandle = p.handles.Add(Kind::Event, s);
        *phEvent = s->eventHandle;
    });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return Locked("GCUnregisterEvent", [&](CProducer& p, auto&) {
        Kind kind{};
        if (!p.handles.Has(hEventSrc, kind) || kind == Kind::Buffer || kind == Kind::Event)
            Fail(GC_ERR_INVALID_HANDLE, "not an open module handle");
        auto s = kind == Kind::Stream ? p.handles.Get<CStream>(hEventSrc, kind) : nullptr;
        if (!s || iEventID != EVENT_NEW_BUFFER || s->eventHandle == nullptr)
            Fail(GC_ERR_NOT_INITIALIZED, "the event is not registered");
        s->Unregister();
        p.handles.Remove(s->eventHandle);
        s->eventHandle = nullptr;
    });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    return Locked("EventGetData", [&](CProducer& p, std::unique_lock<std::mutex>& lk) {
        auto s = EventStream(p, hEvent);
        if (pBuffer != nullptr)
            Require(piSize, "piSize");
        s->WaitNewBuffer(lk, pBuffer, piSize, iTimeout);
    });
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                        EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                        size_t* piOutSize) {
    return Locked("EventGetDataInfo", [&](CProducer& p, auto&) {
        EventStream(p, hEvent);
        Require(pInBuffer, "pInBuffer");
        if (iInSize < sizeof(EVENT_NEW_BUFFER_DATA))
            Fail(GC_ERR_INVALID_PARAMETER, "iInSize is smaller than the new-buffer event data");
        EVENT_NEW_BUFFER_DATA data{};
        std::memcpy(&data, pInBuffer, sizeof data);
        switch (iInfoCmd) {
            case EVENT_DATA_ID:
                return ReplyInfo(InfoReply::Ptr(data.BufferHandle), piType, pOutBuffer, piOutSize);
            case EVENT_DATA_VALUE:
                return ReplyInfo(InfoReply::Ptr(data.pUserPointer), piType, pOutBuffer, piOutSize);
            case EVENT_DATA_NUMID:
                Fail(GC_ERR_NOT_AVAILABLE, "new-buffer events carry no numeric ID");
            default:
                Fail(GC_ERR_NOT_IMPLEMENTED,
                     "unknown EVENT_DATA_INFO command " + std::to_string(iInfoCmd));
        }
    });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
    return Locked("EventGetInfo", [&](CProducer& p, auto&) {
        auto s = EventStream(p, hEvent);
        InfoReply r;
        switch (iInfoCmd) {
            case EVENT_EVENT_TYPE:
                r = InfoReply::I32(EVENT_NEW_BUFFER);
                break;
            case EVENT_NUM_IN_QUEUE:
                r = InfoReply::SizeT(s->EventQueued());
                break;
            case EVENT_NUM_FIRED:
                r = InfoReply::U64(s->eventFired);
                break;
            case EVENT_SIZE_MAX:
            case EVENT_INFO_DATA_SIZE_MAX:
                r = InfoReply::SizeT(sizeof(EVENT_NEW_BUFFER_DATA));
                break;
            default:
                Fail(GC_ERR_NOT_IMPLEMENTED,
                     "unknown EVENT_INFO command " + std::to_string(iInfoCmd));
        }
        ReplyInfo(r, piType, pBuffer, piSize);
    });
}

GC_API EventFlush(EVENT_HANDLE hEvent) {
    return Locked("EventFlush", [&](CProducer& p, auto&) { EventStream(p, hEvent)->FlushEvent(); });
}

GC_API EventKill(EVENT_HANDLE hEvent) {
    return Locked("EventKill", [&](CProducer& p, auto&) { EventStream(p, hEvent)->Kill(); });
}

}  // extern "C"
