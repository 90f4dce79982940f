// The exported GenTL C API. Every call takes the producer lock for its whole duration, except
// the waits of EventGetData and the join of a stopping acquisition engine.
#include <GenTL/GenTL.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>
#include <unordered_map>

#include "InfoValue.h"
#include "Producer.h"

using namespace GenTL;
using LumoSim::CBuffer;
using LumoSim::CDataStream;
using LumoSim::CDevice;
using LumoSim::CEvent;
using LumoSim::CInterface;
using LumoSim::CModule;
using LumoSim::CProducer;
using LumoSim::CSystem;
using LumoSim::InfoValue;
using LumoSim::Kind;

namespace {

std::mutex g_lock;
std::unique_ptr<CProducer> g_producer;
std::unordered_map<void*, std::shared_ptr<CEvent>> g_events;  // guarded by g_lock
// The last error of each thread. Kept in a map rather than in thread_local
// storage: a consumer may unload the producer while its threads live on, and
// dynamic TLS of an unloaded module is left dangling.
struct LastError {
    GC_ERROR code = GC_ERR_SUCCESS;
    std::string text = "No Error";
};
std::mutex g_errorLock;
std::unordered_map<std::thread::id, LastError> g_lastErrors;  // guarded by g_errorLock

LastError GetLastErrorOfThisThread() {
    std::lock_guard<std::mutex> lk(g_errorLock);
    const auto it = g_lastErrors.find(std::this_thread::get_id());
    return it == g_lastErrors.end() ? LastError{} : it->second;
}

GC_ERROR Err(GC_ERROR code, const std::string& text) {
    if (code != GC_ERR_SUCCESS) {
        std::lock_guard<std::mutex> lk(g_errorLock);
        g_lastErrors[std::this_thread::get_id()] = LastError{code, text};
    }
    return code;
}

GC_ERROR Ok() {
    return GC_ERR_SUCCESS;
}

// Runs one API call: initialisation check, injected faults, exceptions turned into codes.
template <typename F>
GC_ERROR Api(const char* name, F&& body) {
    std::unique_lock<std::mutex> lk(g_lock);
    CProducer* p = g_producer.get();
    if (!p) {
        return Err(GC_ERR_NOT_INITIALIZED, std::string(name) + ": GCInitLib has not been called");
    }
    if (const uint32_t ms = p->faults.DelayMs(name)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
    if (const int32_t rc = p->faults.OnCall(name)) {
        return Err(rc, std::string(name) + ": injected failure");
    }
    if (p->config.dropOnCall == name && p->system) {
        for (auto& itf : p->system->open) {
            for (auto& dev : itf->open)
                dev->dropped = true;
        }
    }
    try {
        return body(*p, lk);
    } catch (const std::bad_alloc&) {
        return Err(GC_ERR_OUT_OF_MEMORY, std::string(name) + ": out of memory");
    } catch (const std::exception& e) {
        return Err(GC_ERR_ERROR, std::string(name) + ": " + e.what());
    }
}

GC_ERROR Out(const InfoValue& v, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    if (!piSize || !piType)
        return Err(GC_ERR_INVALID_PARAMETER, "piType and piSize are required");
    const GC_ERROR rc = v.CopyOut(piType, pBuffer, piSize);
    return rc ? Err(rc, "buffer too small for the value") : rc;
}

GC_ERROR OutString(const std::string& s, char* buf, size_t* piSize) {
    if (!piSize)
        return Err(GC_ERR_INVALID_PARAMETER, "piSize is required");
    INFO_DATATYPE t = 0;
    const GC_ERROR rc = InfoValue::String(s).CopyOut(&t, buf, piSize);
    return rc ? Err(rc, "buffer too small for the string") : rc;
}

const char* HandleKindName(Kind k) {
    switch (k) {
        case Kind::System:
            return "system";
        case Kind::Interface:
            return "interface";
        case Kind::Device:
            return "device";
        case Kind::RemoteDevice:
            return "remote device port";
        case Kind::Stream:
            return "data stream";
        case Kind::Buffer:
            return "buffer";
        case Kind::Event:
            return "event";
    }
    return "?";
}

template <typename T>
GC_ERROR Lookup(CProducer& p, void* h, Kind kind, T*& out) {
    out = p.handles.Get<T>(h, kind);
    if (!out) {
        return Err(GC_ERR_INVALID_HANDLE,
                   std::string("not a valid ") + HandleKindName(kind) + " handle");
    }
    return Ok();
}

GC_ERROR CheckDevice(const CModule* m) {
    if (m && m->device && m->device->dropped) {
        return Err(GC_ERR_IO, "the device is no longer reachable");
    }
    return Ok();
}

// --- closing, children first -----------------------------------------------------------------

void AbortEvents(CProducer& p, CModule& m) {
    std::lock_guard<std::mutex> g(*m.eventLock);
    for (auto& [type, ev] : m.events) {
        ev->Abort();
        for (auto it = g_events.begin(); it != g_events.end();) {
            if (it->second == ev) {
                p.handles.Remove(it->first);
                it = g_events.erase(it);
            } else {
                ++it;
            }
        }
    }
    m.events.clear();
}

void CloseStream(CProducer& p, CDevice& dev, size_t index) {
    CDataStream* ds = dev.streams[index].get();
    if (!ds)
        return;
    ds->Stop();
    AbortEvents(p, *ds);
    {
        std::lock_guard<std::mutex> g(*ds->lock);
        for (auto& b : ds->buffers)
            p.handles.Remove(b->handle);
        ds->newBufferEvent.reset();
    }
    p.handles.Remove(ds->handle);
    dev.streams[index].reset();
}

void CloseDevice(CProducer& p, CInterface& itf, CDevice* dev) {
    for (size_t i = 0; i < dev->streams.size(); ++i)
        CloseStream(p, *dev, i);
    AbortEvents(p, *dev);
    if (dev->remote) {
        AbortEvents(p, *dev->remote);
        p.handles.Remove(dev->remote->handle);
    }
    p.handles.Remove(dev->handle);
    itf.open.erase(std::find_if(itf.open.begin(), itf.open.end(),
                                [dev](const auto& d) { return d.get() == dev; }));
}

void CloseInterface(CProducer& p, CInterface* itf) {
    while (!itf->open.empty())
        CloseDevice(p, *itf, itf->open.back().get());
    AbortEvents(p, *itf);
    p.handles.Remove(itf->handle);
    auto& list = p.system->open;
    list.erase(
        std::find_if(list.begin(), list.end(), [itf](const auto& i) { return i.get() == itf; }));
}

void CloseSystem(CProducer& p) {
    if (!p.system)
        return;
    while (!p.system->open.empty())
        CloseInterface(p, p.system->open.back().get());
    AbortEvents(p, *p.system);
    p.handles.Remove(p.system->handle);
    p.system.reset();
}

// --- information -------------------------------------------------------------------------------

std::string FileName(const std::string& path) {
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

GC_ERROR TlInfo(CProducer& p, TL_INFO_CMD cmd, InfoValue& v) {
    const auto& c = p.config;
    switch (cmd) {
        case TL_INFO_ID:
            v = InfoValue::String(p.path);
            break;
        case TL_INFO_VENDOR:
            v = InfoValue::String(c.vendor);
            break;
        case TL_INFO_MODEL:
            v = InfoValue::String(c.model);
            break;
        case TL_INFO_VERSION:
            v = InfoValue::String(c.version);
            break;
        case TL_INFO_TLTYPE:
            v = InfoValue::String(c.tlType);
            break;
        case TL_INFO_NAME:
            v = InfoValue::String(FileName(p.path));
            break;
        case TL_INFO_PATHNAME:
            v = InfoValue::String(p.path);
            break;
        case TL_INFO_DISPLAYNAME:
            v = InfoValue::String(c.vendor + " " + c.model);
            break;
        case TL_INFO_CHAR_ENCODING:
            v = InfoValue::I32(TL_CHAR_ENCODING_ASCII);
            break;
#ifdef LUMOSIM_GENTL_1_0
        case TL_INFO_GENTL_VER_MAJOR:
            v = InfoValue::U32(1);
            break;
        case TL_INFO_GENTL_VER_MINOR:
            v = InfoValue::U32(0);
            break;
#else
        case TL_INFO_GENTL_VER_MAJOR:
            v = InfoValue::U32(1);
            break;
        case TL_INFO_GENTL_VER_MINOR:
            v = InfoValue::U32(6);
            break;
#endif
        default:
            return Err(GC_ERR_NOT_IMPLEMENTED, "unknown TL_INFO command " + std::to_string(cmd));
    }
    return Ok();
}

GC_ERROR InterfaceInfo(const LumoSim::InterfaceConfig& c, INTERFACE_INFO_CMD cmd, InfoValue& v) {
    switch (cmd) {
        case INTERFACE_INFO_ID:
            v = InfoValue::String(c.id);
            break;
        case INTERFACE_INFO_DISPLAYNAME:
            v = InfoValue::String(c.displayName);
            break;
        case INTERFACE_INFO_TLTYPE:
            v = InfoValue::String(c.tlType);
            break;
        default:
            return Err(GC_ERR_NOT_IMPLEMENTED,
                       "unknown INTERFACE_INFO command " + std::to_string(cmd));
    }
    return Ok();
}

std::vector<uint8_t> Ipv4Bytes(const std::string& dotted) {
    std::vector<uint8_t> b(4, 0);
    std::istringstream s(dotted);
    std::string part;
    for (size_t i = 0; i < 4 && std::getline(s, part, '.'); ++i) {
        b[i] = static_cast<uint8_t>(std::atoi(part.c_str()));
    }
    return b;
}

GC_ERROR DeviceInfo(const LumoSim::DeviceConfig& c, const CDevice* open, DEVICE_INFO_CMD cmd,
                    InfoValue& v) {
    switch (cmd) {
        case DEVICE_INFO_ID:
            v = InfoValue::String(c.id);
            break;
        case DEVICE_INFO_VENDOR:
            v = InfoValue::String(c.vendor);
            break;
        case DEVICE_INFO_MODEL:
            v = InfoValue::String(c.model);
            break;
        case DEVICE_INFO_TLTYPE:
            v = InfoValue::String(c.tlType);
            break;
        case DEVICE_INFO_DISPLAYNAME:
            v = InfoValue::String(c.displayName);
            break;
        case DEVICE_INFO_ACCESS_STATUS:
            v = InfoValue::I32(!open ? c.accessStatus
                               : open->openFlags == DEVICE_ACCESS_READONLY
                                   ? DEVICE_ACCESS_STATUS_OPEN_READONLY
                                   : DEVICE_ACCESS_STATUS_OPEN_READWRITE);
            break;
        case DEVICE_INFO_USER_DEFINED_NAME:
            if (c.userName.empty())
                return Err(GC_ERR_NOT_AVAILABLE, "the device has no user-defined name");
            v = InfoValue::String(c.userName);
            break;
        case DEVICE_INFO_SERIAL_NUMBER:
            v = InfoValue::String(c.serial);
            break;
        case DEVICE_INFO_VERSION:
            v = InfoValue::String(c.version);
            break;
        case DEVICE_INFO_TIMESTAMP_FREQUENCY:
            v = InfoValue::U64(c.timestampFrequency);
            break;
        default:
            if (cmd >= 1100 && cmd <= 1106 && c.tlType == "GEV") {
                if (cmd == 1100) {
                    v = InfoValue::Buffer(std::vector<uint8_t>(c.mac.rbegin(), c.mac.rend()));
                } else if (cmd == 1104) {
                    v = InfoValue::String(c.gevText);
                } else {
                    v = InfoValue::Buffer(Ipv4Bytes(c.gevAddr[static_cast<size_t>(cmd - 1101)]));
                }
                return Ok();
            }
            return Err(GC_ERR_NOT_IMPLEMENTED,
                       "unknown DEVICE_INFO command " + std::to_string(cmd));
    }
    return Ok();
}

GC_ERROR LoadConfig(CProducer*& out, std::string& error) {
    const std::string path = LumoSim::ModulePath();
    std::string configPath;
    if (const char* env = std::getenv("LUMOSIM_CONFIG"); env && *env) {
        configPath = env;
    } else {
        std::string base = path;
        const auto dot = base.find_last_of('.');
        if (dot != std::string::npos && base.find('/', dot) == std::string::npos)
            base.resize(dot);
        configPath = base + ".json";
    }
    LumoSim::Config cfg;
    std::ifstream in(configPath, std::ios::binary);
    if (in) {
        std::stringstream text;
        text << in.rdbuf();
        if (!in.good() && !in.eof()) {
            error = configPath + ": cannot be read";
            return GC_ERR_INVALID_PARAMETER;
        }
        if (!LumoSim::Config::Parse(text.str(), cfg, error)) {
            error = configPath + ": " + error;
            return GC_ERR_INVALID_PARAMETER;
        }
    } else if (std::getenv("LUMOSIM_CONFIG") && *std::getenv("LUMOSIM_CONFIG")) {
        error = configPath + ": cannot be opened";
        return GC_ERR_INVALID_PARAMETER;
    } else {
#ifdef LUMOSIM_NO_INTERFACES
        LumoSim::Config::Parse(R"({"interfaces": []})", cfg, error);
#else
        cfg = LumoSim::Config::Default();
#endif
    }
    out = new CProducer(std::move(cfg));
    out->path = path;
    return GC_ERR_SUCCESS;
}

}  // namespace

namespace LumoSim {
CProducer* Current() {
    return g_producer.get();
}
}  // namespace LumoSim

extern "C" {
namespace GenTL {

// --- library -----------------------------------------------------------------------------------

GC_API GCInitLib(void) {
    std::lock_guard<std::mutex> lk(g_lock);
    if (g_producer)
        return Err(GC_ERR_RESOURCE_IN_USE, "GCInitLib: already initialised");
    try {
        CProducer* p = nullptr;
        std::string error;
        const GC_ERROR rc = LoadConfig(p, error);
        if (rc)
            return Err(rc, "GCInitLib: " + error);
        g_producer.reset(p);
        if (const int32_t frc = p->faults.OnCall("GCInitLib")) {
            g_producer.reset();
            return Err(frc, "GCInitLib: injected failure");
        }
    } catch (const std::exception& e) {
        return Err(GC_ERR_ERROR, std::string("GCInitLib: ") + e.what());
    }
    return Ok();
}

GC_API GCCloseLib(void) {
    return Api("GCCloseLib", [](CProducer& p, auto&) {
        CloseSystem(p);
        g_events.clear();
        g_producer.reset();
        return Ok();
    });
}

GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Api("GCGetInfo", [&](CProducer& p, auto&) {
        InfoValue v;
        if (GC_ERROR rc = TlInfo(p, iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    {
        std::lock_guard<std::mutex> lk(g_lock);
        if (!g_producer)
            return GC_ERR_NOT_INITIALIZED;
    }
    if (!piErrorCode || !piSize)
        return GC_ERR_INVALID_PARAMETER;
    const LastError last = GetLastErrorOfThisThread();
    *piErrorCode = last.code;
    const size_t need = last.text.size() + 1;
    if (sErrText) {
        if (*piSize < need)
            return GC_ERR_BUFFER_TOO_SMALL;
        std::memcpy(sErrText, last.text.c_str(), need);
    }
    *piSize = need;
    return GC_ERR_SUCCESS;
}

// --- system ------------------------------------------------------------------------------------

GC_API TLOpen(TL_HANDLE* phTL) {
    return Api("TLOpen", [&](CProducer& p, auto&) {
        if (!phTL)
            return Err(GC_ERR_INVALID_PARAMETER, "TLOpen: phTL is null");
        if (p.system)
            return Err(GC_ERR_RESOURCE_IN_USE, "TLOpen: the system module is already open");
        p.system = std::make_unique<CSystem>();
        p.system->handle = p.handles.Add(Kind::System, p.system.get());
        *phTL = p.system->handle;
        return Ok();
    });
}

GC_API TLClose(TL_HANDLE hTL) {
    return Api("TLClose", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        CloseSystem(p);
        return Ok();
    });
}

GC_API TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
    return Api("TLGetInfo", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        InfoValue v;
        if (GC_ERROR rc = TlInfo(p, iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t) {
    return Api("TLUpdateInterfaceList", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        std::vector<std::string> list;
        for (const auto& itf : p.config.interfaces)
            list.push_back(itf.id);
        const bool changed = list != s->interfaceList;
        if (changed) {
            s->interfaceList = list;
            s->Rebuild();
        }
        if (pbChanged)
            *pbChanged = changed;
        return Ok();
    });
}

GC_API TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
    return Api("TLGetNumInterfaces", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        if (!piNumIfaces)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumIfaces is null");
        *piNumIfaces = static_cast<uint32_t>(s->interfaceList.size());
        return Ok();
    });
}

GC_API TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize) {
    return Api("TLGetInterfaceID", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        if (iIndex >= s->interfaceList.size())
            return Err(GC_ERR_INVALID_INDEX, "interface index out of range");
        return OutString(s->interfaceList[iIndex], sID, piSize);
    });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Api("TLGetInterfaceInfo", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        if (!sIfaceID)
            return Err(GC_ERR_INVALID_PARAMETER, "sIfaceID is null");
        for (const auto& itf : p.config.interfaces) {
            if (itf.id == sIfaceID) {
                InfoValue v;
                if (GC_ERROR rc = InterfaceInfo(itf, iInfoCmd, v))
                    return rc;
                return Out(v, piType, pBuffer, piSize);
            }
        }
        return Err(GC_ERR_INVALID_ID, std::string("unknown interface ID ") + sIfaceID);
    });
}

GC_API TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
    return Api("TLOpenInterface", [&](CProducer& p, auto&) {
        CSystem* s = nullptr;
        if (GC_ERROR rc = Lookup(p, hTL, Kind::System, s))
            return rc;
        if (!sIfaceID || !phIface)
            return Err(GC_ERR_INVALID_PARAMETER, "TLOpenInterface: null argument");
        for (const auto& itf : s->open) {
            if (itf->id == sIfaceID)
                return Err(GC_ERR_RESOURCE_IN_USE, "the interface is already open");
        }
        for (const auto& cfg : p.config.interfaces) {
            if (cfg.id == sIfaceID) {
                s->open.push_back(std::make_unique<CInterface>(*s, cfg));
                s->open.back()->handle = p.handles.Add(Kind::Interface, s->open.back().get());
                *phIface = s->open.back()->handle;
                return Ok();
            }
        }
        return Err(GC_ERR_INVALID_ID, std::string("unknown interface ID ") + sIfaceID);
    });
}

// --- interface ---------------------------------------------------------------------------------

GC_API IFClose(IF_HANDLE hIface) {
    return Api("IFClose", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        CloseInterface(p, i);
        return Ok();
    });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Api("IFGetInfo", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        InfoValue v;
        if (GC_ERROR rc = InterfaceInfo(i->cfg, iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t) {
    return Api("IFUpdateDeviceList", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        std::vector<std::string> list;
        for (const auto& d : i->cfg.devices) {
            const CDevice* open = i->OpenDevice(d.id);
            if (!open || !open->dropped)
                list.push_back(d.id);
        }
        const bool changed = list != i->deviceList;
        if (changed) {
            i->deviceList = list;
            i->Rebuild();
        }
        if (pbChanged)
            *pbChanged = changed;
        return Ok();
    });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return Api("IFGetNumDevices", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        if (!piNumDevices)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumDevices is null");
        *piNumDevices = static_cast<uint32_t>(i->deviceList.size());
        return Ok();
    });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
    return Api("IFGetDeviceID", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        if (iIndex >= i->deviceList.size())
            return Err(GC_ERR_INVALID_INDEX, "device index out of range");
        return OutString(i->deviceList[iIndex], sIDeviceID, piSize);
    });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Api("IFGetDeviceInfo", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        if (!sDeviceID)
            return Err(GC_ERR_INVALID_PARAMETER, "sDeviceID is null");
        const LumoSim::DeviceConfig* d = i->FindDevice(sDeviceID);
        if (!d)
            return Err(GC_ERR_INVALID_ID, std::string("unknown device ID ") + sDeviceID);
        InfoValue v;
        if (GC_ERROR rc = DeviceInfo(*d, i->OpenDevice(sDeviceID), iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                    DEV_HANDLE* phDevice) {
    return Api("IFOpenDevice", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        if (!sDeviceID || !phDevice)
            return Err(GC_ERR_INVALID_PARAMETER, "IFOpenDevice: null argument");
        if (iOpenFlag == DEVICE_ACCESS_NONE)
            return Err(GC_ERR_NOT_IMPLEMENTED, "DEVICE_ACCESS_NONE is not supported");
        if (iOpenFlag < DEVICE_ACCESS_READONLY || iOpenFlag > DEVICE_ACCESS_EXCLUSIVE) {
            return Err(GC_ERR_INVALID_PARAMETER,
                       "invalid access flag " + std::to_string(iOpenFlag));
        }
        const LumoSim::DeviceConfig* d = i->FindDevice(sDeviceID);
        if (!d)
            return Err(GC_ERR_INVALID_ID, std::string("unknown device ID ") + sDeviceID);
        if (i->OpenDevice(sDeviceID))
            return Err(GC_ERR_RESOURCE_IN_USE, "the device is already open");
        if (d->accessStatus == DEVICE_ACCESS_STATUS_BUSY ||
            d->accessStatus == DEVICE_ACCESS_STATUS_NOACCESS ||
            (d->accessStatus == DEVICE_ACCESS_STATUS_READONLY &&
             iOpenFlag != DEVICE_ACCESS_READONLY)) {
            return Err(GC_ERR_ACCESS_DENIED, "the device does not grant this access");
        }
        auto dev = std::make_unique<CDevice>(*i, *d);
        dev->openFlags = iOpenFlag;
        dev->handle = p.handles.Add(Kind::Device, dev.get());
        if (dev->remote)
            dev->remote->handle = p.handles.Add(Kind::RemoteDevice, dev->remote.get());
        *phDevice = dev->handle;
        i->open.push_back(std::move(dev));
        return Ok();
    });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return Api("IFGetParentTL", [&](CProducer& p, auto&) {
        CInterface* i = nullptr;
        if (GC_ERROR rc = Lookup(p, hIface, Kind::Interface, i))
            return rc;
        if (!phSystem)
            return Err(GC_ERR_INVALID_PARAMETER, "phSystem is null");
        *phSystem = i->parent.handle;
        return Ok();
    });
}

// --- device ------------------------------------------------------------------------------------

GC_API DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return Api("DevGetPort", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        if (!phRemoteDevice)
            return Err(GC_ERR_INVALID_PARAMETER, "phRemoteDevice is null");
        if (GC_ERROR rc = CheckDevice(d))
            return rc;
        if (!d->remote)
            return Err(GC_ERR_NOT_AVAILABLE, "the device has no remote device port");
        *phRemoteDevice = d->remote->handle;
        return Ok();
    });
}

