// The device module (Dev*).
#include <algorithm>

#include "ApiCall.h"
#include "ConfigInfo.h"
#include "Teardown.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

// The device behind `h`, still reachable.
CDevice& ReachableDevice(CProducer& p, DEV_HANDLE h) {
    CDevice& d = Handle<CDevice>(p, h);
    RequireReachable(&d);
    return d;
}

void RequireStreams(const CDevice& d) {
    Expect(d.cfg.streams != 0, GC_ERR_NOT_IMPLEMENTED, "the device has no data stream");
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return Guarded("DevGetPort", [&](CProducer& p) {
        CDevice& d = Handle<CDevice>(p, hDevice);
        Require(phRemoteDevice, "phRemoteDevice is null");
        RequireReachable(&d);
        Expect(d.remote != nullptr, GC_ERR_NOT_AVAILABLE, "the device has no remote device port");
        *phRemoteDevice = d.remote->handle;
        return Ok();
    });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return Guarded("DevGetNumDataStreams", [&](CProducer& p) {
        CDevice& d = Handle<CDevice>(p, hDevice);
        Require(piNumDataStreams, "piNumDataStreams is null");
        RequireReachable(&d);
        *piNumDataStreams = d.cfg.streams;
        return Ok();
    });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                          size_t* piSize) {
    return Guarded("DevGetDataStreamID", [&](CProducer& p) {
        CDevice& d = ReachableDevice(p, hDevice);
        RequireStreams(d);
        return OutListEntry(d.StreamIds(), iIndex, "stream index out of range", sDataStreamID,
                            piSize);
    });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return Guarded("DevOpenDataStream", [&](CProducer& p) {
        CDevice& d = Handle<CDevice>(p, hDevice);
        Require(sDataStreamID && phDataStream, "DevOpenDataStream: null argument");
        RequireReachable(&d);
        RequireStreams(d);
        const auto ids = d.StreamIds();
        const auto it = std::find(ids.begin(), ids.end(), sDataStreamID);
        if (it == ids.end())
            Fail(GC_ERR_INVALID_ID, std::string("unknown stream ID ") + sDataStreamID);
        auto& stream = d.streams[static_cast<size_t>(it - ids.begin())];
        Expect(!stream, GC_ERR_RESOURCE_IN_USE, "the stream is already open");
        stream = std::make_unique<CDataStream>(d, static_cast<uint32_t>(it - ids.begin()));
        stream->handle = p.handles.Add(Kind::Stream, stream.get());
        *phDataStream = stream->handle;
        return Ok();
    });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                  void* pBuffer, size_t* piSize) {
    return Guarded("DevGetInfo", [&](CProducer& p) {
        const CDevice& d = Handle<CDevice>(p, hDevice);
        return Out(DeviceInfo(d.cfg, &d, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API DevClose(DEV_HANDLE hDevice) {
    return Guarded("DevClose", [&](CProducer& p) {
        CDevice& d = Handle<CDevice>(p, hDevice);
        CloseDevice(p, d.parent, &d);
        return Ok();
    });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return Guarded("DevGetParentIF", [&](CProducer& p) {
        return Store(phIface, Handle<CDevice>(p, hDevice).parent.handle, "phIface is null");
    });
}

}  // namespace GenTL
}  // extern "C"
