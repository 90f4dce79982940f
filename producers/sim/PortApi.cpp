// Port access (GC*Port*): the register spaces and description files of every module with a port.
#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "ApiCall.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

CModule& PortOf(CProducer& p, PORT_HANDLE h) {
    if (CModule* m = p.handles.Port(h)) {
        RequireReachable(m);
        return *m;
    }
    bool found = false;
    const Kind k = p.handles.KindOf(h, found);
    Expect(!found || k != Kind::Buffer, GC_ERR_NOT_IMPLEMENTED, "buffers have no port");
    Fail(GC_ERR_INVALID_HANDLE, "not a valid port handle");
}

bool ReadOnly(const CModule& m) {
    return m.device && m.device->openFlags == DEVICE_ACCESS_READONLY &&
           (m.kind == Kind::Device || m.kind == Kind::RemoteDevice);
}

// Port accesses of a device's modules exclude the acquisition engine's reads of the camera.
std::unique_lock<std::mutex> CameraGuard(CModule& m) {
    return m.device ? std::unique_lock<std::mutex>(m.device->camLock)
                    : std::unique_lock<std::mutex>();
}

void PortAccess(CProducer& p, CModule& m, uint64_t address, uint8_t* data, size_t size,
                bool write) {
    Expect(!m.desc.readFails || write || address >= m.xmlAddress + m.xmlSize ||
               address + size <= m.xmlAddress,
           GC_ERR_IO, "reading the description file failed");
    if (const int32_t rc = p.faults.OnRegister(m.faultName, address, size, write))
        Fail(rc, "injected register failure");
    Expect(!write || !ReadOnly(m), GC_ERR_ACCESS_DENIED, "the device is open read-only");
    auto g = CameraGuard(m);
    const GC_ERROR rc =
        write ? m.regs.Write(address, data, size) : m.regs.Read(address, data, size);
    if (rc) {
        std::ostringstream s;
        s << (write ? "write to 0x" : "read from 0x") << std::hex << address << " failed";
        Fail(rc, s.str());
    }
}

// A failing entry ends the list; *piNumEntries then counts the entries done.
GC_ERROR AccessStacked(CProducer& p, PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                       size_t* piNumEntries, bool write) {
    CModule& m = PortOf(p, hPort);
    Require(pEntries && piNumEntries, "null argument");
    const size_t n = *piNumEntries;
    for (size_t i = 0; i < n; ++i) {
        PORT_REGISTER_STACK_ENTRY& e = pEntries[i];
        Require(e.pBuffer, "entry without buffer");
        try {
            PortAccess(p, m, e.Address, static_cast<uint8_t*>(e.pBuffer), e.Size, write);
        } catch (const CApiError&) {
            *piNumEntries = i;
            throw;
        }
    }
    return Ok();
}

InfoValue PortInfo(const CModule& m, PORT_INFO_CMD cmd) {
    if (auto v = InfoValue::Text(m, cmd,
                                 {{PORT_INFO_ID, &CModule::id},
                                  {PORT_INFO_VENDOR, &CModule::vendor},
                                  {PORT_INFO_MODEL, &CModule::model},
                                  {PORT_INFO_TLTYPE, &CModule::tlType},
                                  {PORT_INFO_MODULE, &CModule::moduleName},
                                  {PORT_INFO_PORTNAME, &CModule::portName}}))
        return *v;
    switch (cmd) {
        case PORT_INFO_LITTLE_ENDIAN:
        case PORT_INFO_ACCESS_READ:
            return InfoValue::Bool(true);
        case PORT_INFO_BIG_ENDIAN:
        case PORT_INFO_ACCESS_NA:
        case PORT_INFO_ACCESS_NI:
            return InfoValue::Bool(false);
        case PORT_INFO_ACCESS_WRITE:
            return InfoValue::Bool(!ReadOnly(m));
        case PORT_INFO_VERSION:
            return InfoValue::String("1.0");
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown PORT_INFO command " + std::to_string(cmd));
    }
}

