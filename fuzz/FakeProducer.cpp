// A producer with just enough of GenTL for a register port to fetch its
// description: one port whose URL and register space the fuzz harness sets.
// Every other required entry point exists so that the library binds, and
// fails if called.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

std::string g_url;
std::string g_memory;

constexpr int kError = -1001;
constexpr int kInvalidAddress = -1015;
constexpr int kBufferTooSmall = -1016;
constexpr int kInvalidParameter = -1009;

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void FakeProducerSet(const char* url, size_t urlSize,
                                                            const char* memory, size_t memorySize) {
    g_url.assign(url, urlSize);
    g_memory.assign(memory, memorySize);
}

__attribute__((visibility("default"))) int GCGetPortURL(void*, char* url, size_t* size) {
    if (size == nullptr) {
        return kInvalidParameter;
    }
    const size_t needed = std::strlen(g_url.c_str()) + 1;
    if (url == nullptr) {
        *size = needed;
        return 0;
    }
    if (*size < needed) {
        return kBufferTooSmall;
    }
    std::memcpy(url, g_url.c_str(), needed);
    *size = needed;
    return 0;
}

__attribute__((visibility("default"))) int GCReadPort(void*, uint64_t address, void* buffer,
                                                      size_t* size) {
    if (buffer == nullptr || size == nullptr) {
        return kInvalidParameter;
    }
    if (address > g_memory.size() || *size > g_memory.size() - address) {
        return kInvalidAddress;
    }
    std::memcpy(buffer, g_memory.data() + address, *size);
    return 0;
}

#define LUMO_FAKE_ENTRY(name)                           \
    __attribute__((visibility("default"))) int name() { \
        return kError;                                  \
    }
LUMO_FAKE_ENTRY(GCInitLib)
LUMO_FAKE_ENTRY(GCCloseLib)
LUMO_FAKE_ENTRY(GCWritePort)
LUMO_FAKE_ENTRY(GCRegisterEvent)
LUMO_FAKE_ENTRY(GCUnregisterEvent)
LUMO_FAKE_ENTRY(EventGetData)
LUMO_FAKE_ENTRY(EventFlush)
LUMO_FAKE_ENTRY(EventKill)
LUMO_FAKE_ENTRY(TLOpen)
LUMO_FAKE_ENTRY(TLClose)
LUMO_FAKE_ENTRY(TLGetInfo)
LUMO_FAKE_ENTRY(TLGetNumInterfaces)
LUMO_FAKE_ENTRY(TLGetInterfaceID)
LUMO_FAKE_ENTRY(TLGetInterfaceInfo)
LUMO_FAKE_ENTRY(TLOpenInterface)
LUMO_FAKE_ENTRY(TLUpdateInterfaceList)
LUMO_FAKE_ENTRY(IFClose)
LUMO_FAKE_ENTRY(IFGetInfo)
LUMO_FAKE_ENTRY(IFGetNumDevices)
LUMO_FAKE_ENTRY(IFGetDeviceID)
LUMO_FAKE_ENTRY(IFUpdateDeviceList)
LUMO_FAKE_ENTRY(IFGetDeviceInfo)
LUMO_FAKE_ENTRY(IFOpenDevice)
LUMO_FAKE_ENTRY(DevGetPort)
LUMO_FAKE_ENTRY(DevGetNumDataStreams)
LUMO_FAKE_ENTRY(DevGetDataStreamID)
LUMO_FAKE_ENTRY(DevOpenDataStream)
LUMO_FAKE_ENTRY(DevGetInfo)
LUMO_FAKE_ENTRY(DevClose)
LUMO_FAKE_ENTRY(DSAnnounceBuffer)
LUMO_FAKE_ENTRY(DSAllocAndAnnounceBuffer)
LUMO_FAKE_ENTRY(DSFlushQueue)
LUMO_FAKE_ENTRY(DSStartAcquisition)
LUMO_FAKE_ENTRY(DSStopAcquisition)
LUMO_FAKE_ENTRY(DSGetInfo)
LUMO_FAKE_ENTRY(DSGetBufferID)
LUMO_FAKE_ENTRY(DSClose)
LUMO_FAKE_ENTRY(DSRevokeBuffer)
LUMO_FAKE_ENTRY(DSQueueBuffer)
LUMO_FAKE_ENTRY(DSGetBufferInfo)
#undef LUMO_FAKE_ENTRY
}
