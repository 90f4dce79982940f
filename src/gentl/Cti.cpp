#include "Cti.h"

#include <dlfcn.h>

#include <array>
#include <cstring>

#include "CtiPort.h"
#include "core/ModulePath.h"
#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

namespace {

constexpr int kErrorNotBound = GenTL::GC_ERR_ERROR;

// Calls a bound entry point, or answers GC_ERR_ERROR when the producer lacks it.
template <typename Fn, typename... Args>
int Call(Fn fn, Args... args) {
    return fn != nullptr ? fn(args...) : kErrorNotBound;
}

// Transport-layer names in lookup order and the bit of each.
constexpr std::array<const char*, 9> TLTypeNames = {"GEV",  "CL",  "IIDC",     "UVC", "CXP",
                                                    "CLHS", "U3V", "Ethernet", "PCI"};
constexpr std::array<TL_TYPE, 9> TLTypes = {TL_GEV,  TL_CL,  TL_IIDC,     TL_UVC, TL_CXP,
                                            TL_CLHS, TL_U3V, TL_ETHERNET, TL_PCI};

}  // namespace

CCti::CCti(const std::string& fileName) : m_fileName(fileName) {}

CCti::~CCti() {
    if (m_hLib == nullptr) {
        return;
    }
    ReleaseCamInfos();
    if (m_pPortTL != nullptr) {
        if (m_pPortIF != nullptr) {
            IFClose(m_pPortIF->GetPort());
            delete m_pPortIF;
            m_pPortIF = nullptr;
        }
        TLClose(m_pPortTL->GetPort());
        delete m_pPortTL;
        m_pPortTL = nullptr;
    }
    GCCloseLib();
    FreeLib(m_hLib);
    m_hLib = nullptr;
    // The interface ports were made by Init; their handles belong to the
    // producer, which has been closed, so only the port objects are freed.
    for (CCtiPort* port : m_portsIF) {
        delete port;
    }
}

void* CCti::LoadLib(const char* path) {
    return dlopen(path, RTLD_LAZY);
}

void CCti::FreeLib(void* handle) {
    if (handle != nullptr) {
        dlclose(handle);
    }
}

void* CCti::GetFunction(void* handle, const char* name) {
    if (handle == nullptr || name == nullptr) {
        return nullptr;
    }
    return dlsym(m_hLib, name);
}