GC_API DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return Api("DevGetNumDataStreams", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        if (!piNumDataStreams)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumDataStreams is null");
        if (GC_ERROR rc = CheckDevice(d))
            return rc;
        *piNumDataStreams = d->cfg.streams;
        return Ok();
    });
}

GC_API DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                          size_t* piSize) {
    return Api("DevGetDataStreamID", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        if (GC_ERROR rc = CheckDevice(d))
            return rc;
        if (d->cfg.streams == 0)
            return Err(GC_ERR_NOT_IMPLEMENTED, "the device has no data stream");
        if (iIndex >= d->cfg.streams)
            return Err(GC_ERR_INVALID_INDEX, "stream index out of range");
        return OutString(d->StreamIds()[iIndex], sDataStreamID, piSize);
    });
}

GC_API DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return Api("DevOpenDataStream", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        if (!sDataStreamID || !phDataStream)
            return Err(GC_ERR_INVALID_PARAMETER, "DevOpenDataStream: null argument");
        if (GC_ERROR rc = CheckDevice(d))
            return rc;
        if (d->cfg.streams == 0)
            return Err(GC_ERR_NOT_IMPLEMENTED, "the device has no data stream");
        const auto ids = d->StreamIds();
        const auto it = std::find(ids.begin(), ids.end(), sDataStreamID);
        if (it == ids.end())
            return Err(GC_ERR_INVALID_ID, std::string("unknown stream ID ") + sDataStreamID);
        const auto index = static_cast<size_t>(it - ids.begin());
        if (d->streams[index])
            return Err(GC_ERR_RESOURCE_IN_USE, "the stream is already open");
        d->streams[index] = std::make_unique<CDataStream>(*d, static_cast<uint32_t>(index));
        d->streams[index]->handle = p.handles.Add(Kind::Stream, d->streams[index].get());
        *phDataStream = d->streams[index]->handle;
        return Ok();
    });
}

