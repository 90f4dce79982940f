// The interface module (IF*).
#include "ApiCall.h"
#include "ConfigInfo.h"
#include "Teardown.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

// Whether `iOpenFlag` passes the access status the device had before opening.
bool Grants(int32_t accessStatus, DEVICE_ACCESS_FLAGS iOpenFlag) {
    return accessStatus != DEVICE_ACCESS_STATUS_BUSY &&
           accessStatus != DEVICE_ACCESS_STATUS_NOACCESS &&
           (accessStatus != DEVICE_ACCESS_STATUS_READONLY || iOpenFlag == DEVICE_ACCESS_READONLY);
}

const DeviceConfig& KnownDevice(const CInterface& i, const char* sDeviceID) {
    const DeviceConfig* d = i.FindDevice(sDeviceID);
    if (!d)
        Fail(GC_ERR_INVALID_ID, std::string("unknown device ID ") + sDeviceID);
    return *d;
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API IFClose(IF_HANDLE hIface) {
    return Guarded("IFClose", [&](CProducer& p) {
        CloseInterface(p, &Handle<CInterface>(p, hIface));
        return Ok();
    });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Guarded("IFGetInfo", [&](CProducer& p) {
        const CInterface& i = Handle<CInterface>(p, hIface);
        return Out(InterfaceInfo(i.cfg, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t) {
    return Guarded("IFUpdateDeviceList", [&](CProducer& p) {
        CInterface& i = Handle<CInterface>(p, hIface);
        std::vector<std::string> list;
        for (const auto& d : i.cfg.devices) {
            const CDevice* open = i.OpenDevice(d.id);
            if (!open || !open->dropped)
                list.push_back(d.id);
        }
        return UpdateList(i, i.deviceList, std::move(list), pbChanged);
    });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return Guarded("IFGetNumDevices", [&](CProducer& p) {
        const CInterface& i = Handle<CInterface>(p, hIface);
        return Store(piNumDevices, static_cast<uint32_t>(i.deviceList.size()),
                     "piNumDevices is null");
    });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
    return Guarded("IFGetDeviceID", [&](CProducer& p) {
        return OutListEntry(Handle<CInterface>(p, hIface).deviceList, iIndex,
                            "device index out of range", sIDeviceID, piSize);
    });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded("IFGetDeviceInfo", [&](CProducer& p) {
        const CInterface& i = Handle<CInterface>(p, hIface);
        Require(sDeviceID, "sDeviceID is null");
        const DeviceConfig& d = KnownDevice(i, sDeviceID);
        return Out(DeviceInfo(d, i.OpenDevice(sDeviceID), iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                    DEV_HANDLE* phDevice) {
    // The call log names the access flag asked for.
    return Guarded("IFOpenDevice", std::to_string(iOpenFlag), [&](CProducer& p) {
        CInterface& i = Handle<CInterface>(p, hIface);
        Require(sDeviceID && phDevice, "IFOpenDevice: null argument");
        Expect(iOpenFlag != DEVICE_ACCESS_NONE, GC_ERR_NOT_IMPLEMENTED,
               "DEVICE_ACCESS_NONE is not supported");
        if (iOpenFlag < DEVICE_ACCESS_READONLY || iOpenFlag > DEVICE_ACCESS_EXCLUSIVE)
            Fail(GC_ERR_INVALID_PARAMETER, "invalid access flag " + std::to_string(iOpenFlag));
        const DeviceConfig& d = KnownDevice(i, sDeviceID);
        Expect(!i.OpenDevice(sDeviceID), GC_ERR_RESOURCE_IN_USE, "the device is already open");
        Expect(Grants(d.accessStatus, iOpenFlag), GC_ERR_ACCESS_DENIED,
               "the device does not grant this access");
        auto dev = std::make_unique<CDevice>(i, d);
        dev->openFlags = iOpenFlag;
        dev->handle = p.handles.Add(Kind::Device, dev.get());
        if (dev->remote)
            dev->remote->handle = p.handles.Add(Kind::RemoteDevice, dev->remote.get());
        *phDevice = dev->handle;
        i.open.push_back(std::move(dev));
        return Ok();
    });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return Guarded("IFGetParentTL", [&](CProducer& p) {
        return Store(phSystem, Handle<CInterface>(p, hIface).parent.handle, "phSystem is null");
    });
}

}  // namespace GenTL
}  // extern "C"
