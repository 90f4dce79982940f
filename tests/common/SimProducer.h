#pragma once

#include <GenTL/GenTL.h>
#include <dlfcn.h>

#include <stdexcept>
#include <string>

// One entry per line, kept so by hand: clang-format reflows long macro lists differently each run.
// clang-format off
#define LUMO_GENTL_FUNCTIONS(X) \
    X(GCGetInfo) \
    X(GCGetLastError) \
    X(GCInitLib) \
    X(GCCloseLib) \
    X(GCReadPort) \
    X(GCWritePort) \
    X(GCGetPortURL) \
    X(GCGetPortInfo) \
    X(GCRegisterEvent) \
    X(GCUnregisterEvent) \
    X(EventGetData) \
    X(EventGetDataInfo) \
    X(EventGetInfo) \
    X(EventFlush) \
    X(EventKill) \
    X(GCGetNumPortURLs) \
    X(GCGetPortURLInfo) \
    X(GCReadPortStacked) \
    X(GCWritePortStacked) \
    X(TLOpen) \
    X(TLClose) \
    X(TLGetInfo) \
    X(TLGetNumInterfaces) \
    X(TLGetInterfaceID) \
    X(TLGetInterfaceInfo) \
    X(TLOpenInterface) \
    X(TLUpdateInterfaceList) \
    X(IFClose) \
    X(IFGetInfo) \
    X(IFGetNumDevices) \
    X(IFGetDeviceID) \
    X(IFUpdateDeviceList) \
    X(IFGetDeviceInfo) \
    X(IFOpenDevice) \
    X(IFGetParentTL) \
    X(DevGetPort) \
    X(DevGetNumDataStreams) \
    X(DevGetDataStreamID) \
    X(DevOpenDataStream) \
    X(DevGetInfo) \
    X(DevClose) \
    X(DevGetParentIF) \
    X(DSAnnounceBuffer) \
    X(DSAllocAndAnnounceBuffer) \
    X(DSFlushQueue) \
    X(DSStartAcquisition) \
    X(DSStopAcquisition) \
    X(DSGetInfo) \
    X(DSGetBufferID) \
    X(DSClose) \
    X(DSRevokeBuffer) \
    X(DSQueueBuffer) \
    X(DSGetBufferInfo) \
    X(DSGetBufferChunkData) \
    X(DSGetParentDev) \
    X(DSGetNumBufferParts) \
    X(DSGetBufferPartInfo) \
    X(DSAnnounceCompositeBuffer) \
    X(DSGetBufferInfoStacked) \
    X(DSGetBufferPartInfoStacked) \
    X(DSGetNumFlows) \
    X(DSGetFlowInfo) \
    X(DSGetNumBufferSegments) \
    X(DSGetBufferSegmentInfo)
// clang-format on

// Loads a GenTL producer file and binds every GenTL entry point by name. Entry points the file
// does not export stay null. The file is unloaded when the object goes away.
class SimProducer {
public:
    explicit SimProducer(const std::string& path)
        : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!handle_) {
            const char* why = dlerror();
            throw std::runtime_error("cannot load " + path + ": " + (why ? why : "?"));
        }
#define LUMO_BIND(name) name = reinterpret_cast<GenTL::P##name>(dlsym(handle_, #name));
        LUMO_GENTL_FUNCTIONS(LUMO_BIND)
#undef LUMO_BIND
    }
    ~SimProducer() {
        dlclose(handle_);
    }
    SimProducer(const SimProducer&) = delete;
    SimProducer& operator=(const SimProducer&) = delete;

    bool Has(const char* name) const {
        return dlsym(handle_, name) != nullptr;
    }

#define LUMO_MEMBER(name) GenTL::P##name name = nullptr;
    LUMO_GENTL_FUNCTIONS(LUMO_MEMBER)
#undef LUMO_MEMBER

private:
    void* handle_;
};
