// The library functions (GC*) and the system module (TL*).
#include <fstream>
#include <sstream>

#include "ApiCall.h"
#include "ConfigInfo.h"
#include "Teardown.h"
#include "Variant.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

std::string FileName(const std::string& path) {
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

InfoValue TlInfo(const CProducer& p, TL_INFO_CMD cmd) {
    const auto& c = p.config;
    if (auto v = InfoValue::Text(c, cmd,
                                 {{TL_INFO_VENDOR, &Config::vendor},
                                  {TL_INFO_MODEL, &Config::model},
                                  {TL_INFO_VERSION, &Config::version},
                                  {TL_INFO_TLTYPE, &Config::tlType}}))
        return *v;
    switch (cmd) {
        case TL_INFO_ID:
        case TL_INFO_PATHNAME:
            return InfoValue::String(p.path);
        case TL_INFO_NAME:
            return InfoValue::String(FileName(p.path));
        case TL_INFO_DISPLAYNAME:
            return InfoValue::String(c.vendor + " " + c.model);
        case TL_INFO_CHAR_ENCODING:
            return InfoValue::I32(TL_CHAR_ENCODING_ASCII);
        case TL_INFO_GENTL_VER_MAJOR:
            return InfoValue::U32(1);
        case TL_INFO_GENTL_VER_MINOR:
            return InfoValue::U32(GenTLVersionMinor());
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown TL_INFO command " + std::to_string(cmd));
    }
}

// The producer with its configuration: the file named by LUMOSIM_CONFIG, else <module>.json, else
// the built-in one. A configuration that cannot be used fails with GC_ERR_INVALID_PARAMETER.
std::unique_ptr<CProducer> LoadProducer() {
    const std::string path = ModulePath();
    const char* env = std::getenv("LUMOSIM_CONFIG");
    const bool named = env && *env;
    std::string configPath;
    if (named) {
        configPath = env;
    } else {
        std::string base = path;
        const auto dot = base.find_last_of('.');
        if (dot != std::string::npos && base.find('/', dot) == std::string::npos)
            base.resize(dot);
        configPath = base + ".json";
    }
    const auto invalid = [&](const std::string& why) {
        Fail(GC_ERR_INVALID_PARAMETER, "GCInitLib: " + configPath + ": " + why);
    };
    Config cfg;
    std::ifstream in(configPath, std::ios::binary);
    if (in) {
        std::stringstream text;
        text << in.rdbuf();
        if (!in.good() && !in.eof())
            invalid("cannot be read");
        std::string error;
        if (!Config::Parse(text.str(), cfg, error))
            invalid(error);
    } else if (named) {
        invalid("cannot be opened");
    } else {
        cfg = ConfigWithoutFile();
    }
    auto producer = std::make_unique<CProducer>(std::move(cfg));
    producer->path = path;
    return producer;
}

}  // namespace

extern "C" {
namespace GenTL {

// --- library -----------------------------------------------------------------------------------

GC_API GCInitLib(void) {
    std::lock_guard<std::mutex> lk(ApiLock());
    RecordCall("GCInitLib");
    auto& producer = LoadedProducer();
    if (producer)
        return SetLastError(GC_ERR_RESOURCE_IN_USE, "GCInitLib: already initialised");
    try {
        producer = LoadProducer();
        if (const int32_t rc = producer->faults.OnCall("GCInitLib")) {
            producer.reset();
            return SetLastError(rc, "GCInitLib: injected failure");
        }
    } catch (const CApiError& e) {
        return SetLastError(e.Code(), e.what());
    } catch (const std::exception& e) {
        return SetLastError(GC_ERR_ERROR, std::string("GCInitLib: ") + e.what());
    }
    return Ok();
}

GC_API GCCloseLib(void) {
    return Guarded("GCCloseLib", [](CProducer& p) {
        CloseSystem(p);
        p.events.clear();
        LoadedProducer().reset();
        return Ok();
    });
}

GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded("GCGetInfo",
                   [&](CProducer& p) { return Out(TlInfo(p, iInfoCmd), piType, pBuffer, piSize); });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
    RecordCall("GCGetLastError");
    {
        std::lock_guard<std::mutex> lk(ApiLock());
        if (!LoadedProducer())
            return GC_ERR_NOT_INITIALIZED;
    }
    if (!piErrorCode || !piSize)
        return GC_ERR_INVALID_PARAMETER;
    const LastError last = LastErrorOfThisThread();
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
    return Guarded("TLOpen", [&](CProducer& p) {
        Require(phTL, "TLOpen: phTL is null");
        Expect(!p.system, GC_ERR_RESOURCE_IN_USE, "TLOpen: the system module is already open");
        p.system = std::make_unique<CSystem>();
        p.system->handle = p.handles.Add(Kind::System, p.system.get());
        *phTL = p.system->handle;
        return Ok();
    });
}

GC_API TLClose(TL_HANDLE hTL) {
    return Guarded("TLClose", [&](CProducer& p) {
        Handle<CSystem>(p, hTL);
        CloseSystem(p);
        return Ok();
    });
}

GC_API TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
    return Guarded("TLGetInfo", [&](CProducer& p) {
        Handle<CSystem>(p, hTL);
        return Out(TlInfo(p, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t) {
    return Guarded("TLUpdateInterfaceList", [&](CProducer& p) {
        CSystem& s = Handle<CSystem>(p, hTL);
        std::vector<std::string> list;
        for (const auto& itf : p.config.interfaces)
            list.push_back(itf.id);
        return UpdateList(s, s.interfaceList, std::move(list), pbChanged);
    });
}

GC_API TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
    return Guarded("TLGetNumInterfaces", [&](CProducer& p) {
        const CSystem& s = Handle<CSystem>(p, hTL);
        return Store(piNumIfaces, static_cast<uint32_t>(s.interfaceList.size()),
                     "piNumIfaces is null");
    });
}

GC_API TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize) {
    return Guarded("TLGetInterfaceID", [&](CProducer& p) {
        return OutListEntry(Handle<CSystem>(p, hTL).interfaceList, iIndex,
                            "interface index out of range", sID, piSize);
    });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded("TLGetInterfaceInfo", [&](CProducer& p) {
        Handle<CSystem>(p, hTL);
        Require(sIfaceID, "sIfaceID is null");
        for (const auto& itf : p.config.interfaces) {
            if (itf.id == sIfaceID)
                return Out(InterfaceInfo(itf, iInfoCmd), piType, pBuffer, piSize);
        }
        Fail(GC_ERR_INVALID_ID, std::string("unknown interface ID ") + sIfaceID);
    });
}

GC_API TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
    return Guarded("TLOpenInterface", [&](CProducer& p) {
        CSystem& s = Handle<CSystem>(p, hTL);
        Require(sIfaceID && phIface, "TLOpenInterface: null argument");
        for (const auto& itf : s.open)
            Expect(itf->id != sIfaceID, GC_ERR_RESOURCE_IN_USE, "the interface is already open");
        for (const auto& cfg : p.config.interfaces) {
            if (cfg.id == sIfaceID) {
                s.open.push_back(std::make_unique<CInterface>(s, cfg));
                s.open.back()->handle = p.handles.Add(Kind::Interface, s.open.back().get());
                *phIface = s.open.back()->handle;
                return Ok();
            }
        }
        Fail(GC_ERR_INVALID_ID, std::string("unknown interface ID ") + sIfaceID);
    });
}

}  // namespace GenTL
}  // extern "C"