int32_t UrlScheme(std::string url) {
    std::transform(url.begin(), url.end(), url.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return url.rfind("file:", 0) == 0    ? URL_SCHEME_FILE
           : url.rfind("http:", 0) == 0  ? URL_SCHEME_HTTP
           : url.rfind("local:", 0) == 0 ? URL_SCHEME_LOCAL
                                         : URL_SCHEME_CUSTOM_ID;
}

// Where the description file lies in the register space: not known for an overridden URL.
InfoValue FileLocation(const CModule& m, uint64_t value) {
    Expect(m.desc.urlOverride.empty(), GC_ERR_NOT_AVAILABLE, "the URL was overridden");
    return InfoValue::U64(value);
}

InfoValue UrlInfo(const CModule& m, URL_INFO_CMD cmd) {
    switch (cmd) {
        case URL_INFO_URL:
            return InfoValue::String(m.url);
        case URL_INFO_SCHEMA_VER_MAJOR:
        case URL_INFO_SCHEMA_VER_MINOR:
        case URL_INFO_FILE_VER_MAJOR:
            return InfoValue::I32(1);
        case URL_INFO_FILE_VER_MINOR:
        case URL_INFO_FILE_VER_SUBMINOR:
            return InfoValue::I32(0);
        case URL_INFO_SCHEME:
            return InfoValue::I32(UrlScheme(m.url));
        case URL_INFO_FILE_REGISTER_ADDRESS:
            return FileLocation(m, m.xmlAddress);
        case URL_INFO_FILE_SIZE:
            return FileLocation(m, m.xmlSize);
        case URL_INFO_FILE_SHA1_HASH:
        case URL_INFO_FILENAME:
            Fail(GC_ERR_NOT_AVAILABLE, "not available for this file");
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown URL_INFO command " + std::to_string(cmd));
    }
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
    return Guarded("GCReadPort", [&](CProducer& p) {
        CModule& m = PortOf(p, hPort);
        Require(pBuffer && piSize, "GCReadPort: null argument");
        PortAccess(p, m, iAddress, static_cast<uint8_t*>(pBuffer), *piSize, false);
        return Ok();
    });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
    return Guarded("GCWritePort", [&](CProducer& p) {
        CModule& m = PortOf(p, hPort);
        Require(pBuffer && piSize, "GCWritePort: null argument");
        std::vector<uint8_t> data(static_cast<const uint8_t*>(pBuffer),
                                  static_cast<const uint8_t*>(pBuffer) + *piSize);
        PortAccess(p, m, iAddress, data.data(), data.size(), true);
        return Ok();
    });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
    return Guarded("GCGetPortURL", [&](CProducer& p) {
        const CModule& m = PortOf(p, hPort);
        Require(piSize, "piSize is null");
        std::string list = m.url;
        list.push_back('\0');  // the list ends with an empty entry
        return OutString(list, sURL, piSize);
    });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
    return Guarded("GCGetPortInfo", [&](CProducer& p) {
        const CModule& m = PortOf(p, hPort);
        return Out(PortInfo(m, iInfoCmd), piType, pBuffer, piSize);
    });
}

// --- since GenTL 1.1 (the 1.0 variant does not export these) ------------------------------------

GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
    return Guarded("GCGetNumPortURLs", [&](CProducer& p) {
        PortOf(p, hPort);
        return Store(piNumURLs, 1, "piNumURLs is null");
    });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded("GCGetPortURLInfo", [&](CProducer& p) {
        const CModule& m = PortOf(p, hPort);
        Expect(iURLIndex == 0, GC_ERR_INVALID_INDEX, "URL index out of range");
        return Out(UrlInfo(m, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                         size_t* piNumEntries) {
    return Guarded("GCReadPortStacked", [&](CProducer& p) {
        return AccessStacked(p, hPort, pEntries, piNumEntries, false);
    });
}

GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                          size_t* piNumEntries) {
    return Guarded("GCWritePortStacked", [&](CProducer& p) {
        return AccessStacked(p, hPort, pEntries, piNumEntries, true);
    });
}

}  // namespace GenTL
}  // extern "C"
