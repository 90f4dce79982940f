// System, interface and device modules.
#include <cstring>

#include "ExportsCommon.h"

using namespace GenTL;
using namespace LumoGev;

namespace LumoGev {

void CloseStream(CProducer& p, CDevice& dev) {
    if (!dev.stream)
        return;
    CStream& s = *dev.stream;
    s.Shutdown();
    for (uint32_t i = 0; CBuffer* b = s.At(i); ++i)
        p.handles.Remove(b->handle);
    p.handles.Remove(s.eventHandle);
    p.handles.Remove(s.handle);
    dev.stream.reset();
}

void CloseDevice(CProducer& p, CInterface& itf, CDevice& dev) {
    CloseStream(p, dev);
    p.handles.Remove(dev.remoteHandle);
    p.handles.Remove(dev.handle);
    std::erase_if(itf.open, [&](const auto& d) { return d.get() == &dev; });
}

void CloseInterface(CProducer& p, CSystem& sys) {
    if (!sys.iface)
        return;
    while (!sys.iface->open.empty())
        CloseDevice(p, *sys.iface, *sys.iface->open.front());
    p.handles.Remove(sys.iface->handle);
    sys.iface.reset();
}

void CloseSystem(CProducer& p) {
    if (!p.system)
        return;
    CloseInterface(p, *p.system);
    p.handles.Remove(p.system->handle);
    p.system.reset();
}

}  // namespace LumoGev

namespace {

InfoReply TlInfo(TL_INFO_CMD cmd) {
    switch (cmd) {
        case TL_INFO_ID:
            return InfoReply::Text("LumoGev");
        case TL_INFO_VENDOR:
            return InfoReply::Text("Lumo");
        case TL_INFO_MODEL:
            return InfoReply::Text("LumoGev GigE Vision producer");
        case TL_INFO_VERSION:
            return InfoReply::Text("0.1.0");
        case TL_INFO_TLTYPE:
            return InfoReply::Text("GEV");
        case TL_INFO_NAME:
            return InfoReply::Text("LumoGev.cti");
        case TL_INFO_PATHNAME:
            return InfoReply::Text(ModulePath());
        case TL_INFO_DISPLAYNAME:
            return InfoReply::Text("LumoGev GigE Vision");
        case TL_INFO_CHAR_ENCODING:
            return InfoReply::I32(TL_CHAR_ENCODING_ASCII);
        case TL_INFO_GENTL_VER_MAJOR:
            return InfoReply::U32(1);
        case TL_INFO_GENTL_VER_MINOR:
            return InfoReply::U32(5);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown TL_INFO command " + std::to_string(cmd));
    }
}

void RequireId(const char* id, const char* what) {
    Require(id, what);
}

CInterface& OpenInterface(CProducer& p, IF_HANDLE h) {
    return *Lookup<CInterface>(p, h, Kind::Interface);
}

const DeviceRecord& KnownDevice(const CInterface& itf, const char* id) {
    RequireId(id, "sDeviceID");
    const DeviceRecord* r = itf.Lookup(id);
    if (r == nullptr)
        Fail(GC_ERR_INVALID_ID, std::string("no camera ") + id + " in the device list");
    return *r;
}

}  // namespace

extern "C" {

GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Locked("GCGetInfo",
                  [&](CProducer&, auto&) { ReplyInfo(TlInfo(iInfoCmd), piType, pBuffer, piSize); });
}

GC_API TLOpen(TL_HANDLE* phTL) {
    return Locked("TLOpen", [&](CProducer& p, auto&) {
        Require(phTL, "phTL");
        if (p.system)
            Fail(GC_ERR_RESOURCE_IN_USE, "the system module is already open");
        auto sys = std::make_shared<CSystem>();
        sys->handle = p.handles.Add(Kind::System, sys);
        p.system = sys;
        *phTL = sys->handle;
    });
}