bool CCti::Load() {
    m_loadFailure = {};
    const std::string path =
        m_fileName.find('/') == std::string::npos ? GetModulePath() + m_fileName : m_fileName;
    dlerror();
    m_hLib = LoadLib(path.c_str());
    if (m_hLib == nullptr) {
        const char* why = dlerror();
        m_loadFailure = {"dlopen", 0, why != nullptr ? why : "not a loadable shared library"};
        return false;
    }
#define LUMO_BIND_ENTRY_POINT(name, required)                                              \
    m_p##name = reinterpret_cast<GenTL::P##name>(GetFunction(m_hLib, #name));              \
    if ((required) && m_p##name == nullptr) {                                              \
        m_loadFailure = {#name, 0, "the producer does not export the entry point " #name}; \
        return false;                                                                      \
    }
    LUMO_GENTL_ENTRY_POINTS(LUMO_BIND_ENTRY_POINT)
#undef LUMO_BIND_ENTRY_POINT
    return Init() == 0;
}

// Records the failed step for the producer report; the producer's own text is
// asked for at once, while it still describes this failure.
int CCti::Fail(const char* step, int code, int result) {
    m_loadFailure = {step, code, {}};
    char text[1024] = {};
    size_t size = sizeof text;
    int lastCode = 0;
    if (code != 0 && GCGetLastError(&lastCode, text, &size) == 0) {
        text[sizeof text - 1] = '\0';
        m_loadFailure.text = text;
    }
    return result;
}

std::string CCti::GetTLInfoText(int cmd) {
    if (m_pPortTL == nullptr) {
        return {};
    }
    char text[1024] = {};
    size_t size = sizeof text;
    int type = 0;
    if (TLGetInfo(m_pPortTL->GetPort(), cmd, &type, text, &size) != 0 ||
        type != GenTL::INFO_DATATYPE_STRING) {
        return {};
    }
    text[sizeof text - 1] = '\0';
    return text;
}

int CCti::Init() {
    if (const int rc = GCInitLib(); rc != 0) {
        return Fail("GCInitLib", rc, -1);
    }
    void* hTL = nullptr;
    if (const int rc = TLOpen(&hTL); rc != 0) {
        return Fail("TLOpen", rc, -2);
    }
    delete m_pPortTL;
    m_pPortTL = new CCtiPort(this, hTL);

    bool changed = false;
    if (const int rc = TLUpdateInterfaceList(hTL, &changed, 1000); rc != 0) {
        return Fail("TLUpdateInterfaceList", rc, -3);
    }
    uint32_t count = 0;
    if (const int rc = TLGetNumInterfaces(hTL, &count); rc != 0) {
        return Fail("TLGetNumInterfaces", rc, -4);
    }
    if (count == 0) {
        m_loadFailure = {"TLGetNumInterfaces", 0, "the producer reports no interface"};
        return -5;
    }
    char id[1024];
    std::memset(id, 0, sizeof id);
    size_t size = sizeof id;
    for (CCtiPort* port : m_portsIF) {
        delete port;
    }
    m_portsIF.clear();
    // The size is deliberately not reset between interfaces: each call is
    // offered the size the previous one returned.
    for (uint32_t i = 0; i < count; ++i) {
        if (const int rc = TLGetInterfaceID(hTL, i, id, &size); rc != 0) {
            return Fail("TLGetInterfaceID", rc, -6);
        }
        void* hIF = nullptr;
        if (const int rc = TLOpenInterface(hTL, id, &hIF); rc != 0) {
            return Fail("TLOpenInterface", rc, -7);
        }
        m_portsIF.push_back(new CCtiPort(this, hIF));
    }
    return 0;
}

TL_TYPE CCti::GetTLType(const std::string& name) {
    for (size_t i = 0; i < TLTypeNames.size(); ++i) {
        if (name == TLTypeNames[i]) {
            return TLTypes[i];
        }
    }
    return TL_UNKNOWN;
}

TL_TYPE CCti::GetIFTLType() {
    CCtiPort* port = GetPortIF();
    if (port == nullptr) {
        return TL_UNKNOWN;
    }
    char buffer[1024];
    std::memset(buffer, 0, sizeof buffer);
    size_t size = sizeof buffer;
    int type = 0;
    IFGetInfo(port->GetPort(), GenTL::INTERFACE_INFO_TLTYPE, &type, buffer, &size);
    buffer[sizeof buffer - 1] = '\0';
    return GetTLType(std::string(buffer));
}

void CCti::ReleaseCamInfos() {
    for (CCameraInfo* info : m_camInfos) {
        info->Release();
    }
    m_camInfos.clear();
}

// ---- GenTL wrappers -------------------------------------------------------

int CCti::GCGetInfo(int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pGCGetInfo, cmd, type, buffer, size);
}
int CCti::GCGetLastError(int* errorCode, char* text, size_t* size) {
    return Call(m_pGCGetLastError, errorCode, text, size);
}
int CCti::GCInitLib() {
    return Call(m_pGCInitLib);
}
int CCti::GCCloseLib() {
    return Call(m_pGCCloseLib);
}
int CCti::GCReadPort(void* port, uint64_t address, void* buffer, size_t* size) {
    return Call(m_pGCReadPort, port, address, buffer, size);
}
int CCti::GCWritePort(void* port, uint64_t address, const void* buffer, size_t* size) {
    return Call(m_pGCWritePort, port, address, buffer, size);
}
int CCti::GCGetPortURL(void* port, char* url, size_t* size) {
    return Call(m_pGCGetPortURL, port, url, size);
}
int CCti::GCGetPortInfo(void* port, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pGCGetPortInfo, port, cmd, type, buffer, size);
}
int CCti::GCRegisterEvent(void* source, int eventType, void** event) {
    return Call(m_pGCRegisterEvent, source, eventType, event);
}
int CCti::GCUnregisterEvent(void* source, int eventType) {
    return Call(m_pGCUnregisterEvent, source, eventType);
}
int CCti::EventGetData(void* event, void* buffer, size_t* size, uint64_t timeout) {
    return Call(m_pEventGetData, event, buffer, size, timeout);
}
int CCti::EventGetDataInfo(void* event, const void* inBuffer, size_t inSize, int cmd, int* type,
                           void* outBuffer, size_t* outSize) {
    return Call(m_pEventGetDataInfo, event, inBuffer, inSize, cmd, type, outBuffer, outSize);
}
int CCti::EventGetInfo(void* event, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pEventGetInfo, event, cmd, type, buffer, size);
}
int CCti::EventFlush(void* event) {
    return Call(m_pEventFlush, event);
}
int CCti::EventKill(void* event) {
    return Call(m_pEventKill, event);
}
int CCti::TLOpen(void** system) {
    return Call(m_pTLOpen, system);
}
int CCti::TLClose(void* system) {
    return Call(m_pTLClose, system);
}
int CCti::TLGetInfo(void* system, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pTLGetInfo, system, cmd, type, buffer, size);
}
int CCti::TLGetNumInterfaces(void* system, uint32_t* count) {
    return Call(m_pTLGetNumInterfaces, system, count);
}
int CCti::TLGetInterfaceID(void* system, uint32_t index, char* id, size_t* size) {
    return Call(m_pTLGetInterfaceID, system, index, id, size);
}
int CCti::TLGetInterfaceInfo(void* system, const char* interfaceId, int cmd, int* type,
                             void* buffer, size_t* size) {
    return Call(m_pTLGetInterfaceInfo, system, interfaceId, cmd, type, buffer, size);
}
int CCti::TLOpenInterface(void* system, const char* interfaceId, void** iface) {
    return Call(m_pTLOpenInterface, system, interfaceId, iface);
}
int CCti::TLUpdateInterfaceList(void* system, bool* changed, uint64_t timeout) {
    return Call(m_pTLUpdateInterfaceList, system, changed, timeout);
}
int CCti::IFClose(void* iface) {
    return Call(m_pIFClose, iface);
}
int CCti::IFGetInfo(void* iface, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pIFGetInfo, iface, cmd, type, buffer, size);
}
int CCti::IFGetNumDevices(void* iface, uint32_t* count) {
    return Call(m_pIFGetNumDevices, iface, count);
}
int CCti::IFGetDeviceID(void* iface, uint32_t index, char* id, size_t* size) {
    return Call(m_pIFGetDeviceID, iface, index, id, size);
}
int CCti::IFUpdateDeviceList(void* iface, bool* changed, uint64_t timeout) {
    return Call(m_pIFUpdateDeviceList, iface, changed, timeout);
}
int CCti::IFGetDeviceInfo(void* iface, const char* deviceId, int cmd, int* type, void* buffer,
                          size_t* size) {
    return Call(m_pIFGetDeviceInfo, iface, deviceId, cmd, type, buffer, size);
}
int CCti::IFOpenDevice(void* iface, const char* deviceId, int accessFlags, void** device) {
    return Call(m_pIFOpenDevice, iface, deviceId, accessFlags, device);
}
int CCti::DevGetPort(void* device, void** remotePort) {
    return Call(m_pDevGetPort, device, remotePort);
}
int CCti::DevGetNumDataStreams(void* device, uint32_t* count) {
    return Call(m_pDevGetNumDataStreams, device, count);
}
int CCti::DevGetDataStreamID(void* device, uint32_t index, char* id, size_t* size) {
    return Call(m_pDevGetDataStreamID, device, index, id, size);
}
int CCti::DevOpenDataStream(void* device, const char* streamId, void** stream) {
    return Call(m_pDevOpenDataStream, device, streamId, stream);
}
int CCti::DevGetInfo(void* device, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pDevGetInfo, device, cmd, type, buffer, size);
}
int CCti::DevClose(void* device) {
    return Call(m_pDevClose, device);
}
int CCti::DSAnnounceBuffer(void* stream, void* buffer, size_t size, void* priv, void** handle) {
    return Call(m_pDSAnnounceBuffer, stream, buffer, size, priv, handle);
}
int CCti::DSAllocAndAnnounceBuffer(void* stream, size_t size, void* priv, void** handle) {
    return Call(m_pDSAllocAndAnnounceBuffer, stream, size, priv, handle);
}
int CCti::DSFlushQueue(void* stream, int operation) {
    return Call(m_pDSFlushQueue, stream, operation);
}
int CCti::DSStartAcquisition(void* stream, int flags, uint64_t count) {
    return Call(m_pDSStartAcquisition, stream, flags, count);
}
int CCti::DSStopAcquisition(void* stream, int flags) {
    return Call(m_pDSStopAcquisition, stream, flags);
}
int CCti::DSGetInfo(void* stream, int cmd, int* type, void* buffer, size_t* size) {
    return Call(m_pDSGetInfo, stream, cmd, type, buffer, size);
}
int CCti::DSGetBufferID(void* stream, uint32_t index, void** handle) {
    return Call(m_pDSGetBufferID, stream, index, handle);
}
int CCti::DSClose(void* stream) {
    return Call(m_pDSClose, stream);
}
int CCti::DSRevokeBuffer(void* stream, void* handle, void** buffer, void** priv) {
    return Call(m_pDSRevokeBuffer, stream, handle, buffer, priv);
}
int CCti::DSQueueBuffer(void* stream, void* handle) {
    return Call(m_pDSQueueBuffer, stream, handle);
}
int CCti::DSGetBufferInfo(void* stream, void* handle, int cmd, int* type, void* buffer,
                          size_t* size) {
    return Call(m_pDSGetBufferInfo, stream, handle, cmd, type, buffer, size);
}
int CCti::GCGetNumPortURLs(void* port, uint32_t* count) {
    return Call(m_pGCGetNumPortURLs, port, count);
}
int CCti::GCGetPortURLInfo(void* port, uint32_t index, int cmd, int* type, void* buffer,
                           size_t* size) {
    return Call(m_pGCGetPortURLInfo, port, index, cmd, type, buffer, size);
}
int CCti::GCReadPortStacked(void* port, GenTL::S_PORT_REGISTER_STACK_ENTRY* entries,
                            size_t* count) {
    return Call(m_pGCReadPortStacked, port, entries, count);
}
int CCti::GCWritePortStacked(void* port, GenTL::S_PORT_REGISTER_STACK_ENTRY* entries,
                             size_t* count) {
    return Call(m_pGCWritePortStacked, port, entries, count);
}
int CCti::DSGetBufferChunkData(void* stream, void* handle, GenTL::S_SINGLE_CHUNK_DATA* chunks,
                               size_t* count) {
    return Call(m_pDSGetBufferChunkData, stream, handle, chunks, count);
}
int CCti::IFGetParentTL(void* iface, void** system) {
    return Call(m_pIFGetParentTL, iface, system);
}
int CCti::DevGetParentIF(void* device, void** iface) {
    return Call(m_pDevGetParentIF, device, iface);
}
int CCti::DSGetParentDev(void* stream, void** device) {
    return Call(m_pDSGetParentDev, stream, device);
}
int CCti::DSGetNumBufferParts(void* stream, void* handle, uint32_t* count) {
    return Call(m_pDSGetNumBufferParts, stream, handle, count);
}
int CCti::DSGetBufferPartInfo(void* stream, void* handle, uint32_t part, int cmd, int* type,
                              void* buffer, size_t* size) {
    return Call(m_pDSGetBufferPartInfo, stream, handle, part, cmd, type, buffer, size);
}

}  // namespace VEXOGENICAM