GC_API DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                  void* pBuffer, size_t* piSize) {
    return Api("DevGetInfo", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        InfoValue v;
        if (GC_ERROR rc = DeviceInfo(d->cfg, d, iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API DevClose(DEV_HANDLE hDevice) {
    return Api("DevClose", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        CloseDevice(p, d->parent, d);
        return Ok();
    });
}

GC_API DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return Api("DevGetParentIF", [&](CProducer& p, auto&) {
        CDevice* d = nullptr;
        if (GC_ERROR rc = Lookup(p, hDevice, Kind::Device, d))
            return rc;
        if (!phIface)
            return Err(GC_ERR_INVALID_PARAMETER, "phIface is null");
        *phIface = d->parent.handle;
        return Ok();
    });
}

}  // namespace GenTL
}  // extern "C"

// --- data stream -------------------------------------------------------------------------------

namespace {

GC_ERROR StreamAndBuffer(CProducer& p, DS_HANDLE hDs, BUFFER_HANDLE hBuf, CDataStream*& ds,
                         CBuffer*& buf) {
    if (GC_ERROR rc = Lookup(p, hDs, Kind::Stream, ds))
        return rc;
    buf = p.handles.Get<CBuffer>(hBuf, Kind::Buffer);
    if (!buf || ds->Find(hBuf) != buf)
        return Err(GC_ERR_INVALID_HANDLE, "not a buffer of this data stream");
    return Ok();
}

GC_ERROR BufferInfo(CProducer& p, CDataStream& ds, const CBuffer& b, BUFFER_INFO_CMD cmd,
                    InfoValue& v) {
    const bool filling = b.state == CBuffer::State::Filling;
    // The engine writes a buffer's metadata while filling it; only the fixed facts are readable.
    const bool fixedFact = cmd == BUFFER_INFO_BASE || cmd == BUFFER_INFO_SIZE ||
                           cmd == BUFFER_INFO_USER_PTR || cmd == BUFFER_INFO_IS_QUEUED ||
                           cmd == BUFFER_INFO_IS_ACQUIRING || cmd == BUFFER_INFO_TLTYPE ||
                           cmd == BUFFER_INFO_IS_COMPOSITE;
    if (filling && !fixedFact && cmd >= 0 && cmd <= BUFFER_INFO_IS_COMPOSITE) {
        return Err(GC_ERR_NOT_AVAILABLE, "the buffer is being filled");
    }
    auto meta = [&](InfoValue value) -> GC_ERROR {
        v = std::move(value);
        return Ok();
    };
    switch (cmd) {
        case BUFFER_INFO_BASE:
            v = InfoValue::Ptr(b.base);
            return Ok();
        case BUFFER_INFO_SIZE:
            v = InfoValue::SizeT(b.size);
            return Ok();
        case BUFFER_INFO_USER_PTR:
            v = InfoValue::Ptr(b.userPtr);
            return Ok();
        case BUFFER_INFO_TIMESTAMP:
            return meta(InfoValue::U64(b.timestamp));
        case BUFFER_INFO_NEW_DATA:
            return meta(InfoValue::Bool(b.newData));
        case BUFFER_INFO_IS_QUEUED:
            v = InfoValue::Bool(b.IsQueued());
            return Ok();
        case BUFFER_INFO_IS_ACQUIRING:
            v = InfoValue::Bool(filling);
            return Ok();
        case BUFFER_INFO_IS_INCOMPLETE:
            return meta(InfoValue::Bool(b.incomplete));
        case BUFFER_INFO_TLTYPE:
            v = InfoValue::String(ds.tlType);
            return Ok();
        case BUFFER_INFO_SIZE_FILLED:
            return meta(InfoValue::SizeT(b.sizeFilled));
        case BUFFER_INFO_WIDTH:
            return meta(InfoValue::SizeT(b.params.width));
        case BUFFER_INFO_HEIGHT:
            return meta(InfoValue::SizeT(b.params.height));
        case BUFFER_INFO_XOFFSET:
            return meta(InfoValue::SizeT(b.params.offsetX));
        case BUFFER_INFO_YOFFSET:
            return meta(InfoValue::SizeT(b.params.offsetY));
        case BUFFER_INFO_XPADDING:
            return meta(InfoValue::SizeT(0));
        case BUFFER_INFO_YPADDING:
            return meta(InfoValue::SizeT(0));
        case BUFFER_INFO_FRAMEID:
            return meta(InfoValue::U64(b.frameId));
        case BUFFER_INFO_IMAGEPRESENT:
            return meta(InfoValue::Bool(filling || b.newData || b.sizeFilled > 0));
        case BUFFER_INFO_IMAGEOFFSET:
            return meta(InfoValue::SizeT(0));
        case BUFFER_INFO_PAYLOADTYPE:
            return meta(InfoValue::SizeT(PAYLOAD_TYPE_IMAGE));
        case BUFFER_INFO_PIXELFORMAT:
            return meta(InfoValue::U64(b.params.pixelFormat));
        case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
            return meta(InfoValue::U64(PIXELFORMAT_NAMESPACE_PFNC_32BIT));
        case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
            return meta(InfoValue::SizeT(b.deliveredHeight));
        case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
            return meta(InfoValue::SizeT(b.chunks.empty() ? 0 : b.sizeFilled - b.imageSize));
        case BUFFER_INFO_CHUNKLAYOUTID:
            return meta(InfoValue::U64(b.chunks.size()));
        case BUFFER_INFO_FILENAME:
            return Err(GC_ERR_NOT_AVAILABLE, "the payload is not a file");
        case BUFFER_INFO_PIXEL_ENDIANNESS:
            return meta(InfoValue::I32(b.params.bigEndian16 ? PIXELENDIANNESS_BIG
                                                            : PIXELENDIANNESS_LITTLE));
        case BUFFER_INFO_DATA_SIZE:
            return meta(InfoValue::SizeT(b.dataSize));
        case BUFFER_INFO_TIMESTAMP_NS:
            return meta(InfoValue::U64(b.timestampNs));
        case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
            return meta(InfoValue::Bool(b.largerThanBuffer));
        case BUFFER_INFO_CONTAINS_CHUNKDATA:
            return meta(InfoValue::Bool(!b.chunks.empty()));
        case BUFFER_INFO_IS_COMPOSITE:
            v = InfoValue::Bool(false);
            return Ok();
        default:
            (void)p;
            return Err(GC_ERR_NOT_IMPLEMENTED,
                       "unknown BUFFER_INFO command " + std::to_string(cmd));
    }
}

GC_ERROR AddBuffer(CProducer& p, CDataStream& ds, std::unique_ptr<CBuffer> b,
                   BUFFER_HANDLE* phBuffer) {
    b->handle = p.handles.Add(Kind::Buffer, b.get());
    *phBuffer = b->handle;
    ds.buffers.push_back(std::move(b));
    return Ok();
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                        BUFFER_HANDLE* phBuffer) {
    return Api("DSAnnounceBuffer", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (!pBuffer || !phBuffer || iSize == 0)
            return Err(GC_ERR_INVALID_PARAMETER, "DSAnnounceBuffer: bad argument");
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        std::lock_guard<std::mutex> g(*ds->lock);
        if (ds->grabbing)
            return Err(GC_ERR_BUSY, "cannot announce while acquisition runs");
        for (const auto& b : ds->buffers) {
            if (b->base == pBuffer)
                return Err(GC_ERR_RESOURCE_IN_USE, "this memory is already announced");
        }
        auto b = std::make_unique<CBuffer>();
        b->base = static_cast<uint8_t*>(pBuffer);
        b->size = iSize;
        b->userPtr = pPrivate;
        return AddBuffer(p, *ds, std::move(b), phBuffer);
    });
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                BUFFER_HANDLE* phBuffer) {
    return Api("DSAllocAndAnnounceBuffer", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (!phBuffer || iSize == 0)
            return Err(GC_ERR_INVALID_PARAMETER, "DSAllocAndAnnounceBuffer: bad argument");
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        std::lock_guard<std::mutex> g(*ds->lock);
        if (ds->grabbing)
            return Err(GC_ERR_BUSY, "cannot announce while acquisition runs");
        if (ds->allocated >= p.config.maxAllocBuffers) {
            return Err(GC_ERR_OUT_OF_MEMORY, "no memory for another buffer (configured limit)");
        }
        auto b = std::make_unique<CBuffer>();
        b->owned.reset(new (std::nothrow) uint8_t[iSize]);
        if (!b->owned)
            return Err(GC_ERR_OUT_OF_MEMORY, "cannot allocate " + std::to_string(iSize) + " bytes");
        b->base = b->owned.get();
        b->size = iSize;
        b->userPtr = pPrivate;
        ++ds->allocated;
        return AddBuffer(p, *ds, std::move(b), phBuffer);
    });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** pBuffer,
                      void** pPrivate) {
    return Api("DSRevokeBuffer", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        std::lock_guard<std::mutex> g(*ds->lock);
        if (ds->grabbing)
            return Err(GC_ERR_BUSY, "cannot revoke while acquisition runs");
        if (b->IsQueued())
            return Err(GC_ERR_BUSY, "the buffer is still queued");
        if (pBuffer)
            *pBuffer = b->owned ? nullptr : b->base;
        if (pPrivate)
            *pPrivate = b->userPtr;
        if (b->owned)
            --ds->allocated;
        p.handles.Remove(hBuffer);
        ds->buffers.erase(std::find_if(ds->buffers.begin(), ds->buffers.end(),
                                       [b](const auto& x) { return x.get() == b; }));
        return Ok();
    });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return Api("DSQueueBuffer", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        std::lock_guard<std::mutex> g(*ds->lock);
        if (b->IsQueued())
            return Err(GC_ERR_RESOURCE_IN_USE, "the buffer is already queued");
        b->state = CBuffer::State::Input;
        b->sizeFilled = 0;
        b->dataSize = 0;
        ds->input.push_back(b);
        ds->Wake();
        return Ok();
    });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return Api("DSGetBufferID", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (!phBuffer)
            return Err(GC_ERR_INVALID_PARAMETER, "phBuffer is null");
        std::lock_guard<std::mutex> g(*ds->lock);
        if (iIndex >= ds->buffers.size())
            return Err(GC_ERR_INVALID_INDEX, "buffer index out of range");
        *phBuffer = ds->buffers[iIndex]->handle;
        return Ok();
    });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return Api("DSFlushQueue", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        const GC_ERROR rc = ds->Flush(iOperation);
        return rc ? Err(rc, "unknown flush operation " + std::to_string(iOperation)) : rc;
    });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                          uint64_t iNumToAcquire) {
    return Api("DSStartAcquisition", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (iStartFlags != ACQ_START_FLAGS_DEFAULT)
            return Err(GC_ERR_NOT_IMPLEMENTED, "unsupported start flags");
        if (GC_ERROR rc = CheckDevice(ds))
            return rc;
        const GC_ERROR rc = ds->Start(iNumToAcquire);
        return rc ? Err(rc, rc == GC_ERR_INVALID_BUFFER    ? "no buffer announced"
                            : rc == GC_ERR_RESOURCE_IN_USE ? "acquisition is already running"
                                                           : "the count must not be 0")
                  : rc;
    });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return Api("DSStopAcquisition", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (iStopFlags != ACQ_STOP_FLAGS_DEFAULT && iStopFlags != ACQ_STOP_FLAGS_KILL) {
            return Err(GC_ERR_NOT_IMPLEMENTED, "unsupported stop flags");
        }
        {
            std::lock_guard<std::mutex> g(*ds->lock);
            if (!ds->grabbing)
                return Err(GC_ERR_RESOURCE_IN_USE, "acquisition is not running");
        }
        ds->Stop();
        return CheckDevice(ds);
    });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Api("DSGetInfo", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        InfoValue v;
        if (iInfoCmd == STREAM_INFO_PAYLOAD_SIZE) {
            v = InfoValue::SizeT(static_cast<size_t>(ds->PayloadSize()));
            return Out(v, piType, pBuffer, piSize);
        }
        std::lock_guard<std::mutex> g(*ds->lock);
        switch (iInfoCmd) {
            case STREAM_INFO_ID:
                v = InfoValue::String(ds->id);
                break;
            case STREAM_INFO_NUM_DELIVERED:
                v = InfoValue::U64(ds->delivered);
                break;
            case STREAM_INFO_NUM_UNDERRUN:
                v = InfoValue::U64(ds->underruns);
                break;
            case STREAM_INFO_NUM_ANNOUNCED:
                v = InfoValue::SizeT(ds->buffers.size());
                break;
            case STREAM_INFO_NUM_QUEUED:
                v = InfoValue::SizeT(ds->CountQueued());
                break;
            case STREAM_INFO_NUM_AWAIT_DELIVERY:
                v = InfoValue::SizeT(ds->output.size());
                break;
            case STREAM_INFO_NUM_STARTED:
                v = InfoValue::U64(ds->started);
                break;
            case STREAM_INFO_IS_GRABBING:
                v = InfoValue::Bool(ds->grabbing);
                break;
            case STREAM_INFO_DEFINES_PAYLOADSIZE:
                v = InfoValue::Bool(false);
                break;
            case STREAM_INFO_TLTYPE:
                v = InfoValue::String(ds->tlType);
                break;
            case STREAM_INFO_NUM_CHUNKS_MAX:
                v = InfoValue::SizeT(LumoSim::CamReg::kChunkCount);
                break;
            case STREAM_INFO_BUF_ANNOUNCE_MIN:
                v = InfoValue::SizeT(1);
                break;
            case STREAM_INFO_BUF_ALIGNMENT:
                v = InfoValue::SizeT(1);
                break;
            case STREAM_INFO_FLOW_TABLE:
                return Err(GC_ERR_NO_DATA, "the stream uses no flows");
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED,
                           "unknown STREAM_INFO command " + std::to_string(iInfoCmd));
        }
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API DSClose(DS_HANDLE hDataStream) {
    return Api("DSClose", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        CDevice* dev = ds->device;
        for (size_t i = 0; i < dev->streams.size(); ++i) {
            if (dev->streams[i].get() == ds)
                CloseStream(p, *dev, i);
        }
        return Ok();
    });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Api("DSGetBufferInfo", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        std::lock_guard<std::mutex> g(*ds->lock);
        InfoValue v;
        if (GC_ERROR rc = BufferInfo(p, *ds, *b, iInfoCmd, v))
            return rc;
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return Api("DSGetParentDev", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (!phDevice)
            return Err(GC_ERR_INVALID_PARAMETER, "phDevice is null");
        *phDevice = ds->device->handle;
        return Ok();
    });
}

