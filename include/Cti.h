#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <string>

#include "GenTL/GenTL.h"
#include "ICameraInfo.h"
#include "LumoExport.h"
#include "LumoTypes.h"

class CCtiPort;

namespace VEXOGENICAM {

class CCameraInfo;

// Every GenTL entry point in the order the producer binding looks them up,
// with whether a producer must export it. The GenTL 1.0 set is required; the
// information functions and everything added after 1.0 are optional.
#define LUMO_GENTL_ENTRY_POINTS(X)    \
    X(GCGetInfo, false)               \
    X(GCGetLastError, false)          \
    X(GCInitLib, true)                \
    X(GCCloseLib, true)               \
    X(GCReadPort, true)               \
    X(GCWritePort, true)              \
    X(GCGetPortURL, true)             \
    X(GCGetPortInfo, false)           \
    X(GCRegisterEvent, true)          \
    X(GCUnregisterEvent, true)        \
    X(EventGetData, true)             \
    X(EventGetDataInfo, false)        \
    X(EventGetInfo, false)            \
    X(EventFlush, true)               \
    X(EventKill, true)                \
    X(TLOpen, true)                   \
    X(TLClose, true)                  \
    X(TLGetInfo, true)                \
    X(TLGetNumInterfaces, true)       \
    X(TLGetInterfaceID, true)         \
    X(TLGetInterfaceInfo, true)       \
    X(TLOpenInterface, true)          \
    X(TLUpdateInterfaceList, true)    \
    X(IFClose, true)                  \
    X(IFGetInfo, true)                \
    X(IFGetNumDevices, true)          \
    X(IFGetDeviceID, true)            \
    X(IFUpdateDeviceList, true)       \
    X(IFGetDeviceInfo, true)          \
    X(IFOpenDevice, true)             \
    X(DevGetPort, true)               \
    X(DevGetNumDataStreams, true)     \
    X(DevGetDataStreamID, true)       \
    X(DevOpenDataStream, true)        \
    X(DevGetInfo, true)               \
    X(DevClose, true)                 \
    X(DSAnnounceBuffer, true)         \
    X(DSAllocAndAnnounceBuffer, true) \
    X(DSFlushQueue, true)             \
    X(DSStartAcquisition, true)       \
    X(DSStopAcquisition, true)        \
    X(DSGetInfo, true)                \
    X(DSGetBufferID, true)            \
    X(DSClose, true)                  \
    X(DSRevokeBuffer, true)           \
    X(DSQueueBuffer, true)            \
    X(DSGetBufferInfo, true)          \
    X(GCGetNumPortURLs, false)        \
    X(GCGetPortURLInfo, false)        \
    X(GCReadPortStacked, false)       \
    X(GCWritePortStacked, false)      \
    X(DSGetBufferChunkData, false)    \
    X(IFGetParentTL, false)           \
    X(DevGetParentIF, false)          \
    X(DSGetParentDev, false)          \
    X(DSGetNumBufferParts, false)     \
    X(DSGetBufferPartInfo, false)

// One loaded GenTL producer file. Every call into the producer goes through the
// member of the same GenTL name, which answers GC_ERR_ERROR (-1001) when the
// producer does not export that entry point. The wrappers neither lock, log
// nor translate codes.
class LUMO_API CCti {
public:
    // Why the last Load failed: the step (the loader, a missing entry point's
    // name, or the GenTL call that failed), its GenTL code (0 when the step is
    // not a GenTL call) and a text (the loader's message, or the producer's own
    // GCGetLastError text).
    struct LoadFailure {
        std::string step;
        int code = 0;
        std::string text;
    };

    explicit CCti(const std::string& fileName);
    CCti(const CCti&) = delete;
    CCti& operator=(const CCti&) = delete;
    virtual ~CCti();

    // Enumerates the devices of every interface into `out` (new records).
    virtual bool DiscoveryCameras(std::list<CCameraInfo*>& out);
    // Opens the transport layer and its interfaces: 0, or -1 .. -7 for the
    // step that failed.
    virtual int Init();
    // Fills a record from the producer's device information.
    virtual void SetCameraInfo(CCameraInfo* info, const char* deviceId);

    // Opens the file (a bare name is looked for beside the library, a path is
    // taken as it is), binds the entry points and runs Init.
    bool Load();
    const LoadFailure& GetLoadFailure() const { return m_loadFailure; }
    // A TL_INFO text of the open system module, empty when it has none.
    std::string GetTLInfoText(int cmd);
    std::size_t GetInterfaceCount() const { return m_portsIF.size(); }
    void* LoadLib(const char* path);
    void FreeLib(void* handle);
    void* GetFunction(void* handle, const char* name);

    CCtiPort* GetPortTL() { return m_pPortTL; }
    CCtiPort* GetPortIF() { return m_portsIF.empty() ? nullptr : m_portsIF.front(); }
    const std::string& GetFileName() const { return m_fileName; }

    static TL_TYPE GetTLType(const std::string& name);
    TL_TYPE GetIFTLType();

    // Runs discovery, keeps the new records and hands one reference per record
    // to `result` (may be null). A failed walk keeps the previous records.
    void DiscoveryDevices(std::list<ICameraInfo*>* result);
    // The stored record with this serial number, with a reference for the caller.
    ICameraInfo* QueryCameraInfo(const std::string& serialNumber);
    void ReleaseCamInfos();