GC_API TLClose(TL_HANDLE hTL) {
    return Locked("TLClose", [&](CProducer& p, auto&) {
        Lookup<CSystem>(p, hTL, Kind::System);
        CloseSystem(p);
    });
}

GC_API TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
    return Locked("TLGetInfo", [&](CProducer& p, auto&) {
        Lookup<CSystem>(p, hTL, Kind::System);
        ReplyInfo(TlInfo(iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t) {
    return Locked("TLUpdateInterfaceList", [&](CProducer& p, auto&) {
        auto sys = Lookup<CSystem>(p, hTL, Kind::System);
        if (pbChanged != nullptr)
            *pbChanged = !sys->listed;
        sys->listed = true;
    });
}

GC_API TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
    return Locked("TLGetNumInterfaces", [&](CProducer& p, auto&) {
        auto sys = Lookup<CSystem>(p, hTL, Kind::System);
        Require(piNumIfaces, "piNumIfaces");
        *piNumIfaces = sys->listed ? 1 : 0;
    });
}

GC_API TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize) {
    return Locked("TLGetInterfaceID", [&](CProducer& p, auto&) {
        auto sys = Lookup<CSystem>(p, hTL, Kind::System);
        if (!sys->listed || iIndex != 0)
            Fail(GC_ERR_INVALID_INDEX,
                 "interface index " + std::to_string(iIndex) + " is beyond the list");
        ReplyText(CInterface::kId, sID, piSize);
    });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Locked("TLGetInterfaceInfo", [&](CProducer& p, auto&) {
        Lookup<CSystem>(p, hTL, Kind::System);
        RequireId(sIfaceID, "sIfaceID");
        if (std::strcmp(sIfaceID, CInterface::kId) != 0)
            Fail(GC_ERR_INVALID_ID, std::string("no interface ") + sIfaceID);
        ReplyInfo(CInterface::Info(iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
    return Locked("TLOpenInterface", [&](CProducer& p, auto&) {
        auto sys = Lookup<CSystem>(p, hTL, Kind::System);
        RequireId(sIfaceID, "sIfaceID");
        Require(phIface, "phIface");
        if (std::strcmp(sIfaceID, CInterface::kId) != 0)
            Fail(GC_ERR_INVALID_ID, std::string("no interface ") + sIfaceID);
        if (sys->iface)
            Fail(GC_ERR_RESOURCE_IN_USE, "the interface is already open");
        auto itf = std::make_shared<CInterface>(sys->handle);
        itf->handle = p.handles.Add(Kind::Interface, itf);
        sys->iface = itf;
        *phIface = itf->handle;
    });
}

GC_API IFClose(IF_HANDLE hIface) {
    return Locked("IFClose", [&](CProducer& p, auto&) {
        OpenInterface(p, hIface);
        CloseInterface(p, *p.system);
    });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Locked("IFGetInfo", [&](CProducer& p, auto&) {
        OpenInterface(p, hIface);
        ReplyInfo(CInterface::Info(iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t) {
    return Locked("IFUpdateDeviceList", [&](CProducer& p, auto&) {
        const bool changed = OpenInterface(p, hIface).UpdateDevices();
        if (pbChanged != nullptr)
            *pbChanged = changed;
    });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return Locked("IFGetNumDevices", [&](CProducer& p, auto&) {
        CInterface& itf = OpenInterface(p, hIface);
        Require(piNumDevices, "piNumDevices");
        *piNumDevices = static_cast<uint32_t>(itf.Devices().size());
    });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
    return Locked("IFGetDeviceID", [&](CProducer& p, auto&) {
        CInterface& itf = OpenInterface(p, hIface);
        if (iIndex >= itf.Devices().size())
            Fail(GC_ERR_INVALID_INDEX,
                 "device index " + std::to_string(iIndex) + " is beyond the list");
        ReplyText(itf.Devices()[iIndex].id, sIDeviceID, piSize);
    });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Locked("IFGetDeviceInfo", [&](CProducer& p, auto&) {
        CInterface& itf = OpenInterface(p, hIface);
        ReplyInfo(itf.DeviceInfo(KnownDevice(itf, sDeviceID), iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                    DEV_HANDLE* phDevice) {
    return Locked("IFOpenDevice", [&](CProducer& p, auto&) {
        CInterface& itf = OpenInterface(p, hIface);
        Require(phDevice, "phDevice");
        const DeviceRecord& rec = KnownDevice(itf, sDeviceID);
        if (iOpenFlag == DEVICE_ACCESS_NONE || iOpenFlag >= DEVICE_ACCESS_CUSTOM_ID)
            Fail(GC_ERR_NOT_IMPLEMENTED,
                 "access flag " + std::to_string(iOpenFlag) + " is not supported");
        if (iOpenFlag < DEVICE_ACCESS_READONLY || iOpenFlag > DEVICE_ACCESS_EXCLUSIVE)
            Fail(GC_ERR_INVALID_PARAMETER, "unknown access flag " + std::to_string(iOpenFlag));
        if (itf.OpenDevice(rec.id) != nullptr)
            Fail(GC_ERR_RESOURCE_IN_USE, rec.id + " is already open");
        auto dev = std::make_shared<CDevice>(rec, iOpenFlag);
        dev->parentInterface = itf.handle;
        dev->handle = p.handles.Add(Kind::Device, dev);
        dev->remoteHandle = p.handles.Add(Kind::RemoteDevice, dev);
        itf.open.push_back(dev);
        *phDevice = dev->handle;
    });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return Locked("IFGetParentTL", [&](CProducer& p, auto&) {
        CInterface& itf = OpenInterface(p, hIface);
        Require(phSystem, "phSystem");
        *phSystem = itf.parentSystem;
    });
}

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return Locked("DevGetPort", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        Require(phRemoteDevice, "phRemoteDevice");
        *phRemoteDevice = dev->remoteHandle;
    });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return Locked("DevGetNumDataStreams", [&](CProducer& p, auto&) {
        Lookup<CDevice>(p, hDevice, Kind::Device);
        Require(piNumDataStreams, "piNumDataStreams");
        *piNumDataStreams = 1;
    });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                          size_t* piSize) {
    return Locked("DevGetDataStreamID", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        if (iIndex != 0)
            Fail(GC_ERR_INVALID_INDEX, "the device has one stream (index 0)");
        ReplyText(dev->StreamId(), sDataStreamID, piSize);
    });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return Locked("DevOpenDataStream", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        RequireId(sDataStreamID, "sDataStreamID");
        Require(phDataStream, "phDataStream");
        if (dev->StreamId() != sDataStreamID)
            Fail(GC_ERR_INVALID_ID, std::string("no stream ") + sDataStreamID);
        if (dev->stream)
            Fail(GC_ERR_RESOURCE_IN_USE, "the stream is already open");
        if (dev->access == DEVICE_ACCESS_READONLY)
            Fail(GC_ERR_ACCESS_DENIED, "a camera opened read-only cannot stream");
        auto s = std::make_shared<CStream>(*dev, dev->StreamId());
        s->handle = p.handles.Add(Kind::Stream, s);
        dev->stream = s;
        *phDataStream = s->handle;
    });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                  void* pBuffer, size_t* piSize) {
    return Locked("DevGetInfo", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        ReplyInfo(p.system->iface->DeviceInfo(dev->record, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API DevClose(DEV_HANDLE hDevice) {
    return Locked("DevClose", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        CloseDevice(p, *p.system->iface, *dev);
    });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return Locked("DevGetParentIF", [&](CProducer& p, auto&) {
        auto dev = Lookup<CDevice>(p, hDevice, Kind::Device);
        Require(phIface, "phIface");
        *phIface = dev->parentInterface;
    });
}

}  // extern "C"