#ifndef LUMOSIM_GENTL_1_0
GC_API DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                            SINGLE_CHUNK_DATA* pChunkData, size_t* piNumChunks) {
    return Api("DSGetBufferChunkData", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (!piNumChunks)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumChunks is null");
        std::lock_guard<std::mutex> g(*ds->lock);
        if (b->state == CBuffer::State::Filling)
            return Err(GC_ERR_NOT_AVAILABLE, "the buffer is being filled");
        if (b->chunks.empty())
            return Err(GC_ERR_NO_DATA, "the buffer carries no chunk data");
        if (!pChunkData) {
            *piNumChunks = b->chunks.size();
            return Ok();
        }
        if (*piNumChunks < b->chunks.size())
            return Err(GC_ERR_BUFFER_TOO_SMALL, "chunk array too small");
        std::copy(b->chunks.begin(), b->chunks.end(), pChunkData);
        if (p.config.chunkOverrun) {
            pChunkData[0].ChunkLength = b->size;  // reaches past the end of the buffer
        }
        *piNumChunks = b->chunks.size();
        return Ok();
    });
}

GC_API DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts) {
    return Api("DSGetNumBufferParts", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (!piNumParts)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumParts is null");
        return Err(GC_ERR_NO_DATA, "the payload is not multi-part");
    });
}