    // GenTL wrappers.
    int GCGetInfo(int cmd, int* type, void* buffer, size_t* size);
    int GCGetLastError(int* errorCode, char* text, size_t* size);
    int GCInitLib();
    int GCCloseLib();
    int GCReadPort(void* port, uint64_t address, void* buffer, size_t* size);
    int GCWritePort(void* port, uint64_t address, const void* buffer, size_t* size);
    int GCGetPortURL(void* port, char* url, size_t* size);
    int GCGetPortInfo(void* port, int cmd, int* type, void* buffer, size_t* size);
    int GCRegisterEvent(void* source, int eventType, void** event);
    int GCUnregisterEvent(void* source, int eventType);
    int EventGetData(void* event, void* buffer, size_t* size, uint64_t timeout);
    int EventGetDataInfo(void* event, const void* inBuffer, size_t inSize, int cmd, int* type,
                         void* outBuffer, size_t* outSize);
    int EventGetInfo(void* event, int cmd, int* type, void* buffer, size_t* size);
    int EventFlush(void* event);
    int EventKill(void* event);
    int TLOpen(void** system);
    int TLClose(void* system);
    int TLGetInfo(void* system, int cmd, int* type, void* buffer, size_t* size);
    int TLGetNumInterfaces(void* system, uint32_t* count);
    int TLGetInterfaceID(void* system, uint32_t index, char* id, size_t* size);
    int TLGetInterfaceInfo(void* system, const char* interfaceId, int cmd, int* type, void* buffer,
                           size_t* size);
    int TLOpenInterface(void* system, const char* interfaceId, void** iface);
    int TLUpdateInterfaceList(void* system, bool* changed, uint64_t timeout);
    int IFClose(void* iface);
    int IFGetInfo(void* iface, int cmd, int* type, void* buffer, size_t* size);
    int IFGetNumDevices(void* iface, uint32_t* count);
    int IFGetDeviceID(void* iface, uint32_t index, char* id, size_t* size);
    int IFUpdateDeviceList(void* iface, bool* changed, uint64_t timeout);
    int IFGetDeviceInfo(void* iface, const char* deviceId, int cmd, int* type, void* buffer,
                        size_t* size);
    int IFOpenDevice(void* iface, const char* deviceId, int accessFlags, void** device);
    int DevGetPort(void* device, void** remotePort);
    int DevGetNumDataStreams(void* device, uint32_t* count);
    int DevGetDataStreamID(void* device, uint32_t index, char* id, size_t* size);
    int DevOpenDataStream(void* device, const char* streamId, void** stream);
    int DevGetInfo(void* device, int cmd, int* type, void* buffer, size_t* size);
    int DevClose(void* device);
    int DSAnnounceBuffer(void* stream, void* buffer, size_t size, void* priv, void** handle);
    int DSAllocAndAnnounceBuffer(void* stream, size_t size, void* priv, void** handle);
    int DSFlushQueue(void* stream, int operation);
    int DSStartAcquisition(void* stream, int flags, uint64_t count);
    int DSStopAcquisition(void* stream, int flags);
    int DSGetInfo(void* stream, int cmd, int* type, void* buffer, size_t* size);
    int DSGetBufferID(void* stream, uint32_t index, void** handle);
    int DSClose(void* stream);
    int DSRevokeBuffer(void* stream, void* handle, void** buffer, void** priv);
    int DSQueueBuffer(void* stream, void* handle);
    int DSGetBufferInfo(void* stream, void* handle, int cmd, int* type, void* buffer, size_t* size);
    int GCGetNumPortURLs(void* port, uint32_t* count);
    int GCGetPortURLInfo(void* port, uint32_t index, int cmd, int* type, void* buffer,
                         size_t* size);
    int GCReadPortStacked(void* port, GenTL::S_PORT_REGISTER_STACK_ENTRY* entries, size_t* count);
    int GCWritePortStacked(void* port, GenTL::S_PORT_REGISTER_STACK_ENTRY* entries, size_t* count);
    int DSGetBufferChunkData(void* stream, void* handle, GenTL::S_SINGLE_CHUNK_DATA* chunks,
                             size_t* count);
    int IFGetParentTL(void* iface, void** system);
    int DevGetParentIF(void* device, void** iface);
    int DSGetParentDev(void* stream, void** device);
    int DSGetNumBufferParts(void* stream, void* handle, uint32_t* count);
    int DSGetBufferPartInfo(void* stream, void* handle, uint32_t part, int cmd, int* type,
                            void* buffer, size_t* size);

private:
    int Fail(const char* step, int code, int result);

    std::string m_fileName;
    LoadFailure m_loadFailure;
    void* m_hLib = nullptr;
    CCtiPort* m_pPortTL = nullptr;
    // An interface port slot that teardown closes when set; nothing sets it.
    CCtiPort* m_pPortIF = nullptr;
    std::list<CCtiPort*> m_portsIF;
    std::list<CCameraInfo*> m_camInfos;
    std::mutex m_lock;

#define LUMO_DECLARE_ENTRY_POINT(name, required) GenTL::P##name m_p##name = nullptr;
    LUMO_GENTL_ENTRY_POINTS(LUMO_DECLARE_ENTRY_POINT)
#undef LUMO_DECLARE_ENTRY_POINT
};

}  // namespace VEXOGENICAM