GC_API DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t,
                           BUFFER_PART_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
    return Api("DSGetBufferPartInfo", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        return Err(GC_ERR_NO_DATA, "the payload is not multi-part");
    });
}

GC_API DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t, void**, size_t*, void*,
                                 BUFFER_HANDLE*) {
    return Api("DSAnnounceCompositeBuffer", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        return Err(GC_ERR_NOT_IMPLEMENTED, "composite buffers are not supported");
    });
}

GC_API DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              DS_BUFFER_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
    return Api("DSGetBufferInfoStacked", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (!pInfoStacked || iNumInfos == 0)
            return Err(GC_ERR_INVALID_PARAMETER, "no entries");
        std::lock_guard<std::mutex> g(*ds->lock);
        for (size_t i = 0; i < iNumInfos; ++i) {
            auto& e = pInfoStacked[i];
            InfoValue v;
            e.iResult = BufferInfo(p, *ds, *b, e.iInfoCmd, v);
            if (e.iResult == GC_ERR_SUCCESS) {
                INFO_DATATYPE t = 0;
                size_t size = e.iSize;
                e.iResult = v.CopyOut(&t, e.pBuffer, &size);
                e.iType = t;
                e.iSize = size;
            }
        }
        return Ok();
    });
}

GC_API DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                  DS_BUFFER_PART_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
    return Api("DSGetBufferPartInfoStacked", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (!pInfoStacked || iNumInfos == 0)
            return Err(GC_ERR_INVALID_PARAMETER, "no entries");
        for (size_t i = 0; i < iNumInfos; ++i)
            pInfoStacked[i].iResult = GC_ERR_NO_DATA;
        return Ok();
    });
}

GC_API DSGetNumFlows(DS_HANDLE hDataStream, uint32_t* piNumFlows) {
    return Api("DSGetNumFlows", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        if (!piNumFlows)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumFlows is null");
        return Err(GC_ERR_NO_DATA, "the stream uses no flows");
    });
}

GC_API DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE*, void*,
                     size_t*) {
    return Api("DSGetFlowInfo", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        if (GC_ERROR rc = Lookup(p, hDataStream, Kind::Stream, ds))
            return rc;
        return Err(GC_ERR_NO_DATA, "the stream uses no flows");
    });
}

GC_API DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              uint32_t* piNumSegments) {
    return Api("DSGetNumBufferSegments", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (!piNumSegments)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumSegments is null");
        *piNumSegments = 1;
        return Ok();
    });
}

GC_API DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iSegmentIndex,
                              SEGMENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                              size_t* piSize) {
    return Api("DSGetBufferSegmentInfo", [&](CProducer& p, auto&) {
        CDataStream* ds = nullptr;
        CBuffer* b = nullptr;
        if (GC_ERROR rc = StreamAndBuffer(p, hDataStream, hBuffer, ds, b))
            return rc;
        if (iSegmentIndex != 0)
            return Err(GC_ERR_INVALID_INDEX, "segment index out of range");
        std::lock_guard<std::mutex> g(*ds->lock);
        InfoValue v;
        switch (iInfoCmd) {
            case SEGMENT_INFO_BASE:
                v = InfoValue::Ptr(b->base);
                break;
            case SEGMENT_INFO_SIZE:
                v = InfoValue::SizeT(b->size);
                break;
            case SEGMENT_INFO_IS_INCOMPLETE:
                v = InfoValue::Bool(b->incomplete);
                break;
            case SEGMENT_INFO_SIZE_FILLED:
                v = InfoValue::SizeT(b->sizeFilled);
                break;
            case SEGMENT_INFO_DATA_SIZE:
                v = InfoValue::SizeT(b->dataSize);
                break;
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED, "unknown SEGMENT_INFO command");
        }
        return Out(v, piType, pBuffer, piSize);
    });
}
#endif

}  // namespace GenTL
}  // extern "C"

// --- ports -------------------------------------------------------------------------------------

namespace {

GC_ERROR LookupPort(CProducer& p, PORT_HANDLE h, CModule*& m) {
    m = p.handles.Port(h);
    if (m)
        return CheckDevice(m);
    bool found = false;
    const Kind k = p.handles.KindOf(h, found);
    if (found && k == Kind::Buffer)
        return Err(GC_ERR_NOT_IMPLEMENTED, "buffers have no port");
    return Err(GC_ERR_INVALID_HANDLE, "not a valid port handle");
}

// Port accesses of a device's modules exclude the acquisition engine's reads of the camera.
std::unique_lock<std::mutex> CameraGuard(CModule& m) {
    return m.device ? std::unique_lock<std::mutex>(m.device->camLock)
                    : std::unique_lock<std::mutex>();
}

GC_ERROR PortAccess(CProducer& p, CModule& m, uint64_t address, uint8_t* data, size_t size,
                    bool write) {
    if (m.desc.readFails && !write && address < m.xmlAddress + m.xmlSize &&
        address + size > m.xmlAddress) {
        return Err(GC_ERR_IO, "reading the description file failed");
    }
    if (const int32_t rc = p.faults.OnRegister(m.faultName, address, size, write)) {
        return Err(rc, "injected register failure");
    }
    if (write && m.device && m.device->openFlags == DEVICE_ACCESS_READONLY &&
        (m.kind == Kind::Device || m.kind == Kind::RemoteDevice)) {
        return Err(GC_ERR_ACCESS_DENIED, "the device is open read-only");
    }
    auto g = CameraGuard(m);
    const GC_ERROR rc =
        write ? m.regs.Write(address, data, size) : m.regs.Read(address, data, size);
    if (rc) {
        std::ostringstream s;
        s << (write ? "write to 0x" : "read from 0x") << std::hex << address << " failed";
        return Err(rc, s.str());
    }
    return Ok();
}

[[maybe_unused]] std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return Api("GCReadPort", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!pBuffer || !piSize)
            return Err(GC_ERR_INVALID_PARAMETER, "GCReadPort: null argument");
        return PortAccess(p, *m, iAddress, static_cast<uint8_t*>(pBuffer), *piSize, false);
    });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return Api("GCWritePort", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!pBuffer || !piSize)
            return Err(GC_ERR_INVALID_PARAMETER, "GCWritePort: null argument");
        std::vector<uint8_t> data(static_cast<const uint8_t*>(pBuffer),
                                  static_cast<const uint8_t*>(pBuffer) + *piSize);
        return PortAccess(p, *m, iAddress, data.data(), data.size(), true);
    });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return Api("GCGetPortURL", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!piSize)
            return Err(GC_ERR_INVALID_PARAMETER, "piSize is null");
        std::string list = m->url;
        list.push_back('\0');  // the list ends with an empty entry
        return OutString(list, sURL, piSize);
    });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
    return Api("GCGetPortInfo", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        const bool readOnly = m->device && m->device->openFlags == DEVICE_ACCESS_READONLY &&
                              (m->kind == Kind::Device || m->kind == Kind::RemoteDevice);
        InfoValue v;
        switch (iInfoCmd) {
            case PORT_INFO_ID:
                v = InfoValue::String(m->id);
                break;
            case PORT_INFO_VENDOR:
                v = InfoValue::String(m->vendor);
                break;
            case PORT_INFO_MODEL:
                v = InfoValue::String(m->model);
                break;
            case PORT_INFO_TLTYPE:
                v = InfoValue::String(m->tlType);
                break;
            case PORT_INFO_MODULE:
                v = InfoValue::String(m->moduleName);
                break;
            case PORT_INFO_LITTLE_ENDIAN:
                v = InfoValue::Bool(true);
                break;
            case PORT_INFO_BIG_ENDIAN:
                v = InfoValue::Bool(false);
                break;
            case PORT_INFO_ACCESS_READ:
                v = InfoValue::Bool(true);
                break;
            case PORT_INFO_ACCESS_WRITE:
                v = InfoValue::Bool(!readOnly);
                break;
            case PORT_INFO_ACCESS_NA:
                v = InfoValue::Bool(false);
                break;
            case PORT_INFO_ACCESS_NI:
                v = InfoValue::Bool(false);
                break;
            case PORT_INFO_VERSION:
                v = InfoValue::String("1.0");
                break;
            case PORT_INFO_PORTNAME:
                v = InfoValue::String(m->portName);
                break;
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED,
                           "unknown PORT_INFO command " + std::to_string(iInfoCmd));
        }
        return Out(v, piType, pBuffer, piSize);
    });
}

#ifndef LUMOSIM_GENTL_1_0
GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return Api("GCGetNumPortURLs", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!piNumURLs)
            return Err(GC_ERR_INVALID_PARAMETER, "piNumURLs is null");
        *piNumURLs = 1;
        return Ok();
    });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Api("GCGetPortURLInfo", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (iURLIndex != 0)
            return Err(GC_ERR_INVALID_INDEX, "URL index out of range");
        const std::string lower = Lower(m->url);
        const int32_t scheme = lower.rfind("file:", 0) == 0    ? URL_SCHEME_FILE
                               : lower.rfind("http:", 0) == 0  ? URL_SCHEME_HTTP
                               : lower.rfind("local:", 0) == 0 ? URL_SCHEME_LOCAL
                                                               : URL_SCHEME_CUSTOM_ID;
        const bool local = m->desc.urlOverride.empty();
        InfoValue v;
        switch (iInfoCmd) {
            case URL_INFO_URL:
                v = InfoValue::String(m->url);
                break;
            case URL_INFO_SCHEMA_VER_MAJOR:
                v = InfoValue::I32(1);
                break;
            case URL_INFO_SCHEMA_VER_MINOR:
                v = InfoValue::I32(1);
                break;
            case URL_INFO_FILE_VER_MAJOR:
                v = InfoValue::I32(1);
                break;
            case URL_INFO_FILE_VER_MINOR:
                v = InfoValue::I32(0);
                break;
            case URL_INFO_FILE_VER_SUBMINOR:
                v = InfoValue::I32(0);
                break;
            case URL_INFO_SCHEME:
                v = InfoValue::I32(scheme);
                break;
            case URL_INFO_FILE_REGISTER_ADDRESS:
                if (!local)
                    return Err(GC_ERR_NOT_AVAILABLE, "the URL was overridden");
                v = InfoValue::U64(m->xmlAddress);
                break;
            case URL_INFO_FILE_SIZE:
                if (!local)
                    return Err(GC_ERR_NOT_AVAILABLE, "the URL was overridden");
                v = InfoValue::U64(m->xmlSize);
                break;
            case URL_INFO_FILE_SHA1_HASH:
            case URL_INFO_FILENAME:
                return Err(GC_ERR_NOT_AVAILABLE, "not available for this file");
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED,
                           "unknown URL_INFO command " + std::to_string(iInfoCmd));
        }
        return Out(v, piType, pBuffer, piSize);
    });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                         size_t* piNumEntries) {
    return Api("GCReadPortStacked", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!pEntries || !piNumEntries)
            return Err(GC_ERR_INVALID_PARAMETER, "null argument");
        const size_t n = *piNumEntries;
        for (size_t i = 0; i < n; ++i) {
            if (!pEntries[i].pBuffer)
                return Err(GC_ERR_INVALID_PARAMETER, "entry without buffer");
            if (GC_ERROR rc = PortAccess(p, *m, pEntries[i].Address,
                                         static_cast<uint8_t*>(pEntries[i].pBuffer),
                                         pEntries[i].Size, false)) {
                *piNumEntries = i;
                return rc;
            }
        }
        return Ok();
    });
}

GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                          size_t* piNumEntries) {
    return Api("GCWritePortStacked", [&](CProducer& p, auto&) {
        CModule* m = nullptr;
        if (GC_ERROR rc = LookupPort(p, hPort, m))
            return rc;
        if (!pEntries || !piNumEntries)
            return Err(GC_ERR_INVALID_PARAMETER, "null argument");
        const size_t n = *piNumEntries;
        for (size_t i = 0; i < n; ++i) {
            if (!pEntries[i].pBuffer)
                return Err(GC_ERR_INVALID_PARAMETER, "entry without buffer");
            if (GC_ERROR rc = PortAccess(p, *m, pEntries[i].Address,
                                         static_cast<uint8_t*>(pEntries[i].pBuffer),
                                         pEntries[i].Size, true)) {
                *piNumEntries = i;
                return rc;
            }
        }
        return Ok();
    });
}
#endif

// --- events ------------------------------------------------------------------------------------

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return Api("GCRegisterEvent", [&](CProducer& p, auto&) {
        if (!phEvent)
            return Err(GC_ERR_INVALID_PARAMETER, "phEvent is null");
        bool found = false;
        const Kind k = p.handles.KindOf(hEventSrc, found);
        if (!found || k == Kind::Event)
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event source");
        if (k == Kind::Buffer)
            return Err(GC_ERR_NOT_IMPLEMENTED, "buffers raise no events");
        CModule* m = p.handles.Port(hEventSrc);
        if (GC_ERROR rc = CheckDevice(m))
            return rc;
        bool supported = iEventID == EVENT_ERROR || iEventID == EVENT_MODULE;
        if (k == Kind::Device || k == Kind::RemoteDevice) {
            supported = supported || iEventID == EVENT_FEATURE_INVALIDATE ||
                        iEventID == EVENT_FEATURE_CHANGE || iEventID == EVENT_REMOTE_DEVICE;
        }
        if (k == Kind::Stream)
            supported = supported || iEventID == EVENT_NEW_BUFFER;
        if (!supported)
            return Err(GC_ERR_NOT_IMPLEMENTED,
                       "event type " + std::to_string(iEventID) + " not supported here");
        std::lock_guard<std::mutex> g(*m->eventLock);
        if (m->events.count(iEventID))
            return Err(GC_ERR_RESOURCE_IN_USE, "the event is already registered");
        std::shared_ptr<CEvent> ev;
        if (iEventID == EVENT_NEW_BUFFER) {
            auto* ds = static_cast<CDataStream*>(m);
            ev = std::make_shared<CEvent>(iEventID, ds->lock);
            // Taking or dropping an entry takes the buffer out of the output queue.
            auto leaveOutput = [ds](const CEvent::Entry& e) {
                EVENT_NEW_BUFFER_DATA d{};
                std::memcpy(&d, e.data(), std::min(e.size(), sizeof d));
                auto it = std::find_if(ds->output.begin(), ds->output.end(),
                                       [&](CBuffer* b) { return b->handle == d.BufferHandle; });
                if (it != ds->output.end()) {
                    (*it)->state = CBuffer::State::Unqueued;
                    ds->output.erase(it);
                }
            };
            ev->onConsume = leaveOutput;
            ev->onDrop = leaveOutput;
            std::lock_guard<std::mutex> sg(*ds->lock);
            for (CBuffer* b : ds->output) {
                EVENT_NEW_BUFFER_DATA d{b->handle, b->userPtr};
                CEvent::Entry e(sizeof d);
                std::memcpy(e.data(), &d, sizeof d);
                ev->PushLocked(std::move(e));
            }
            ds->newBufferEvent = ev;
        } else {
            ev = std::make_shared<CEvent>(iEventID, std::make_shared<std::mutex>());
        }
        m->events[iEventID] = ev;
        void* h = p.handles.Add(Kind::Event, ev.get());
        g_events[h] = ev;
        *phEvent = h;
        return Ok();
    });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return Api("GCUnregisterEvent", [&](CProducer& p, auto&) {
        CModule* m = p.handles.Port(hEventSrc);
        if (!m)
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event source");
        std::shared_ptr<CEvent> ev;
        {
            std::lock_guard<std::mutex> g(*m->eventLock);
            auto it = m->events.find(iEventID);
            if (it == m->events.end())
                return Err(GC_ERR_NOT_INITIALIZED, "the event is not registered");
            ev = it->second;
            m->events.erase(it);
        }
        if (iEventID == EVENT_NEW_BUFFER) {
            auto* ds = static_cast<CDataStream*>(m);
            std::lock_guard<std::mutex> sg(*ds->lock);
            ds->newBufferEvent.reset();
        }
        ev->Abort();
        for (auto it = g_events.begin(); it != g_events.end();) {
            if (it->second == ev) {
                p.handles.Remove(it->first);
                it = g_events.erase(it);
            } else {
                ++it;
            }
        }
        return Ok();
    });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    std::shared_ptr<CEvent> ev;
    const GC_ERROR rc = Api("EventGetData", [&](CProducer&, auto&) {
        auto it = g_events.find(hEvent);
        if (it == g_events.end())
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event handle");
        if (pBuffer && !piSize)
            return Err(GC_ERR_INVALID_PARAMETER, "piSize is null");
        ev = it->second;
        return Ok();
    });
    if (rc)
        return rc;
    size_t dummy = 0;
    const GC_ERROR waitRc = ev->Get(pBuffer, piSize ? piSize : &dummy, iTimeout);
    switch (waitRc) {
        case GC_ERR_SUCCESS:
            return waitRc;
        case GC_ERR_TIMEOUT:
            return Err(waitRc, "EventGetData: timeout");
        case GC_ERR_ABORT:
            return Err(waitRc, "EventGetData: aborted");
        default:
            return Err(waitRc, "EventGetData: buffer too small");
    }
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                        EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                        size_t* piOutSize) {
    return Api("EventGetDataInfo", [&](CProducer&, auto&) {
        auto it = g_events.find(hEvent);
        if (it == g_events.end())
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event handle");
        if (!pInBuffer || iInSize == 0)
            return Err(GC_ERR_INVALID_PARAMETER, "no event data given");
        const int32_t type = it->second->Type();
        InfoValue v;
        if (type == EVENT_NEW_BUFFER) {
            if (iInSize < sizeof(EVENT_NEW_BUFFER_DATA))
                return Err(GC_ERR_INVALID_PARAMETER, "event data too short");
            EVENT_NEW_BUFFER_DATA d{};
            std::memcpy(&d, pInBuffer, sizeof d);
            if (iInfoCmd == EVENT_DATA_ID)
                v = InfoValue::Ptr(d.BufferHandle);
            else if (iInfoCmd == EVENT_DATA_VALUE)
                v = InfoValue::Ptr(d.pUserPointer);
            else if (iInfoCmd == EVENT_DATA_NUMID)
                return Err(GC_ERR_NOT_AVAILABLE, "no numeric ID");
            else
                return Err(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_DATA command");
            return Out(v, piType, pOutBuffer, piOutSize);
        }
        std::vector<uint8_t> id, value;
        if (!CEvent::Decode(static_cast<const uint8_t*>(pInBuffer), iInSize, id, value)) {
            return Err(GC_ERR_INVALID_PARAMETER, "not event data of this producer");
        }
        const bool hexId = type == EVENT_REMOTE_DEVICE || type == EVENT_MODULE;
        switch (iInfoCmd) {
            case EVENT_DATA_ID:
                if (type == EVENT_ERROR) {
                    int32_t code = 0;
                    std::memcpy(&code, id.data(), std::min<size_t>(4, id.size()));
                    v = InfoValue::I32(code);
                } else {
                    v = InfoValue::String(
                        std::string(id.begin(), std::find(id.begin(), id.end(), 0)));
                }
                break;
            case EVENT_DATA_VALUE:
                if (hexId)
                    v = InfoValue::Buffer(value);
                else
                    v = InfoValue::String(
                        std::string(value.begin(), std::find(value.begin(), value.end(), 0)));
                break;
            case EVENT_DATA_NUMID:
                if (!hexId)
                    return Err(GC_ERR_NOT_AVAILABLE, "the event ID is not numeric");
                v = InfoValue::U64(std::stoull(std::string(id.begin(), id.end()), nullptr, 16));
                break;
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_DATA command");
        }
        return Out(v, piType, pOutBuffer, piOutSize);
    });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
    return Api("EventGetInfo", [&](CProducer&, auto&) {
        auto it = g_events.find(hEvent);
        if (it == g_events.end())
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event handle");
        CEvent& ev = *it->second;
        InfoValue v;
        switch (iInfoCmd) {
            case EVENT_EVENT_TYPE:
                v = InfoValue::I32(ev.Type());
                break;
            case EVENT_NUM_IN_QUEUE:
                v = InfoValue::SizeT(ev.Queued());
                break;
            case EVENT_NUM_FIRED:
                v = InfoValue::U64(ev.Fired());
                break;
            case EVENT_SIZE_MAX:
                v = InfoValue::SizeT(ev.Type() == EVENT_NEW_BUFFER ? sizeof(EVENT_NEW_BUFFER_DATA)
                                                                   : CEvent::kMaxSize);
                break;
            case EVENT_INFO_DATA_SIZE_MAX:
                v = InfoValue::SizeT(CEvent::kMaxSize);
                break;
            default:
                return Err(GC_ERR_NOT_IMPLEMENTED, "unknown EVENT_INFO command");
        }
        return Out(v, piType, pBuffer, piSize);
    });
}

#ifndef LUMOSIM_NO_EVENTFLUSH
GC_API EventFlush(EVENT_HANDLE hEvent) {
    return Api("EventFlush", [&](CProducer&, auto&) {
        auto it = g_events.find(hEvent);
        if (it == g_events.end())
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event handle");
        it->second->Flush();
        return Ok();
    });
}
#endif

GC_API EventKill(EVENT_HANDLE hEvent) {
    return Api("EventKill", [&](CProducer&, auto&) {
        auto it = g_events.find(hEvent);
        if (it == g_events.end())
            return Err(GC_ERR_INVALID_HANDLE, "not a valid event handle");
        it->second->Kill();
        return Ok();
    });
}

}  // namespace GenTL
}  // extern "C"
